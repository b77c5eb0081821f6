#include <algorithm>
#include <cmath>
#include <numbers>

#include "tests/app/Tov.h"

namespace {

using support::holds;
using support::IntegerSound;
using support::Outcome;

class Convert : public support::TovTest {
protected:
  IntegerSound converted(const std::string& from, const std::string& to,
                         std::vector<std::string> options = {}) const
  {
    options.insert(options.begin(), {"convert", from, to});
    succeed(options);
    return read(to);
  }
};

TEST_F(Convert, WithoutOptionsIsExactForEverySizeAndChannelCount)
{
  for (const int bits : {8, 16, 24}) {
    for (int channels = 1; channels <= 8; ++channels) {
      SCOPED_TRACE(std::to_string(bits) + " bits, " + std::to_string(channels) + " channels");
      const IntegerSound sound = support::randomSound(channels, 5001, 44100 + channels, bits, 5);
      const std::string source = channels % 2 == 0 ? "in.wav" : "in.aiff";
      write(source, sound);
      for (const std::string target : {"out.wav", "out.aiff"}) {
        const IntegerSound back = converted(source, target);
        EXPECT_EQ(back.rate, sound.rate);
        EXPECT_EQ(back.bits, bits);
        EXPECT_TRUE(back.channels == sound.channels) << target;
      }
    }
  }
}

TEST_F(Convert, Of32BitsWithinAFormatIsExact)
{
  // Codes that no float holds, and those that the writer would clamp.
  IntegerSound sound = support::constantSound(2, 3000, 44100, 32, 0x12345679);
  sound.channels[0][7] = 0x7fffffff;
  sound.channels[1][2999] = -0x7fffffff;
  write("in.aiff", sound);
  EXPECT_TRUE(converted("in.aiff", "out.aiff").channels == sound.channels);
  EXPECT_EQ(folder.read("out.aiff"), folder.read("in.aiff"));
  // Scaled floats, as the bits of a third.
  sound.channels[0].assign(3000, 0x462aaaab);
  sound.channels[1].assign(3000, 0x3eaaaaab);
  write("in.wav", sound);
  converted("in.wav", "out.wav");
  EXPECT_EQ(folder.read("out.wav"), folder.read("in.wav"));
}

TEST_F(Convert, Of32BitsBetweenTheFormatsKeeps24AndSaysSo)
{
  const IntegerSound sound = support::randomSound(1, 2000, 48000, 32, 9);
  write("in.aiff", sound);
  const Outcome there = succeed({"convert", "in.aiff", "between.wav"});
  EXPECT_TRUE(holds(there.err, "between.wav: 32-bit samples keep 24 of their bits"));
  const Outcome back = succeed({"convert", "between.wav", "out.aiff"});
  EXPECT_TRUE(holds(back.err, "out.aiff: 32-bit samples keep 24 of their bits"));
  EXPECT_TRUE(read("out.aiff").channels == sound.channels);
}

TEST_F(Convert, ToFewerBitsTruncatesTowardsZeroAndToMoreIsExact)
{
  const IntegerSound sound = support::randomSound(2, 4000, 44100, 24, 11);
  write("in.wav", sound);
  for (const int bits : {8, 16, 32}) {
    const IntegerSound back = converted("in.wav", "out.aiff", {"--bits", std::to_string(bits)});
    EXPECT_EQ(back.bits, bits);
    for (std::size_t c = 0; c < 2; ++c) {
      for (std::size_t i = 0; i < 4000; ++i) {
        const double sample = sound.channels[c][i] / 8388608.0;
        // 32 bits end at 0.99999.
        const double kept = bits == 32 ? std::min(sample, 0.9999899864196777) : sample;
        EXPECT_EQ(back.channels[c][i],
                  static_cast<std::int32_t>(std::trunc(kept * back.fullScale())));
      }
    }
  }
}

TEST_F(Convert, WithDitherRoundsInsteadOfTruncating)
{
  write("in.wav", support::constantSound(1, 40000, 44100, 24, 77)); // 0.3 of a 16-bit step
  const IntegerSound plain = converted("in.wav", "plain.wav", {"--bits", "16"});
  EXPECT_TRUE(plain.channels[0] == std::vector<std::int32_t>(40000, 0));
  const IntegerSound dithered = converted("in.wav", "out.wav", {"--bits", "16", "--dither"});
  double sum = 0.0;
  for (const std::int32_t code : dithered.channels[0])
    sum += code;
  EXPECT_NEAR(sum / 40000.0, 77.0 / 256.0, 0.015);
  EXPECT_TRUE(converted("in.wav", "again.wav", {"--bits", "16", "--dither"}).channels ==
              dithered.channels);
}

TEST_F(Convert, WithGainMultipliesAndReportsClipping)
{
  const IntegerSound sound = support::randomSound(3, 3000, 44100, 16, 13);
  write("in.wav", sound);
  for (const std::string text : {"-6", "-3.5", "6"}) {
    const Outcome outcome = succeed({"convert", "in.wav", "out.wav", "--gain", text});
    const float factor = static_cast<float>(std::pow(10.0, std::stod(text) / 20.0));
    const IntegerSound back = read("out.wav");
    long long clipped = 0;
    double peak = 0.0;
    for (std::size_t c = 0; c < 3; ++c) {
      for (std::size_t i = 0; i < 3000; ++i) {
        const double wanted =
            32768.0 *
            static_cast<double>(factor * static_cast<float>(sound.channels[c][i] / 32768.0));
        peak = std::max(peak, std::fabs(wanted) / 32768.0);
        clipped += std::trunc(wanted) > 32767.0 || std::trunc(wanted) < -32768.0;
        ASSERT_EQ(back.channels[c][i],
                  static_cast<std::int32_t>(std::clamp(std::trunc(wanted), -32768.0, 32767.0)))
            << text << ", " << c << ", " << i;
      }
    }
    char said[100];
    std::snprintf(said, sizeof said, "out.wav: peaks at %.2f dBFS, %lld samples clipped",
                  support::decibels(peak), clipped);
    EXPECT_EQ(holds(outcome.err, said), text == "6") << outcome.err;
    EXPECT_TRUE(holds(outcome.out, std::to_string(clipped) + " samples clipped"));
  }
}

TEST_F(Convert, ToAnotherRateAtProxyQualityHoldsSamples)
{
  const IntegerSound sound = support::randomSound(5, 20000, 48000, 24, 17);
  write("in.aiff", sound);
  const IntegerSound half =
      converted("in.aiff", "half.wav", {"--rate", "24000", "--quality", "proxy"});
  ASSERT_EQ(half.channelCount(), 5);
  ASSERT_EQ(half.frames(), 10000);
  EXPECT_EQ(half.rate, 24000);
  EXPECT_EQ(half.bits, 24);
  const IntegerSound twice =
      converted("in.aiff", "twice.wav", {"--quality", "proxy", "--rate", "96000"});
  ASSERT_EQ(twice.frames(), 40000);
  for (std::size_t c = 0; c < 5; ++c) {
    for (std::size_t i = 0; i < 10000; ++i)
      ASSERT_EQ(half.channels[c][i], sound.channels[c][2 * i]) << c << ", " << i;
    for (std::size_t i = 0; i < 40000; ++i)
      ASSERT_EQ(twice.channels[c][i], sound.channels[c][i / 2]) << c << ", " << i;
  }
}

/** A sum of three sines below 9 kHz, as 24-bit codes. */
IntegerSound sines(int rate)
{
  IntegerSound sound{rate, 24, {{}}};
  for (int i = 0; i < rate; ++i) {
    double sample = 0.0;
    for (const double frequency : {220.0, 3100.0, 8900.0})
      sample += 0.3 * std::sin(2.0 * std::numbers::pi * frequency * i / rate);
    sound.channels[0].push_back(static_cast<std::int32_t>(std::lround(8388607.0 * sample)));
  }
  return sound;
}

TEST_F(Convert, ToAnotherRateIsBetterWithEveryQuality)
{
  write("in.wav", sines(44100));
  const IntegerSound wanted = sines(48000);
  double earlier = 1e9;
  for (const std::string quality : {"proxy", "medium", "high", "highest"}) {
    const IntegerSound back =
        converted("in.wav", "out.wav", {"--rate", "48000", "--quality", quality});
    ASSERT_EQ(back.frames(), 48000);
    double error = 0.0;
    for (std::size_t i = 100; i < 47900; ++i) {
      const double difference = (back.channels[0][i] - wanted.channels[0][i]) / 8388608.0;
      error += difference * difference;
    }
    const double level = 10.0 * std::log10(error / 47800.0);
    EXPECT_LT(level, earlier) << quality;
    earlier = level;
  }
  EXPECT_LT(earlier, -80.0);
}

TEST_F(Convert, AtAnotherRateIsAtHighestQualityByDefault)
{
  write("in.wav", sines(44100));
  converted("in.wav", "a.wav", {"--rate", "48000"});
  converted("in.wav", "b.wav", {"--rate", "48000", "--quality", "highest"});
  converted("in.wav", "c.wav", {"--rate", "48000", "--quality", "high"});
  EXPECT_EQ(folder.read("a.wav"), folder.read("b.wav"));
  EXPECT_NE(folder.read("a.wav"), folder.read("c.wav"));
}

TEST_F(Convert, OfAFileOntoItselfReplacesIt)
{
  const IntegerSound sound = support::randomSound(2, 30000, 44100, 24, 19);
  write("in.wav", sound);
  const IntegerSound back = converted("in.wav", "in.wav", {"--bits", "16"});
  EXPECT_EQ(back.bits, 16);
  ASSERT_EQ(back.frames(), 30000);
  EXPECT_EQ(back.channels[1][29999], static_cast<std::int32_t>(sound.channels[1][29999] / 256));
  EXPECT_EQ(names(), std::vector<std::string>{"in.wav"});
}

TEST_F(Convert, OfAFileWithoutFramesGivesOne)
{
  write("in.wav", support::constantSound(2, 0, 44100, 16, 0));
  const IntegerSound back = converted("in.wav", "out.aiff");
  EXPECT_EQ(back.frames(), 0);
  EXPECT_EQ(back.rate, 44100);
}

TEST_F(Convert, SaysWhatItWrote)
{
  write("in.wav", support::constantSound(2, 44100, 44100, 16, 16384));
  const Outcome outcome = succeed({"convert", "in.wav", "out.aiff", "--bits", "24"});
  EXPECT_TRUE(holds(outcome.out, "out.aiff: 0:01.000, 44100 Hz, 24 bit, 2 ch, peak -6.02 dBFS, "
                                 "0 samples clipped, "));
  EXPECT_TRUE(holds(outcome.out, " times real time\n"));
}

TEST_F(Convert, WithWrongUsageExitsWith2)
{
  write("in.wav", support::constantSound(1, 10, 44100, 16, 1));
  expectError({"convert", "in.wav"}, 2, "two files are needed, IN and OUT; given: 1");
  expectError({"convert", "in.wav", "a.wav", "b.wav"}, 2,
              "\"b.wav\" is more than the command takes");
  expectError({"convert", "in.wav", "out.mp3"}, 2, "out.mp3");
  expectError({"convert", "in.wav", "out.wav", "--bits", "12"}, 2, "\"12\" is none of 8, 16, 24");
  expectError({"convert", "in.wav", "out.wav", "--rate", "0"}, 2, "--rate");
  expectError({"convert", "in.wav", "out.wav", "--gain", "18.1"}, 2, "+18.06");
  expectError({"convert", "in.wav", "out.wav", "--gain", "loud"}, 2, "\"loud\"");
  expectError({"convert", "in.wav", "out.wav", "--quality", "hihg"}, 2, "did you mean high");
  expectError({"convert", "in.wav", "out.wav", "--qualty", "high"}, 2, "did you mean --quality?");
  expectError({"convert", "in.wav", "out.wav", "--bits", "32", "--dither"}, 2, "--dither");
  EXPECT_EQ(names(), std::vector<std::string>{"in.wav"});
}

} // namespace
