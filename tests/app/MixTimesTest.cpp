// The forms of times.
#include <algorithm>
#include <random>

#include "tests/app/MixTest.h"

namespace {

using support::IntegerSound;

class MixTimes : public support::MixTest {
protected:
  MixTimes()
  {
    write("noise.wav", support::randomSound(2, 4000, 1000, 16, 3, 0.9));
    writeSteady("a.wav", {0.25, 0.125}, 1000, 1000);
  }

  /** Each text, as a start, gives the same mix as this many frames. */
  void expectStart(int frames, const std::vector<std::string>& texts,
                   const std::vector<std::string>& options = {}) const
  {
    for (const std::string& text : texts) {
      SCOPED_TRACE(text);
      const std::string before = std::to_string(frames / 1000 - 1);
      std::vector<std::string> arguments = {"a.wav", "--start", text, "--from", before};
      arguments.insert(arguments.end(), options.begin(), options.end());
      const IntegerSound mix = mixed(arguments);
      const int start = frames - 1000 * (frames / 1000 - 1);
      ASSERT_EQ(mix.frames(), start + 1000);
      // Frame 0 of the track is silent, the next one the first of the ramp.
      EXPECT_EQ(mix.channels[0].at(static_cast<std::size_t>(start)), 0);
      EXPECT_NE(mix.channels[0].at(static_cast<std::size_t>(start) + 1), 0);
    }
  }
};

TEST_F(MixTimes, HaveFourForms)
{
  expectStart(1500, {"1.5", "1.500", "00:00:01.500", "00:01.5", "36f", "00:00:01:12"});
  expectStart(62000, {"62", "00:01:02.000", "01:02", "1:02.0", "1488f", "00:01:02:00"});
  expectStart(3600000 + 120000 + 3250, {"3723.25", "01:02:03.250", "89358f", "01:02:03:06"});
}

TEST_F(MixTimes, MayBeNegative)
{
  expectStart(-500, {"-0.5", "-.5", "-00:00:00.500", "-12f", "-00:00:00:12"});
  expectStart(-9000, {"-9", "-00:00:09.000", "-216f", "-00:00:09:00"});
}

TEST_F(MixTimes, InFramesAndTimecodeGoByTheFrameRate)
{
  expectStart(2400, {"2.4", "60f", "00:00:02:10"}, {"--fps", "25"});
  expectStart(2000, {"2", "60f", "00:00:02:00"}, {"--fps", "30"});
  expectStart(1500, {"36f", "00:00:01:12"}, {"--fps", "24.0"});
  // 180 frames of 1001/30000 seconds; timecode counts 30 of them as a second.
  expectStart(6006, {"180f", "00:00:06:00"}, {"--fps", "30000/1001"});
  expectStart(6006, {"180f", "00:00:06:00"}, {"--fps", "29.97002997"});
  // The frame rate may stand before and behind.
  EXPECT_EQ(mixed({"--fps", "25", "a.wav", "--start", "50f"}).frames(), 3000);
  EXPECT_EQ(mixed({"a.wav", "--start", "50f", "--fps", "25"}).frames(), 3000);
}

TEST_F(MixTimes, HaveTheSameFormsInEveryOption)
{
  const std::vector<std::vector<std::string>> forms = {
      {"1.5", "3", "0.5", "2.25", "1", "3.5"},
      {"00:00:01.500", "00:00:03.000", "00:00.500", "00:00:02.250", "00:00:01.0", "00:03.5"},
      {"36f", "72f", "12f", "54f", "24f", "84f"},
      {"00:00:01:12", "00:00:03:00", "00:00:00:12", "00:00:02:06", "00:00:01:00", "00:00:03:12"}};
  std::vector<std::uint8_t> first;
  for (const std::vector<std::string>& form : forms) {
    const IntegerSound mix = mixed({"noise.wav", "--start", form[0], "--end", form[1], "--in",
                                    form[2], "--out", form[3], "--from", form[4], "--to", form[5]});
    EXPECT_EQ(mix.frames(), 2500);
    if (first.empty())
      first = folder.read("out.wav");
    EXPECT_EQ(folder.read("out.wav"), first) << form[0];
  }
}

TEST_F(MixTimes, AreTakenToTheNearestFrame)
{
  expectStart(1500, {"1.4996", "1.5004"});
  expectStart(-500, {"-0.5004", "-0.4996"});
}

/** A time of so many frames, as exact as it can be written. */
std::string timeOf(long long frames, int rate)
{
  char text[32];
  std::snprintf(text, sizeof text, "%.9f", static_cast<double>(frames) / rate);
  return text;
}

// Where rate times a time in seconds misses the whole number by a hair, too.
TEST_F(MixTimes, PlaceAFileOfTheMixsRateOnAnyFrame)
{
  std::mt19937 random(4);
  for (const int rate : {44100, 48000}) {
    const IntegerSound source = support::randomSound(1, 6000, rate, 16, 9, 0.9);
    write("placed.wav", source);
    for (int i = 0; i < 40; ++i) {
      const long long start = static_cast<long long>(random()) % (20LL * rate);
      SCOPED_TRACE("frame " + std::to_string(start) + " at " + std::to_string(rate));
      const IntegerSound mix = mixed({"placed.wav", "--start", timeOf(start, rate), "--from",
                                      timeOf(start - 100, rate), "--bits", "16"});
      const std::vector<std::int32_t>& codes = mix.channels[0];
      ASSERT_EQ(codes.size(), 6100u);
      // Silence up to the first frame, which the fade begins with.
      EXPECT_EQ(codes[99], 0);
      EXPECT_EQ(codes[100], 0);
      EXPECT_TRUE(
          std::equal(codes.begin() + 1100, codes.end() - 1000, source.channels[0].begin() + 1000));
    }
  }
}

TEST_F(MixTimes, TakeAPartOfAFileFromAnyFrame)
{
  std::mt19937 random(5);
  for (const int rate : {44100, 48000}) {
    const IntegerSound source = support::randomSound(1, 3LL * rate, rate, 16, 9, 0.9);
    write("long.wav", source);
    for (int i = 0; i < 20; ++i) {
      const long long in = static_cast<long long>(random()) % (2LL * rate);
      SCOPED_TRACE("frame " + std::to_string(in) + " at " + std::to_string(rate));
      const IntegerSound mix = mixed(
          {"long.wav", "--in", timeOf(in, rate), "--out", timeOf(in + 5000, rate), "--bits", "16"});
      const std::vector<std::int32_t>& codes = mix.channels[0];
      ASSERT_EQ(codes.size(), 5000u);
      EXPECT_TRUE(std::equal(codes.begin() + 1000, codes.end() - 1000,
                             source.channels[0].begin() + in + 1000));
    }
  }
}

TEST_F(MixTimes, ThatAreNoneAreWrongUsage)
{
  for (const std::string text :
       {"", "x", "1x", "1.5s", "1:60", "00:60:00", "1:2:3:4:5", "00:00:00:24", "00:00:61.0", "nan",
        "inf", "1e400", "--5", "f", "1:", ":1", "1.5f2", "0x10"}) {
    expectError({"mix", "a.wav", "--start=" + text, "-o", "out.wav"}, 2, "--start");
    expectError({"mix", "a.wav", "--to=" + text, "-o", "out.wav"}, 2, "--to");
  }
  for (const std::string text : {"x", "0", "-25", "30/0", "inf", "nan"})
    expectError({"mix", "a.wav", "--fps=" + text, "-o", "out.wav"}, 2, "--fps");
}

} // namespace
