// The example programs, run as a reader of the documents would.  What
// examples/mix.cpp prints is compared with the mixer in tests/app.
#include <algorithm>
#include <cmath>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/IntegerSound.h"
#include "tests/support/Program.h"
#include "tests/support/TempFolder.h"

namespace {

using support::IntegerSound;
using support::Outcome;

class Examples : public testing::Test {
protected:
  Outcome run(const std::string& name, std::vector<std::string> arguments) const
  {
    arguments.insert(arguments.begin(), TOV_EXAMPLES "/tov_example_" + name);
    return support::run({.arguments = arguments,
                         .folder = folder.folder(),
                         .settings = {"PLAYOUT_DEVICE=null"}});
  }

  /** What the program prints; a failure where it says or does anything else. */
  std::string printed(const std::string& name, const std::vector<std::string>& arguments) const
  {
    const Outcome outcome = run(name, arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.out;
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
  }

  IntegerSound read(const std::string& name) const { return support::soundOf(folder.read(name)); }

  support::TempFolder folder;
};

TEST_F(Examples, MixPrintsStatus5WithoutFiles)
{
  const Outcome outcome = run("mix", {});
  EXPECT_EQ(outcome.exitCode, 5);
  EXPECT_EQ(outcome.out, "status 5, peak of the left channel 0.000000\n");
}

TEST_F(Examples, MixPrintsThePeakOfTheSum)
{
  folder.write("a.wav", wavOf(support::constantSound(2, 96000, 48000, 16, 8192)));
  folder.write("b.aiff", aiffOf(support::constantSound(2, 96000, 48000, 24, 1 << 20)));
  EXPECT_EQ(printed("mix", {"a.wav", "b.aiff"}), "status 0, peak of the left channel 0.375000\n");
}

TEST_F(Examples, ConvertKeepsTheSamplesOfAFileOfItsOwnRate)
{
  const IntegerSound sound = support::randomSound(2, 10000, 48000, 24, 1);
  folder.write("a.wav", wavOf(sound));
  EXPECT_EQ(printed("convert", {"a.wav", "b.aiff"}), "10000 frames of 2 channels at 48000 Hz\n");
  const IntegerSound converted = read("b.aiff");
  EXPECT_EQ(converted.rate, 48000);
  EXPECT_EQ(converted.bits, 24);
  EXPECT_EQ(converted.channels, sound.channels);
}

TEST_F(Examples, ConvertResamples)
{
  folder.write("a.aiff", aiffOf(support::constantSound(1, 44100, 44100, 16, 8192)));
  EXPECT_EQ(printed("convert", {"a.aiff", "b.wav"}), "48000 frames of 1 channels at 48000 Hz\n");
  const IntegerSound converted = read("b.wav");
  ASSERT_EQ(converted.frames(), 48000);
  for (std::size_t i = 1000; i < 47000; ++i) // but for the filter's way in and out
    ASSERT_NEAR(converted.channels[0][i] / converted.fullScale(), 0.25, 1e-4) << i;
}

TEST_F(Examples, ConvertTellsWhatItCannotDo)
{
  folder.write("a.wav", wavOf(support::constantSound(1, 100, 48000, 16, 1)));
  EXPECT_EQ(run("convert", {"a.wav"}).exitCode, 2);
  const Outcome missing = run("convert", {"none.wav", "b.wav"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_NE(missing.err.find("none.wav cannot be read\n"), std::string::npos) << missing.err;
  const Outcome unknown = run("convert", {"a.wav", "b.txt"});
  EXPECT_EQ(unknown.exitCode, 1);
  EXPECT_EQ(unknown.err, "b.txt cannot be written\n");
}

TEST_F(Examples, ToneIsHeardInTheMixAndTellsOfItsChange)
{
  EXPECT_EQ(printed("tone", {}), "status 0, peak 0.500, 1 change\n");
}

TEST_F(Examples, PlayPlaysToTheEndOfTheLongest)
{
  folder.write("a.wav", wavOf(support::constantSound(2, 4410, 44100, 16, 100)));
  folder.write("b.wav", wavOf(support::constantSound(1, 12000, 48000, 16, 100)));
  EXPECT_EQ(printed("play", {"a.wav", "b.wav"}), "played 0.25 s of 2 tracks\n");
}

TEST_F(Examples, SettingsComeBackFromTheScript)
{
  folder.write("a.wav", wavOf(support::constantSound(2, 4800, 48000, 16, 100)));
  EXPECT_EQ(printed("settings", {"a.wav", "my.script"}),
            "a.wav: gain 0.501, pan -0.25, from 1.5 s\n");
  std::ifstream script(folder.path("my.script"));
  std::string lines[3];
  for (std::string& line : lines)
    ASSERT_TRUE(std::getline(script, line));
  EXPECT_EQ(lines[0], "# the host's own lines");
  EXPECT_EQ(lines[1].rfind("SetAudio(\"z1", 0), 0u) << lines[1];
  EXPECT_EQ(lines[2], "Viewer(1);");
}

TEST_F(Examples, SettingsOfAMissingFileAreKept)
{
  const Outcome outcome = run("settings", {"gone.wav", "my.script"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.out, "gone.wav: gain 0.501, pan -0.25, from 1.5 s, missing\n");
}

} // namespace
