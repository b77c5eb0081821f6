// What the program tells of the sound files of Debian packages, and makes of
// them.
#include <algorithm>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/interop/ForeignFacts.h"
#include "tests/interop/Sndfile.h"
#include "tests/interop/debian/DebianSounds.h"
#include "tests/support/Program.h"
#include "tests/support/TempFolder.h"

namespace {

using support::DebianSound;
using support::Facts;
using support::Outcome;
using support::Verdict;

/** Interleaved samples, full scale 1. */
struct Floats {
  SF_INFO info = {};
  std::vector<float> samples;
};

Floats floatsBySndfile(const std::string& path)
{
  Floats floats;
  SNDFILE* const file = ::sf_open(path.c_str(), SFM_READ, &floats.info);
  if (!file)
    throw std::runtime_error(path + ": " + ::sf_strerror(nullptr));
  floats.samples.resize(static_cast<std::size_t>(floats.info.frames * floats.info.channels));
  const ::sf_count_t frames = ::sf_readf_float(file, floats.samples.data(), floats.info.frames);
  ::sf_close(file);
  EXPECT_EQ(frames, floats.info.frames);
  return floats;
}

class DebianSoundsByCommand : public testing::Test {
protected:
  Outcome tov(const std::vector<std::string>& arguments) const
  {
    support::Launch launch{.arguments = {TOV_PROGRAM}, .folder = folder.folder()};
    launch.arguments.insert(launch.arguments.end(), arguments.begin(), arguments.end());
    return support::run(launch);
  }

  /** The same facts, and the same samples in a file of the other container. */
  void expectHandled(const std::string& path) const
  {
    const Facts facts = support::factsBySndfile(path);
    const Outcome info = tov({"info", "--json", path});
    ASSERT_EQ(info.exitCode, 0) << info.err;
    const nlohmann::json told = nlohmann::json::parse(info.out).at(0);
    EXPECT_EQ(told["sampleRate"], facts.rate);
    EXPECT_EQ(told["channels"], facts.channels);
    EXPECT_EQ(told["frames"], facts.frames);
    // 5 bits lie in 8, 12 in 16.
    EXPECT_EQ((told["bits"].get<int>() + 7) / 8 * 8, facts.bits);
    EXPECT_EQ(told["format"], path.ends_with(".wav") ? "WAV" : "AIFF");

    const std::string other = path.ends_with(".wav") ? "out.aiff" : "out.wav";
    const Outcome conversion = tov({"convert", path, other, "--quiet"});
    ASSERT_EQ(conversion.exitCode, 0) << conversion.err;
    const support::SndfileReading converted = support::readBySndfile(folder.path(other));
    EXPECT_EQ(converted.info.samplerate, facts.rate);
    EXPECT_EQ(converted.info.channels, facts.channels);
    std::vector<std::int32_t> samples = converted.samples;
    // The pad byte of an odd number of bytes, which libsndfile counts.
    samples.resize(static_cast<std::size_t>(facts.frames * facts.channels));
    EXPECT_TRUE(samples == support::readBySndfile(path).samples);
    std::filesystem::remove(folder.path(other));
  }

  /** One sentence, and nothing written. */
  void expectRefused(const std::string& path, const std::string& reason) const
  {
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"info", path}, {"convert", path, "out.wav"}}) {
      const Outcome outcome = tov(command);
      EXPECT_EQ(outcome.exitCode, 1) << command[0];
      EXPECT_EQ(outcome.err, path + ": " + reason + "\n") << command[0];
      EXPECT_EQ(outcome.out, "") << command[0];
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.folder()));
  }

  /** Told with libsndfile as its reader, and converted as that reads it. */
  void expectReadByLibsndfile(const std::string& path, const std::string& reason)
  {
    const Outcome info = tov({"info", "--json", path});
    ASSERT_EQ(info.exitCode, 0) << info.err;
    const nlohmann::json told = nlohmann::json::parse(info.out).at(0);
    EXPECT_EQ(told["reader"], "libsndfile");
    EXPECT_EQ(told["readerReason"], reason);
    const Floats straight = floatsBySndfile(path);
    EXPECT_EQ(told["frames"], straight.info.frames);
    EXPECT_EQ(told["sampleRate"], straight.info.samplerate);
    EXPECT_EQ(told["channels"], straight.info.channels);
    expectToldByOthers(path, straight.info);

    const Outcome conversion = tov({"convert", path, "out.aiff", "--quiet", "--bits", "16"});
    ASSERT_EQ(conversion.exitCode, 0) << conversion.err;
    const Floats converted = floatsBySndfile(folder.path("out.aiff"));
    ASSERT_EQ(converted.samples.size(), straight.samples.size());
    for (std::size_t i = 0; i < straight.samples.size(); ++i)
      ASSERT_NEAR(converted.samples[i], std::clamp(straight.samples[i], -1.0f, 1.0f), 0x1p-15) << i;
    std::filesystem::remove(folder.path("out.aiff"));
  }

  /** What SoX and ffprobe make of a file that they read, but for the size of a
   *  sample, which is theirs to choose where it is compressed. */
  void expectToldByOthers(const std::string& path, const SF_INFO& told)
  {
    // Of a file cut short both tell what the header promises.
    const bool isCutShort = path.ends_with("-early-eof.wav");
    const long long frames = isCutShort ? 4410 : told.frames;
    for (const std::optional<Facts>& facts :
         {support::factsBySoxIfRead(path), support::factsByFfprobeIfRead(path)}) {
      if (facts) {
        ++opinions;
        EXPECT_EQ(*facts, (Facts{told.samplerate, told.channels, facts->bits, frames}));
      }
    }
    EXPECT_EQ(isCutShort, told.frames != frames);
  }

  support::TempFolder folder;
  int opinions = 0; ///< of SoX and ffprobe
};

/** What the program says in place of the library's refusal. */
std::string readerReasonOf(const DebianSound& sound)
{
  if (sound.verdict == Verdict::ScaledFloats)
    return "the WAV reader takes 32 bits for floating point, and these are integers by their "
           "values";
  if (sound.verdict == Verdict::NobodysSuffix)
    return "the library has no reader for .aifc files";
  std::string reason = sound.reason;
  for (const std::string ending : {", which is not supported", " is not supported"}) {
    if (reason.ends_with(ending))
      reason.resize(reason.size() - ending.size());
  }
  return (sound.name.ends_with(".wav") ? "the WAV reader refuses it: "
                                       : "the AIFF reader refuses it: ") +
         reason;
}

/** Widths beyond 32 bits, and headers that end too early. */
bool isNobodys(const DebianSound& sound)
{
  return sound.name.find("S-36bit") != std::string::npos ||
         sound.name.find("S-45bit") != std::string::npos ||
         sound.name.find("S-53bit") != std::string::npos ||
         sound.name.find("S-64bit") != std::string::npos ||
         sound.reason.starts_with("holds no ");
}

TEST_F(DebianSoundsByCommand, AreReadByTheLibraryOrLibsndfileOrRefusedForTheirReason)
{
  int own = 0;
  int foreign = 0;
  int refused = 0;
  for (const DebianSound& sound : support::debianSounds()) {
    SCOPED_TRACE(sound.name);
    const std::string path = support::debianPath(sound);
    if (sound.verdict == Verdict::Handled) {
      ++own;
      expectHandled(path);
    } else if (isNobodys(sound)) {
      ++refused;
      expectRefused(path, sound.reason);
    } else {
      ++foreign;
      expectReadByLibsndfile(path, readerReasonOf(sound));
    }
  }
  EXPECT_EQ(own, 25);
  EXPECT_EQ(foreign, 18);
  EXPECT_EQ(refused, 6);
  EXPECT_EQ(opinions, 31);
}

} // namespace
