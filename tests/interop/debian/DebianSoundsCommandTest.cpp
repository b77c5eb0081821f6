// What the program tells of the sound files of Debian packages, and makes of
// them.
#include <filesystem>

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

  /** Told with a note, and only converted by somebody who insists. */
  void expectScaledFloats(const std::string& path) const
  {
    const Outcome info = tov({"info", "--json", path});
    ASSERT_EQ(info.exitCode, 0) << info.err;
    const std::string note = nlohmann::json::parse(info.out).at(0).at("note");
    EXPECT_NE(note.find("probably holds integers"), std::string::npos) << note;
    const Outcome refused = tov({"convert", path, "out.aiff"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.err.find("it probably holds integers (--force goes on)\n"), std::string::npos)
        << refused.err;
    EXPECT_TRUE(std::filesystem::is_empty(folder.folder()));
  }

  support::TempFolder folder;
};

TEST_F(DebianSoundsByCommand, AreToldAndConvertedOrRefusedForTheirReason)
{
  for (const DebianSound& sound : support::debianSounds()) {
    SCOPED_TRACE(sound.name);
    const std::string path = support::debianPath(sound);
    if (sound.verdict == Verdict::Handled)
      expectHandled(path);
    else if (sound.verdict == Verdict::ScaledFloats)
      expectScaledFloats(path);
    else
      expectRefused(path, sound.reason);
  }
}

} // namespace
