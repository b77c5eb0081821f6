// What the options of the whole mix do, wherever they stand.
#include "tests/app/MixTest.h"

namespace {

using support::holds;
using support::IntegerSound;
using support::Outcome;

class MixWholeOptions : public support::MixTest {
protected:
  MixWholeOptions()
  {
    writeSteady("a.wav", {0.25, 0.125});
    writeSteady("b.aiff", {0.03125, 0.0625}, 44100, 44100);
  }
};

TEST_F(MixWholeOptions, MayStandAnywhere)
{
  const std::vector<std::vector<std::string>> commands = {
      {"mix", "-o", "out.wav", "--rate", "32000", "--bits", "16", "--master", "-3", "--to", "0.5",
       "--quality", "medium", "a.wav", "--gain", "-1", "b.aiff", "--pan", "0.5"},
      {"mix", "a.wav", "--gain", "-1", "b.aiff", "--pan", "0.5", "--quality", "medium", "--to",
       "0.5", "--master", "-3", "--bits", "16", "--rate", "32000", "--output", "out.wav"},
      {"mix", "--master", "-3", "a.wav", "--bits", "16", "--gain", "-1", "--rate", "32000",
       "--quality", "medium", "b.aiff", "--to", "0.5", "--pan", "0.5", "-o", "out.wav"},
      {"mix", "--master=-3", "a.wav", "-o", "out.wav", "--gain=-1", "--bits=16", "b.aiff",
       "--rate=32000", "--pan=0.5", "--to=0.5", "--quality=medium"}};
  std::vector<std::uint8_t> first;
  for (const std::vector<std::string>& command : commands) {
    succeed(command);
    if (first.empty())
      first = folder.read("out.wav");
    EXPECT_EQ(folder.read("out.wav"), first);
  }
  EXPECT_EQ(read("out.wav").rate, 32000);
  EXPECT_EQ(read("out.wav").frames(), 16000);
  EXPECT_EQ(read("out.wav").bits, 16);
}

TEST_F(MixWholeOptions, RateIsTheHighestOfTheFilesByDefault)
{
  EXPECT_EQ(mixed({"a.wav", "b.aiff"}).rate, 48000);
  EXPECT_EQ(mixed({"b.aiff", "a.wav"}).rate, 48000);
  EXPECT_EQ(mixed({"b.aiff"}).rate, 44100);
  EXPECT_EQ(mixed({"b.aiff"}).frames(), 44100);
}

TEST_F(MixWholeOptions, BitsAre24ByDefault)
{
  EXPECT_EQ(mixed({"a.wav"}).bits, 24);
  for (const int bits : {8, 16, 24, 32}) {
    for (const std::string name : {"sized.wav", "sized.aiff"}) {
      succeed({"mix", "a.wav", "--bits", std::to_string(bits), "-o", name});
      const IntegerSound mix = read(name);
      EXPECT_EQ(mix.bits, bits);
      if (bits < 32 || name == "sized.aiff") {
        EXPECT_EQ(level(mix, 0), 0.25) << name << ", " << bits;
      }
    }
  }
}

TEST_F(MixWholeOptions, TheOutputsSuffixSaysItsFormat)
{
  for (const std::string name : {"x.wav", "x.wave", "x.WAV", "x.aif", "x.aiff", "x.AIFF"}) {
    succeed({"mix", "a.wav", "-o", name});
    EXPECT_EQ(folder.read(name)[0], name[2] == 'w' || name[2] == 'W' ? 'R' : 'F') << name;
    EXPECT_EQ(read(name).frames(), 48000) << name;
  }
}

TEST_F(MixWholeOptions, QualityIsHighestByDefault)
{
  write("b.aiff", support::randomSound(2, 44100, 44100, 16, 3, 0.5));
  std::vector<std::vector<std::uint8_t>> results;
  for (const std::string quality : {"proxy", "medium", "high", "highest"}) {
    mixed({"b.aiff", "--rate", "48000", "--quality", quality});
    results.push_back(folder.read("out.wav"));
  }
  mixed({"b.aiff", "--rate", "48000"});
  EXPECT_EQ(folder.read("out.wav"), results[3]);
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_NE(results[i], results[i + 1]) << i;
}

TEST_F(MixWholeOptions, MasterIsInDecibelsOfEveryTrack)
{
  writeSteady("b.wav", {0.03125, 0.0625});
  expectLevels(mixed({"a.wav", "b.wav", "--master", "-6"}), 0.28125 * factor(-6),
               0.1875 * factor(-6));
  expectLevels(mixed({"--master", "9", "a.wav", "--gain", "-3"}), 0.25 * factor(6),
               0.125 * factor(6));
}

TEST_F(MixWholeOptions, TheMixEndsWithItsLastTrackByDefault)
{
  EXPECT_EQ(mixed({"a.wav", "--start", "2", "b.aiff", "--start", "0.5"}).frames(), 144000);
  EXPECT_EQ(mixed({"a.wav", "b.aiff", "--start", "0.5"}).frames(), 72000);
  EXPECT_EQ(mixed({"a.wav", "--end", "0.25"}).frames(), 12000);
}

TEST_F(MixWholeOptions, FromAndToCutTheTimeline)
{
  const IntegerSound source = support::randomSound(2, 48000, 48000, 24, 3, 0.9);
  write("noise.wav", source);
  const IntegerSound whole = mixed({"noise.wav", "--start", "0.25"});
  const IntegerSound part =
      mixed({"noise.wav", "--start", "0.25", "--from", "0.5", "--to", "0.75"});
  ASSERT_EQ(part.frames(), 12000);
  for (std::size_t i = 0; i < 12000; ++i)
    ASSERT_EQ(part.channels[1][i], whole.channels[1][i + 24000]) << i;
  // Silence where nothing is, before 0 too.
  const IntegerSound around = mixed({"noise.wav", "--from", "-0.5", "--to", "1.5"});
  ASSERT_EQ(around.frames(), 96000);
  for (std::size_t i = 0; i < 24000; ++i) {
    ASSERT_EQ(around.channels[0][i], 0) << i;
    ASSERT_EQ(around.channels[0][72000 + i], 0) << i;
    ASSERT_EQ(around.channels[0][36000 + i / 2], source.channels[0][12000 + i / 2]) << i;
  }
}

TEST_F(MixWholeOptions, ClippingIsReportedWithPeakAndCount)
{
  writeSteady("loud.wav", {0.75, 0.75});
  const Outcome outcome =
      succeed({"mix", "loud.wav", "--gain", "6", "--end", "0.5", "-o", "out.wav"});
  const IntegerSound mix = read("out.wav");
  long long clipped = 0;
  for (const std::vector<std::int32_t>& channel : mix.channels) {
    for (const std::int32_t code : channel)
      clipped += code == 8388607;
  }
  EXPECT_GT(clipped, 2 * 22080);
  char said[80];
  std::snprintf(said, sizeof said, "out.wav: peaks at %.2f dBFS, %lld samples clipped",
                support::decibels(0.75) + 6.0, clipped);
  EXPECT_TRUE(holds(outcome.err, said));
  EXPECT_TRUE(holds(outcome.out, std::to_string(clipped) + " samples clipped"));
  // What it proposes does avoid it.
  const std::size_t advice = outcome.err.find("--master ");
  ASSERT_NE(advice, std::string::npos);
  const std::string master =
      outcome.err.substr(advice + 9, outcome.err.find(' ', advice + 9) - advice - 9);
  const Outcome quieter = succeed(
      {"mix", "loud.wav", "--gain", "6", "--end", "0.5", "--master", master, "-o", "out.wav"});
  EXPECT_EQ(quieter.err, "");
  EXPECT_TRUE(holds(quieter.out, "; 0 samples clipped"));
}

TEST_F(MixWholeOptions, FullScaleItselfIsNotClipping)
{
  write("full.wav", support::randomSound(2, 48000, 48000, 16, 3));
  EXPECT_EQ(succeed({"mix", "full.wav", "--bits", "16", "-o", "out.wav"}).err, "");
}

TEST_F(MixWholeOptions, TheSummaryTellsTracksLengthPeaksAndSpeed)
{
  const Outcome outcome = succeed({"mix", "a.wav", "--gain", "-3", "b.aiff", "--pan", "-0.4",
                                   "--start", "0.5", "--mute", "-o", "out.aiff"});
  EXPECT_TRUE(holds(outcome.out, "out.aiff: 2 tracks, 0:01.500, 48000 Hz, 24 bit, stereo\n"));
  EXPECT_TRUE(holds(outcome.out, "a.wav"));
  EXPECT_TRUE(holds(outcome.out, "-3.0 dB, pan 0, width 1"));
  EXPECT_TRUE(holds(outcome.out, "b.aiff"));
  EXPECT_TRUE(holds(outcome.out, "0:00.500 to 0:01.500"));
  EXPECT_TRUE(holds(outcome.out, "pan -0.4"));
  EXPECT_TRUE(holds(outcome.out, "peak left -15.04 dBFS, right -21.06 dBFS; 0 samples clipped"));
  EXPECT_TRUE(holds(outcome.out, " times real time (highest quality)"));
}

TEST_F(MixWholeOptions, OutOfRangeAreWrongUsage)
{
  const auto expectWrong = [this](const std::string& option, const std::string& value,
                                  const std::string& sentence) {
    expectError({"mix", "a.wav", option, value, "-o", "out.wav"}, 2, sentence);
  };
  expectWrong("--rate", "199", "--rate");
  expectWrong("--rate", "48k", "--rate: \"48k\"");
  expectWrong("--bits", "20", "--bits: \"20\" is none of 8, 16, 24 and 32");
  expectWrong("--quality", "best", "--quality: \"best\" is none of proxy, medium, high");
  expectWrong("--master", "19", "--master: 19 dB is too much");
  expectWrong("--from", "1", "--from is not before the end of the last track");
  expectWrong("--to", "0", "--to is not behind");
  expectWrong("--fps", "0", "--fps");
  expectWrong("--progress", "yes", "--progress");
  expectError({"mix", "a.wav", "--from", "2", "--to", "1", "-o", "out.wav"}, 2,
              "--to is not behind --from");
  expectError({"mix", "a.wav", "--dither", "--bits", "32", "-o", "out.aiff"}, 2,
              "--dither is for 8, 16 and 24 bits");
  expectError({"mix", "a.wav"}, 2, "the file to write is missing: -o FILE");
  expectError({"mix", "-o", "out.wav"}, 2, "no file to mix was named");
  expectError({"mix", "a.wav", "-o", "out.ogg"}, 2, "\"out.ogg\" has none of the suffixes");
  // The file to write is meant, which has another option.
  expectError({"mix", "a.wav", "--out", "out.wav"}, 2, "-o");
  EXPECT_EQ(names(), (std::vector<std::string>{"a.wav", "b.aiff"}));
}

} // namespace
