// What the options of a track do, each after its file.
#include <fstream>
#include <iterator>

#include "tests/app/MixTest.h"

namespace {

using support::holds;
using support::IntegerSound;
using support::Outcome;

class MixTrackOptions : public support::MixTest {
protected:
  MixTrackOptions()
  {
    writeSteady("a.wav", {0.25, 0.125});
    writeSteady("b.aiff", {0.03125, 0.0625});
    writeSteady("mono.wav", {0.5});
  }
};

TEST_F(MixTrackOptions, WithoutAnyTheTracksAreAdded)
{
  expectLevels(mixed({"a.wav", "b.aiff"}), 0.28125, 0.1875);
}

TEST_F(MixTrackOptions, GainIsInDecibelsOfTheFileBeforeIt)
{
  expectLevels(mixed({"a.wav", "--gain", "-6", "b.aiff"}), 0.25 * factor(-6) + 0.03125,
               0.125 * factor(-6) + 0.0625);
  expectLevels(mixed({"a.wav", "b.aiff", "--gain", "-6"}), 0.25 + 0.03125 * factor(-6),
               0.125 + 0.0625 * factor(-6));
  expectLevels(mixed({"a.wav", "--gain", "-12.5", "b.aiff", "--gain", "18.06"}),
               0.25 * factor(-12.5) + 0.03125 * factor(18.06),
               0.125 * factor(-12.5) + 0.0625 * factor(18.06));
  expectLevels(mixed({"a.wav", "--gain=-3"}), 0.25 * factor(-3), 0.125 * factor(-3));
}

TEST_F(MixTrackOptions, GainBelowTheFloorIsSilence)
{
  expectLevels(mixed({"a.wav", "--gain", "-90.1", "b.aiff"}), 0.03125, 0.0625);
  expectLevels(mixed({"a.wav", "--gain", "-200"}), 0.0, 0.0);
}

TEST_F(MixTrackOptions, PanIsLinear)
{
  // To the left by 0.4: the left channel at the edge, the right one at 0.2.
  expectLevels(mixed({"a.wav", "--pan", "-0.4"}), 0.25 + 0.125 * 0.4, 0.125 * 0.6);
  expectLevels(mixed({"a.wav", "--pan", "0.5"}), 0.25 * 0.5, 0.25 * 0.5 + 0.125);
  expectLevels(mixed({"a.wav", "--pan", "-1"}), 0.375, 0.0);
  expectLevels(mixed({"a.wav", "--pan", "1", "b.aiff", "--pan", "-1"}), 0.09375, 0.375);
}

TEST_F(MixTrackOptions, WidthNarrowsAndSwaps)
{
  expectLevels(mixed({"a.wav", "--width", "0"}), 0.1875, 0.1875);
  expectLevels(mixed({"a.wav", "--width", "0.5"}), 0.25 * 0.75 + 0.125 * 0.25,
               0.25 * 0.25 + 0.125 * 0.75);
  expectLevels(mixed({"a.wav", "--width", "-1"}), 0.125, 0.25);
  expectLevels(mixed({"a.wav", "b.aiff", "--width", "-1"}), 0.3125, 0.15625);
}

TEST_F(MixTrackOptions, AFileOfOneChannelFeedsBothSides)
{
  expectLevels(mixed({"mono.wav"}), 0.5, 0.5);
  // Twice the level at one side.
  expectLevels(mixed({"mono.wav", "--pan", "1", "--gain", "-12"}), 0.0, factor(-12));
}

TEST_F(MixTrackOptions, StartMovesATrack)
{
  const IntegerSound mix = mixed({"a.wav", "--start", "0.75", "b.aiff"});
  ASSERT_EQ(mix.frames(), 84000);
  expectLevels(mix, 0.03125, 0.0625, 30000);
  expectLevels(mix, 0.25, 0.125, 60000);
}

TEST_F(MixTrackOptions, NegativeStartCutsWhatLiesBeforeTheMix)
{
  const IntegerSound source = support::randomSound(2, 48000, 48000, 16, 3, 0.9);
  write("noise.wav", source);
  const IntegerSound mix = mixed({"noise.wav", "--start", "-0.25", "--bits", "16"});
  ASSERT_EQ(mix.frames(), 36000);
  // Behind the fade-in, which lies before the mix as well.
  for (std::size_t i = 0; i < 35000; ++i) {
    ASSERT_EQ(mix.channels[0][i], source.channels[0][i + 12000]) << i;
    ASSERT_EQ(mix.channels[1][i], source.channels[1][i + 12000]) << i;
  }
}

TEST_F(MixTrackOptions, EndStopsATrack)
{
  const IntegerSound mix = mixed({"a.wav", "--end", "0.5", "b.aiff", "--end", "2"});
  ASSERT_EQ(mix.frames(), 48000); // the end of the file, which comes first
  expectLevels(mix, 0.28125, 0.1875, 20000);
  expectLevels(mix, 0.03125, 0.0625, 24000);
  EXPECT_EQ(mixed({"a.wav", "--start", "0.25", "--end", "0.5"}).frames(), 24000);
}

TEST_F(MixTrackOptions, InAndOutChooseAPartOfTheFile)
{
  const IntegerSound source = support::randomSound(2, 48000, 48000, 16, 5, 0.9);
  write("noise.wav", source);
  const IntegerSound mix =
      mixed({"noise.wav", "--in", "0.25", "--out", "0.75", "--start", "0.125", "--bits", "16"});
  ASSERT_EQ(mix.frames(), 30000);
  for (std::size_t i = 0; i < 6000; ++i)
    ASSERT_EQ(mix.channels[0][i], 0) << i;
  for (std::size_t i = 6960; i < 30000 - 960; ++i)
    ASSERT_EQ(mix.channels[1][i], source.channels[1][i - 6000 + 12000]) << i;
  // An end behind that of the file means that of the file.
  EXPECT_EQ(mixed({"noise.wav", "--in", "0.25", "--out", "7"}).frames(), 36000);
}

TEST_F(MixTrackOptions, PlayRateChangesSpeedAndLength)
{
  const IntegerSound source = support::randomSound(2, 48000, 48000, 16, 7, 0.9);
  write("noise.wav", source);
  const IntegerSound slow =
      mixed({"noise.wav", "--play-rate", "24000", "--quality", "proxy", "--bits", "16"});
  ASSERT_EQ(slow.frames(), 96000);
  for (std::size_t i = 960; i < 95000; ++i)
    ASSERT_EQ(slow.channels[0][i], source.channels[0][i / 2]) << i;
  const IntegerSound fast =
      mixed({"noise.wav", "--play-rate", "96000", "--quality", "proxy", "--bits", "16"});
  ASSERT_EQ(fast.frames(), 24000);
  for (std::size_t i = 960; i < 23000; ++i)
    ASSERT_EQ(fast.channels[1][i], source.channels[1][2 * i]) << i;
}

TEST_F(MixTrackOptions, ChannelsPicksTwoOfMoreAndTheOthersAreSaidToBeDropped)
{
  writeSteady("four.wav", {0.125, 0.25, 0.375, 0.5});
  const Outcome outcome = succeed({"mix", "four.wav", "--channels", "4,2", "-o", "out.wav"});
  expectLevels(read("out.wav"), 0.5, 0.25);
  EXPECT_EQ(outcome.err, "four.wav: of its 4 channels, 4 and 2 are used and the others dropped "
                         "(--channels L,R)\n");
  expectLevels(mixed({"four.wav", "--channels", "3,3"}), 0.375, 0.375);
  const Outcome byDefault = succeed({"mix", "four.wav", "-o", "out.wav"});
  expectLevels(read("out.wav"), 0.125, 0.25);
  EXPECT_TRUE(holds(byDefault.err, "four.wav: of its 4 channels, 1 and 2 are used"));
  // Of files with one or two channels nothing is dropped.
  const Outcome swapped = succeed({"mix", "a.wav", "--channels", "2,1", "-o", "out.wav"});
  expectLevels(read("out.wav"), 0.125, 0.25);
  EXPECT_EQ(swapped.err, "");
}

TEST_F(MixTrackOptions, MuteLeavesATrackOutAndKeepsTheLength)
{
  const IntegerSound mix = mixed({"a.wav", "b.aiff", "--mute", "--start", "0.5"});
  EXPECT_EQ(mix.frames(), 72000);
  expectLevels(mix, 0.25, 0.125, 40000);
  expectLevels(mix, 0.0, 0.0, 60000);
}

TEST_F(MixTrackOptions, SoloLeavesTheOthersOut)
{
  expectLevels(mixed({"a.wav", "b.aiff", "--solo", "mono.wav"}), 0.03125, 0.0625);
  expectLevels(mixed({"a.wav", "--solo", "b.aiff", "--solo", "mono.wav"}), 0.28125, 0.1875);
  // Mute wins.
  expectLevels(mixed({"a.wav", "--solo", "--mute", "b.aiff"}), 0.0, 0.0);
}

TEST_F(MixTrackOptions, OfOneFileNamedTwiceAreTheirOwn)
{
  expectLevels(mixed({"a.wav", "--pan", "-1", "a.wav", "--gain", "-6"}), 0.375 + 0.25 * factor(-6),
               0.125 * factor(-6));
}

TEST_F(MixTrackOptions, AllAtOnce)
{
  const IntegerSound mix =
      mixed({"a.wav", "--gain", "-3", "--pan", "-0.4", "--width", "-0.5", "--start", "-0.25",
             "--end", "0.5", "b.aiff", "--start", "0.25", "--in", "0.5"});
  EXPECT_EQ(mix.frames(), 36000);
  // The spread is 0.6 x -0.5: the left channel at -0.1, the right one at -0.7.
  const double left = factor(-3) * (0.25 * 0.55 + 0.125 * 0.85);
  const double right = factor(-3) * (0.25 * 0.45 + 0.125 * 0.15);
  expectLevels(mix, left, right, 6000);
  expectLevels(mix, left + 0.03125, right + 0.0625, 20000);
  expectLevels(mix, 0.03125, 0.0625, 30000);
}

TEST_F(MixTrackOptions, EveryTrackFadesInAndOutOver20Milliseconds)
{
  const IntegerSound mix = mixed({"mono.wav", "--start", "0.5"});
  ASSERT_EQ(mix.frames(), 72000);
  for (std::size_t i = 0; i < 960; ++i) {
    const double ramp = static_cast<double>(i) / 960.0;
    EXPECT_NEAR(level(mix, 0, 24000 + i), 0.5 * ramp, 64 * kStep) << i;
    EXPECT_NEAR(level(mix, 1, 71040 + i), 0.5 * (1.0 - ramp), 64 * kStep) << i;
  }
  EXPECT_EQ(level(mix, 0, 24000 + 960), 0.5);
  EXPECT_EQ(level(mix, 0, 71039), 0.5);
  EXPECT_TRUE(holds(succeed({"mix", "--help"}).out,
                    "Every track fades in over 20 ms at its start and out over 20 ms"));
  std::ifstream readme(TOV_README);
  const std::string text(std::istreambuf_iterator<char>(readme), {});
  EXPECT_TRUE(holds(text, "Every track fades in and out over 20 ms"));
}

TEST_F(MixTrackOptions, OutOfRangeAreWrongUsage)
{
  const auto expectWrong = [this](const std::string& option, const std::string& value,
                                  const std::string& sentence) {
    expectError({"mix", "a.wav", option, value, "-o", "out.wav"}, 2, sentence);
  };
  expectWrong("--gain", "18.1", "--gain: 18.1 dB is too much; gains go up to +18.06 dB");
  expectWrong("--gain", "nan", "--gain");
  expectWrong("--pan", "1.01", "--pan: 1.01 is outside -1 to 1");
  expectWrong("--pan", "-2", "--pan: -2 is outside -1 to 1");
  expectWrong("--width", "1.5", "--width: 1.5 is outside -1 to 1");
  expectWrong("--start", "soon", "--start: \"soon\" is no time");
  expectWrong("--end", "0", "--end of a.wav is not behind its --start");
  expectWrong("--in", "-1", "--in: -1 lies before the beginning of the file");
  expectWrong("--in", "1", "--in 1 leaves nothing of a.wav");
  expectWrong("--out", "0", "--out of a.wav is not behind its --in");
  expectWrong("--play-rate", "199", "--play-rate");
  expectWrong("--play-rate", "192001", "--play-rate");
  expectWrong("--play-rate", "44100.5", "--play-rate");
  expectWrong("--channels", "1,3", "--channels 1,3: a.wav has 2 channels");
  expectWrong("--channels", "0,1", "--channels");
  expectWrong("--channels", "1", "--channels");
  EXPECT_EQ(names(), (std::vector<std::string>{"a.wav", "b.aiff", "mono.wav"}));
}

TEST_F(MixTrackOptions, BeforeAnyFileAreWrongUsage)
{
  for (const std::string option : {"--gain", "--pan", "--start"})
    expectError({"mix", option, "0", "a.wav", "-o", "out.wav"}, 2,
                option + " stands before any file; the options of a track follow its file");
  expectError({"mix", "--mute", "a.wav", "-o", "out.wav"}, 2, "--mute stands before any file");
}

} // namespace
