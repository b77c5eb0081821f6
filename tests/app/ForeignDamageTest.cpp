// Cut and garbled files of libsndfile's formats: a sentence and status 1.
#include <filesystem>
#include <random>

#include "tests/app/ForeignFiles.h"
#include "tests/app/Tov.h"
#include "tests/app/TracedProgram.h"

namespace {

using support::Bytes;
using support::ForeignForm;
using support::holds;
using support::Outcome;

class ForeignDamage : public support::TovTest {
protected:
  /** Refused by all commands in one sentence, with nothing left behind. */
  void expectRefused(const std::string& name) const
  {
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"info", name},
          {"convert", name, "out.wav"},
          {"mix", name, "-o", "out.wav"}}) {
      const Outcome outcome = tov(command);
      EXPECT_EQ(outcome.signal, 0) << command[0];
      EXPECT_EQ(outcome.exitCode, 1) << command[0] << ": " << outcome.err;
      EXPECT_TRUE(outcome.err.starts_with(name + ": ")) << outcome.err;
      EXPECT_EQ(support::linesOf(outcome.err).size(), 1u) << outcome.err;
      EXPECT_EQ(outcome.out, "") << command[0];
    }
    EXPECT_EQ(names(), std::vector<std::string>{name});
  }

  static std::vector<std::uint8_t> part(const std::vector<std::uint8_t>& bytes, double share)
  {
    return {bytes.begin(),
            bytes.begin() + static_cast<std::ptrdiff_t>(static_cast<double>(bytes.size()) * share)};
  }
};

TEST_F(ForeignDamage, OfFilesThatWereCutShortIsRefused)
{
  const support::ForeignSamples sound = support::foreignSound(2, 96000);
  for (const ForeignForm& form : support::foreignForms()) {
    support::writeForeign(folder.path(form.file), form.format, sound);
    const std::vector<std::uint8_t> whole = folder.read(form.file);
    for (const double share : {0.9, 0.5, 0.1}) {
      SCOPED_TRACE(std::string(form.file) + " " + std::to_string(share));
      folder.write(form.file, part(whole, share));
      expectRefused(form.file);
    }
    folder.write(form.file, part(whole, 20.0 / static_cast<double>(whole.size())));
    expectRefused(form.file);
    std::filesystem::remove(folder.path(form.file));
  }
}

TEST_F(ForeignDamage, OfFilesThatOnlyBeginRightIsRefused)
{
  std::mt19937 random(11);
  const std::pair<const char*, const char*> starts[] = {
      {"a.flac", "fLaC"}, {"a.ogg", "OggS"},   {"a.opus", "OggS"}, {"a.mp3", "ID3"},
      {"a.mp3", "\xff\xfb"}, {"a.caf", "caff"}, {"a.au", ".snd"},   {"a.w64", "riff"},
      {"a.rf64", "RF64"}, {"a.aifc", "FORM"},  {"a.wav", "RIFX"}};
  for (const auto& [name, start] : starts) {
    SCOPED_TRACE(start);
    Bytes bytes = Bytes().text(start);
    for (int i = 0; i < 50000; ++i)
      bytes.u8(static_cast<unsigned int>(random() & 0xff));
    folder.write(name, bytes);
    const Outcome outcome = tov({"info", name});
    EXPECT_EQ(outcome.signal, 0);
    EXPECT_EQ(outcome.exitCode, 1) << outcome.out;
    EXPECT_TRUE(holds(outcome.err, std::string(name) + ": "));
    std::filesystem::remove(folder.path(name));
  }
}

TEST_F(ForeignDamage, InTheMiddleEndsWithAStatusAndNoHalfOutput)
{
  const support::ForeignSamples sound = support::foreignSound(2, 48000);
  std::mt19937 random(5);
  for (const ForeignForm& form : support::foreignForms()) {
    SCOPED_TRACE(form.file);
    support::writeForeign(folder.path(form.file), form.format, sound);
    std::vector<std::uint8_t> bytes = folder.read(form.file);
    for (int round = 0; round < 6; ++round) {
      for (int i = 0; i < 20; ++i)
        bytes[random() % (round < 3 ? 200 : bytes.size())] =
            static_cast<std::uint8_t>(random() & 0xff);
      folder.write(form.file, bytes);
      const Outcome outcome = tov({"convert", form.file, "out.wav", "--quiet"});
      EXPECT_EQ(outcome.signal, 0);
      EXPECT_TRUE(outcome.exitCode == 0 || outcome.exitCode == 1) << outcome.exitCode;
      EXPECT_EQ(std::filesystem::exists(folder.path("out.wav")), outcome.exitCode == 0);
      std::filesystem::remove(folder.path("out.wav"));
    }
    std::filesystem::remove(folder.path(form.file));
  }
}

TEST_F(ForeignDamage, DuringAMixIsNoticed)
{
  const support::ForeignSamples sound = support::foreignSound(2, 960000);
  for (const auto& [name, format] : {std::pair("a.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16),
                                     {"a.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS}}) {
    SCOPED_TRACE(name);
    support::writeForeign(folder.path(name), format, sound);
    support::TracedProgram program(launch({"mix", name, "-o", "out.wav"}));
    program.runUntil([this] {
      for (const std::string& file : names()) {
        if (file.starts_with(".out.wav") && std::filesystem::file_size(folder.path(file)) > 100000)
          return true;
      }
      return false;
    });
    std::filesystem::resize_file(folder.path(name),
                                 std::filesystem::file_size(folder.path(name)) / 2);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(holds(outcome.err, std::string(name) + ": was cut short while it was read"));
    EXPECT_EQ(names(), std::vector<std::string>{name});
    std::filesystem::remove(folder.path(name));
  }
}

TEST_F(ForeignDamage, OfMemoryIsNoneForALongFile)
{
  const auto peakOf = [this](const std::string& input) {
    support::TracedProgram program(launch({"convert", input, "out.wav", "--bits", "8"}));
    EXPECT_EQ(program.finish().exitCode, 0);
    return program.peakMemory();
  };
  support::writeForeign(folder.path("short.flac"), SF_FORMAT_FLAC | SF_FORMAT_PCM_16,
                        support::foreignSound(2, 480000));
  support::writeForeign(folder.path("long.flac"), SF_FORMAT_FLAC | SF_FORMAT_PCM_16,
                        support::foreignSound(2, 4800000));
  const long shortPeak = peakOf("short.flac");
  EXPECT_GT(shortPeak, 1000);
  EXPECT_LT(peakOf("long.flac"), shortPeak + 8192); // its samples as floats are 38 MB
}

} // namespace
