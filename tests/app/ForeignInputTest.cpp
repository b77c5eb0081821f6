// Sound files of libsndfile's as inputs of the program.
#include <bit>

#include "tests/app/ForeignFiles.h"
#include "tests/app/Tov.h"

namespace {

using nlohmann::json;
using support::ForeignForm;
using support::ForeignSamples;
using support::holds;
using support::IntegerSound;
using support::Outcome;

class ForeignInput : public support::TovTest {
protected:
  void writeForeign(const std::string& name, int format, const ForeignSamples& sound) const
  {
    support::writeForeign(folder.path(name), format, sound);
  }

  /** The same 16-bit sound as FLAC and as the library's own WAV. */
  void writeTwins(const std::string& flac, const std::string& wav, long long frames) const
  {
    const ForeignSamples sound = support::foreignSound(2, frames);
    writeForeign(flac, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, sound);
    IntegerSound codes{48000, 16, {{}, {}}};
    for (std::size_t i = 0; i < sound.samples.size(); ++i)
      codes.channels[i % 2].push_back(static_cast<std::int32_t>(sound.samples[i] * 32768.0f));
    write(wav, codes);
  }

  json described(const std::string& name) const
  {
    return json::parse(succeed({"info", "--json", name}).out).at(0);
  }
};

TEST_F(ForeignInput, IsToldWithItsReaderAndTheReason)
{
  writeForeign("a.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, support::foreignSound(2, 48000));
  const Outcome text = succeed({"info", "a.wav"});
  EXPECT_TRUE(holds(text.out, "  format    WAV, 32-bit float\n"));
  EXPECT_TRUE(holds(text.out, "  frames    48000\n"));
  EXPECT_TRUE(holds(
      text.out, "  reader    libsndfile: the WAV reader refuses it: 32-bit float WAV\n"));
  EXPECT_EQ(text.err, "");
  const json info = described("a.wav");
  EXPECT_EQ(info["reader"], "libsndfile");
  EXPECT_EQ(info["readerReason"], "the WAV reader refuses it: 32-bit float WAV");
  EXPECT_EQ(info["bits"], 32);
  EXPECT_EQ(info["encoding"], "32-bit float");
}

TEST_F(ForeignInput, OfTheLibrarysFormatsIsToldToBeItsOwn)
{
  write("a.wav", support::constantSound(1, 10, 48000, 16, 5));
  write("a.aiff", support::constantSound(1, 10, 48000, 24, 5));
  EXPECT_TRUE(holds(succeed({"info", "a.wav"}).out, "  reader    the library's WAV reader\n"));
  EXPECT_TRUE(holds(succeed({"info", "a.aiff"}).out, "  reader    the library's AIFF reader\n"));
  EXPECT_EQ(described("a.wav")["reader"], "library");
  EXPECT_FALSE(described("a.aiff").contains("readerReason"));
}

TEST_F(ForeignInput, OfEveryFormIsToldAndConverted)
{
  const ForeignSamples sound = support::foreignSound(2, 48000);
  for (const ForeignForm& form : support::foreignForms()) {
    SCOPED_TRACE(form.file);
    writeForeign(form.file, form.format, sound);
    const ForeignSamples straight = support::decodedStraight(folder.path(form.file));
    const json info = described(form.file);
    EXPECT_EQ(info["reader"], "libsndfile");
    EXPECT_EQ(info["frames"], straight.frames());
    EXPECT_EQ(info["sampleRate"], 48000);
    EXPECT_EQ(info["channels"], 2);
    const Outcome done = succeed({"convert", form.file, "out.aiff", "--bits", "24"});
    const IntegerSound out = read("out.aiff");
    ASSERT_EQ(out.frames(), straight.frames());
    for (std::size_t i = 0; i < straight.samples.size(); ++i) {
      const double expected = std::trunc(
          std::clamp(static_cast<double>(straight.samples[i]) * 8388608.0, -8388608.0, 8388607.0));
      ASSERT_EQ(out.channels[i % 2][i / 2], static_cast<std::int32_t>(expected)) << i;
    }
  }
}

TEST_F(ForeignInput, KeepsItsBitsWhenConverted)
{
  const ForeignSamples sound = support::foreignSound(1, 100);
  const struct {
    const char* name;
    int format;
    int bits;
  } kept[] = {{"a.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 16},
              {"b.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 24},
              {"c.au", SF_FORMAT_AU | SF_FORMAT_ULAW, 16},
              {"d.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 24},
              {"e.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 24}};
  for (const auto& file : kept) {
    writeForeign(file.name, file.format, sound);
    succeed({"convert", file.name, "out.wav"});
    EXPECT_EQ(read("out.wav").bits, file.bits) << file.name;
  }
}

TEST_F(ForeignInput, WithoutBitsIsToldWithoutThem)
{
  writeForeign("a.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, support::foreignSound(1, 48000));
  EXPECT_TRUE(described("a.ogg")["bits"].is_null());
  EXPECT_TRUE(holds(succeed({"mix", "a.ogg", "-o", "out.wav"}).out, "(Ogg, 48000 Hz, 1 ch)"));
}

TEST_F(ForeignInput, GivesTheBytesOfItsTwinInConversionsMixesAndSessions)
{
  writeTwins("a.flac", "a.wav", 96000);
  const auto expectSame = [this](std::vector<std::string> command) {
    command.insert(command.end(), {"-o", "flac.wav"});
    succeed(command);
    for (std::string& argument : command) {
      argument = argument == "a.flac" ? "a.wav" : argument == "flac.wav" ? "wav.wav" : argument;
    }
    succeed(command);
    EXPECT_TRUE(folder.read("flac.wav") == folder.read("wav.wav"));
  };
  expectSame({"mix", "a.flac"});
  expectSame({"mix", "a.flac", "--start", "0.3", "--gain", "-2", "a.flac", "--in", "1.1", "--rate",
              "44100"});
  expectSame({"mix", "a.flac", "--play-rate", "44100", "--quality", "medium"});
  succeed({"convert", "a.flac", "flac.aiff", "--rate", "32000"});
  succeed({"convert", "a.wav", "wav.aiff", "--rate", "32000"});
  EXPECT_TRUE(folder.read("flac.aiff") == folder.read("wav.aiff"));

  succeed({"mix", "a.flac", "--gain", "-3", "--start", "0.5", "--save", "flac.script"});
  succeed({"mix", "a.wav", "--gain", "-3", "--start", "0.5", "--save", "wav.script"});
  succeed({"mix", "flac.script", "-o", "flac.wav"});
  succeed({"mix", "wav.script", "-o", "wav.wav"});
  EXPECT_TRUE(folder.read("flac.wav") == folder.read("wav.wav"));
  const json track = json::parse(succeed({"info", "--json", "flac.script"}).out)[0]["tracks"][0];
  EXPECT_EQ(track["format"], "FLAC");
  EXPECT_EQ(track["reader"], "libsndfile");
}

TEST_F(ForeignInput, IsReadByWhatItHoldsWhateverItsName)
{
  writeTwins("a.flac", "a.wav", 1000);
  for (const char* const name : {"nameless", "x.mp3", "x.txt"}) {
    folder.write(name, folder.read("a.wav"));
    succeed({"convert", name, "out.wav"});
    EXPECT_TRUE(folder.read("out.wav") == folder.read("a.wav")) << name;
  }
  folder.write("x.wav", folder.read("a.flac"));
  EXPECT_EQ(described("x.wav")["readerReason"],
            "the WAV reader refuses it: is a FLAC file with the suffix of WAV");
}

TEST_F(ForeignInput, IsPlayed)
{
  writeTwins("a.flac", "a.wav", 9600);
  const Outcome outcome = succeed({"play", "a.flac", "--device", "null"});
  EXPECT_EQ(outcome.err.find("could not"), std::string::npos) << outcome.err;
}

TEST_F(ForeignInput, IsNoOutput)
{
  write("a.wav", support::constantSound(1, 100, 48000, 16, 5));
  for (const char* const name : {"out.flac", "out.ogg", "out.mp3", "out.caf", "out.aifc"}) {
    expectError({"convert", "a.wav", name}, 2, name);
    expectError({"mix", "a.wav", "-o", name}, 2, ".wav, .wave, .aif, .aiff");
  }
  EXPECT_EQ(names(), std::vector<std::string>{"a.wav"});
}

} // namespace
