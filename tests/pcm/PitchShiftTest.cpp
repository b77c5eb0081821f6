#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "tests/pcm/Noise.h"
#include "tests/reference/Resampling.h"
#include "tests/support/Buffers.h"
#include "tests/support/GuardedBlock.h"

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
const char* const kNoSplices = "Hits: 0/0 (  nan%)\n";

struct Shifted {
  std::vector<float> out; ///< as long as was asked for; the rest untouched
  long long written;
  std::string line; ///< everything that was printed
};

Shifted shift(const std::vector<float>& in, int outRate, int inRate, long long outFrames,
              float pitch)
{
  support::Buffers out(1, std::max(outFrames, 0LL));
  testing::internal::CaptureStdout();
  const long long written =
      TovPcm::resampleWithPitchShift(out.channel(0), in.data(), outRate, inRate, outFrames,
                                     static_cast<long long>(in.size()), pitch);
  const std::string line = testing::internal::GetCapturedStdout();
  EXPECT_TRUE(out.guardsIntact());
  return {out.samples(0), written, line};
}

std::vector<float> untouched(std::size_t count)
{
  return std::vector<float>(count, support::Buffers::kUntouched);
}

} // namespace

TEST(PitchShiftTest, PitchOneAtEqualRatesCopies)
{
  Noise noise(100);
  for (const int frames : {1, 2, 7, 8, 9, 1000, 5000}) {
    const std::vector<float> in = noise.samples(frames);
    const Shifted shifted = shift(in, 44100, 44100, frames, 1.0f);
    EXPECT_EQ(shifted.written, frames);
    EXPECT_EQ(shifted.out, in);
    EXPECT_EQ(shifted.line, kNoSplices);
  }
}

TEST(PitchShiftTest, PitchOneInterpolatesLinearlyAndHoldsTheLastSample)
{
  const std::vector<float> in = {0.0f, 1.0f, -1.0f, 0.5f};
  const Shifted shifted = shift(in, 4, 2, 8, 1.0f);
  EXPECT_EQ(shifted.written, 8);
  EXPECT_EQ(shifted.out, (std::vector<float>{0.0f, 0.5f, 1.0f, 0.0f, -1.0f, -0.25f, 0.5f, 0.5f}));
  EXPECT_EQ(shifted.line, kNoSplices);
}

TEST(PitchShiftTest, PitchOneNeverSplicesEvenInSilence)
{
  for (const int inRate : {100, 1000, 2000})
    EXPECT_EQ(shift(std::vector<float>(4000, 0.0f), 1000, inRate, 4000, 1.0f).line, kNoSplices);
}

TEST(PitchShiftTest, WritesTheRoundedLengthOrWhatWasAskedFor)
{
  struct Row {
    std::size_t inFrames;
    int outRate, inRate;
    long long outFrames, expected;
  };
  const std::vector<Row> rows = {{10, 1, 1, 20, 10},
                                 {10, 1, 1, 10, 10},
                                 {10, 1, 1, 3, 3},
                                 {3, 1, 2, 20, 2},
                                 {5, 1, 4, 20, 1},
                                 {1, 1, 2, 20, 1},
                                 {1, 1, 3, 20, 0},
                                 {2, 1, 3, 20, 1},
                                 {10, 2, 1, 50, 20},
                                 {441, 48000, 44100, 999, 480},
                                 {480, 44100, 48000, 999, 441},
                                 {7, 3, 2, 50, 11}};
  for (const Row& row : rows) {
    const Shifted shifted = shift(std::vector<float>(row.inFrames, 0.25f), row.outRate, row.inRate,
                                  row.outFrames, 1.5f);
    EXPECT_EQ(shifted.written, row.expected);
    for (std::size_t i = 0; i < shifted.out.size(); ++i)
      EXPECT_EQ(shifted.out[i],
                static_cast<long long>(i) < row.expected ? 0.25f : support::Buffers::kUntouched);
  }
}

TEST(PitchShiftTest, LengthsBeyondWhat64BitsCanMultiplyStillCount)
{
  const std::vector<float> in(64, 0.5f);
  support::Buffers out(1, 20);
  testing::internal::CaptureStdout();
  const long long written = TovPcm::resampleWithPitchShift(out.channel(0), in.data(), 192000,
                                                           192000, 20, 1LL << 50, 1.0f);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(written, 20);
  EXPECT_EQ(out.samples(0), std::vector<float>(20, 0.5f));
  EXPECT_TRUE(out.guardsIntact());
}

TEST(PitchShiftTest, SilenceSplicesAtTheWindowBackToTheFirstBestSample)
{
  // At rate 1000 the window is 70 and the zone 15.  An octave up drifts by one
  // a sample.  The first splice falls after 71 samples and goes back to 1, the
  // next after 70 more and back to 2, and so on; 14 is the zone's last.
  const std::vector<float> in(1000, 0.0f);
  long long total = 0;
  for (int splices = 0; splices < 15; ++splices) {
    const std::string before = splices == 0 ? kNoSplices
                                            : "Hits: " + std::to_string(splices) + "/" +
                                                  std::to_string(splices) + " (100.00%)\n";
    const std::string after =
        "Hits: " + std::to_string(splices + 1) + "/" + std::to_string(splices + 1) + " (100.00%)\n";
    total += 71 - splices;
    EXPECT_EQ(shift(in, 1000, 1000, total - 1, 2.0f).line, before) << total;
    EXPECT_EQ(shift(in, 1000, 1000, total, 2.0f).line, after) << total;
  }
}

TEST(PitchShiftTest, LoudSoundIsSplicedByForceWhenThePitchGoesUp)
{
  // Forced beyond twice the window: after 141 samples, back to 1; then 140
  // more, back to 2.
  const std::vector<float> in(1000, 0.5f);
  EXPECT_EQ(shift(in, 1000, 1000, 140, 2.0f).line, kNoSplices);
  EXPECT_EQ(shift(in, 1000, 1000, 141, 2.0f).line, "Hits: 0/1 ( 0.00%)\n");
  EXPECT_EQ(shift(in, 1000, 1000, 280, 2.0f).line, "Hits: 0/1 ( 0.00%)\n");
  EXPECT_EQ(shift(in, 1000, 1000, 281, 2.0f).line, "Hits: 0/2 ( 0.00%)\n");
  EXPECT_EQ(shift(in, 1000, 1000, 1000, 2.0f).line, "Hits: 0/7 ( 0.00%)\n");
}

TEST(PitchShiftTest, LoudSoundIsNeverSplicedWhenThePitchGoesDown)
{
  const std::vector<float> in(20000, 0.5f);
  for (const float pitch : {0.99f, 0.5f, 0.1f, 0.0f, -1.0f, -10.0f}) {
    const Shifted shifted = shift(in, 1000, 1000, 20000, pitch);
    EXPECT_EQ(shifted.line, kNoSplices) << pitch;
    EXPECT_EQ(shifted.written, 20000);
    EXPECT_EQ(shifted.out, std::vector<float>(20000, 0.5f));
  }
}

TEST(PitchShiftTest, GoingDownStartsTwoWindowsLaterAndIsHeldAtTheEdge)
{
  std::vector<float> in;
  for (int i = 0; i < 400; ++i)
    in.push_back(1.0f + static_cast<float>(i));
  // Pitch -1 reads backwards from frame 140.
  const Shifted backwards = shift(in, 1000, 1000, 400, -1.0f);
  EXPECT_EQ(backwards.written, 400);
  for (int n = 0; n < 400; ++n)
    ASSERT_NEAR(backwards.out[static_cast<std::size_t>(n)],
                1.0f + static_cast<float>(std::max(140 - n, 0)), 1e-4f)
        << n;
  // Half the speed from frame 140.
  const Shifted slow = shift(in, 1000, 1000, 400, 0.5f);
  for (int n = 0; n < 400; ++n)
    ASSERT_NEAR(slow.out[static_cast<std::size_t>(n)], 141.0f + 0.5f * static_cast<float>(n), 1e-4f)
        << n;
}

TEST(PitchShiftTest, GoingDownSplicesSilenceBelowTheWindow)
{
  // Half speed drifts by -0.5: from 140 it is below 70 after 141 samples.
  const std::vector<float> in(4000, 0.0f);
  EXPECT_EQ(shift(in, 1000, 1000, 140, 0.5f).line, kNoSplices);
  EXPECT_EQ(shift(in, 1000, 1000, 141, 0.5f).line, "Hits: 1/1 (100.00%)\n");
}

TEST(PitchShiftTest, WindowAndZoneGoByTheInputRate)
{
  const std::vector<float> in(4000, 0.0f);
  EXPECT_EQ(shift(in, 1000, 2000, 140, 2.0f).line, kNoSplices);
  EXPECT_EQ(shift(in, 1000, 2000, 141, 2.0f).line, "Hits: 1/1 (100.00%)\n");
  EXPECT_EQ(shift(in, 2000, 1000, 70, 2.0f).line, kNoSplices);
  EXPECT_EQ(shift(in, 2000, 1000, 71, 2.0f).line, "Hits: 1/1 (100.00%)\n");
}

TEST(PitchShiftTest, QuietMeansBelowMinus82Decibels)
{
  const float quiet = TovPcm::dBToFactor(-82.0f);
  for (const float sign : {1.0f, -1.0f}) {
    EXPECT_EQ(shift(std::vector<float>(1000, sign * quiet), 1000, 1000, 141, 2.0f).line,
              "Hits: 0/1 ( 0.00%)\n");
    EXPECT_EQ(
        shift(std::vector<float>(1000, sign * std::nextafter(quiet, 0.0f)), 1000, 1000, 140, 2.0f)
            .line,
        "Hits: 1/1 (100.00%)\n");
    EXPECT_EQ(shift(std::vector<float>(1000, sign * quiet), 1000, 1000, 999, 0.5f).line,
              kNoSplices);
    EXPECT_EQ(
        shift(std::vector<float>(1000, sign * std::nextafter(quiet, 0.0f)), 1000, 1000, 141, 0.5f)
            .line,
        "Hits: 1/1 (100.00%)\n");
  }
}

TEST(PitchShiftTest, SamplesAtFullScaleAreNotRemembered)
{
  // So the splice goes back to the start each time: after every 141 samples,
  // where quieter sound is spliced a sample earlier each time.
  EXPECT_EQ(shift(std::vector<float>(1000, 1.0f), 1000, 1000, 840, 2.0f).line,
            "Hits: 0/5 ( 0.00%)\n");
  EXPECT_EQ(shift(std::vector<float>(1000, -1.0f), 1000, 1000, 840, 2.0f).line,
            "Hits: 0/5 ( 0.00%)\n");
  EXPECT_EQ(shift(std::vector<float>(1000, 0.99f), 1000, 1000, 840, 2.0f).line,
            "Hits: 0/6 ( 0.00%)\n");
}

TEST(PitchShiftTest, ASpliceGoesBackToTheQuietestSampleOfTheZone)
{
  // Output 6 reads the quietest frame of the zone, 12, and drifts to 7.
  std::vector<float> in(2000, 0.5f);
  in[12] = 0.125f;
  const Shifted shifted = shift(in, 1000, 1000, 142, 2.0f);
  EXPECT_EQ(shifted.line, "Hits: 0/1 ( 0.00%)\n");
  in[148] = 0.75f;
  EXPECT_EQ(shift(in, 1000, 1000, 142, 2.0f).out[141], 0.75f);
}

TEST(PitchShiftTest, TheEdgeOfTheZoneIsNotPartOfIt)
{
  // Going down, the drift comes to the zone's edge exactly after output 29,
  // which reads the quietest sound, between frames 154 and 155.
  std::vector<float> in(1000, 0.5f);
  in[155] = -0.25f;
  in[210] = in[211] = 0.0f;
  in[280] = in[281] = 0.75f;
  const Shifted shifted = shift(in, 1000, 1000, 142, 0.5f);
  EXPECT_EQ(shifted.line, "Hits: 1/1 (100.00%)\n");
  EXPECT_EQ(shifted.out[28], 0.5f);
  EXPECT_EQ(shifted.out[29], 0.125f);
  EXPECT_EQ(shifted.out[141], 0.75f);
}

TEST(PitchShiftTest, ThePercentageHasTwoDecimals)
{
  // Three quarters silent: some splices hit, some are forced.
  std::vector<float> in(3000, 0.5f);
  std::fill(in.begin(), in.begin() + 1000, 0.0f);
  const auto expected = reference::resampleWithPitchShift(in, 1000, 1000, 3000, 2.0f);
  ASSERT_GT(expected.hits, 0);
  ASSERT_LT(expected.hits, expected.splices);
  char line[64];
  std::snprintf(line, sizeof line, "Hits: %d/%d (%5.2f%%)\n", expected.hits, expected.splices,
                static_cast<double>(static_cast<float>(expected.hits) /
                                    static_cast<float>(expected.splices) * 100.0f));
  EXPECT_EQ(shift(in, 1000, 1000, 3000, 2.0f).line, line);
}

TEST(PitchShiftTest, EqualsTheReference)
{
  Noise noise(101);
  int splices = 0;
  int misses = 0;
  for (int round = 0; round < 1200; ++round) {
    const int inRate = noise.between(50, 3000);
    const int outRate = noise.between(50, 3000);
    std::vector<float> in = noise.samples(noise.between(1, 4000));
    // Stretches of silence, of faint and of loud sound.
    for (std::size_t start = 0; start < in.size();) {
      const std::size_t end =
          std::min(in.size(), start + static_cast<std::size_t>(noise.between(1, 300)));
      const float level = std::vector<float>{0.0f, 1e-4f, 0.5f,
                                             1.5f}[static_cast<std::size_t>(noise.between(0, 3))];
      for (; start < end; ++start)
        in[start] *= level;
    }
    const float pitch = std::vector<float>{
        noise.sample() + 1.0f,
        3.0f * noise.sample(),
        1.0f,
        2.0f,
        1.0f + std::fabs(noise.sample()),
        1.0f + 4.0f * std::fabs(noise.sample())}[static_cast<std::size_t>(noise.between(0, 5))];
    const long long outFrames = noise.between(1, 6000);
    const auto expected = reference::resampleWithPitchShift(in, outRate, inRate, outFrames, pitch);
    const Shifted shifted = shift(in, outRate, inRate, outFrames, pitch);
    SCOPED_TRACE(std::to_string(inRate) + " to " + std::to_string(outRate) + ", pitch " +
                 std::to_string(pitch));
    ASSERT_EQ(shifted.written, expected.written);
    ASSERT_EQ(shifted.line, expected.line);
    const auto written = static_cast<std::ptrdiff_t>(expected.written);
    ASSERT_EQ(support::bits({shifted.out.begin(), shifted.out.begin() + written}),
              support::bits({expected.out.begin(), expected.out.begin() + written}));
    ASSERT_EQ(std::vector<float>(shifted.out.begin() + written, shifted.out.end()),
              untouched(shifted.out.size() - static_cast<std::size_t>(written)));
    splices += expected.splices;
    misses += expected.splices - expected.hits;
  }
  EXPECT_GT(splices, 100);
  EXPECT_GT(misses, 10);
}

TEST(PitchShiftTest, HugePitchesEqualTheReference)
{
  Noise noise(102);
  for (const float pitch : {1.0e6f, 1.0e30f, -1.0e6f, -1.0e30f}) {
    const std::vector<float> in = noise.samples(500);
    const auto expected = reference::resampleWithPitchShift(in, 1000, 1000, 500, pitch);
    const Shifted shifted = shift(in, 1000, 1000, 500, pitch);
    EXPECT_EQ(shifted.written, 500);
    EXPECT_EQ(shifted.line, expected.line);
    EXPECT_EQ(support::bits(shifted.out), support::bits(expected.out)) << pitch;
  }
}

TEST(PitchShiftTest, APitchThatIsNotFiniteWritesNothingAndPrintsItsLine)
{
  const std::vector<float> in(100, 0.5f);
  for (const float pitch : {kNaN, -kNaN, kInfinity, -kInfinity}) {
    const Shifted shifted = shift(in, 44100, 44100, 50, pitch);
    EXPECT_EQ(shifted.written, 0) << pitch;
    EXPECT_EQ(shifted.out, untouched(50));
    EXPECT_EQ(shifted.line, kNoSplices);
  }
}

TEST(PitchShiftTest, RatesBelowOneWriteNothingAndPrintTheLine)
{
  const std::vector<float> in(100, 0.5f);
  for (const int bad : {0, -1, -44100, std::numeric_limits<int>::min()}) {
    for (const auto& [outRate, inRate] : {std::pair{bad, 44100}, {44100, bad}, {bad, bad}}) {
      const Shifted shifted = shift(in, outRate, inRate, 50, 2.0f);
      EXPECT_EQ(shifted.written, 0);
      EXPECT_EQ(shifted.out, untouched(50));
      EXPECT_EQ(shifted.line, kNoSplices);
    }
  }
}

TEST(PitchShiftTest, NoFramesOnEitherSideWriteNothingAndPrintTheLine)
{
  const long long least = std::numeric_limits<long long>::min();
  for (const auto& [outFrames, inFrames] : {std::pair{0LL, 50LL},
                                            {-1LL, 50LL},
                                            {least, 50LL},
                                            {50LL, 0LL},
                                            {50LL, -1LL},
                                            {50LL, least},
                                            {0LL, 0LL},
                                            {-5LL, -5LL}}) {
    for (const float pitch : {0.5f, 1.0f, 2.0f}) {
      const std::vector<float> in(50, 0.5f);
      support::Buffers out(1, 50);
      testing::internal::CaptureStdout();
      const long long written = TovPcm::resampleWithPitchShift(out.channel(0), in.data(), 44100,
                                                               44100, outFrames, inFrames, pitch);
      EXPECT_EQ(testing::internal::GetCapturedStdout(), kNoSplices);
      EXPECT_EQ(written, 0);
      EXPECT_TRUE(out.untouched());
    }
  }
}

TEST(PitchShiftReachDeathTest, NothingOutsideTheInputIsRead)
{
  using support::GuardedBlock;
  EXPECT_EXIT(
      {
        if (std::freopen("/dev/null", "w", stdout) == nullptr)
          std::_Exit(1);
        Noise noise(103);
        for (const GuardedBlock::Tight tight :
             {GuardedBlock::Tight::AtStart, GuardedBlock::Tight::AtEnd}) {
          for (const std::size_t inFrames : {1u, 2u, 3u, 100u, 1024u, 3000u}) {
            GuardedBlock in(inFrames * sizeof(float), tight);
            for (std::size_t i = 0; i < inFrames; ++i)
              in.floats()[i] = noise.sample();
            in.forbidWriting();
            for (const float pitch :
                 {0.0f, 0.25f, 0.99f, 1.0f, 1.01f, 2.0f, 100.0f, 1.0e10f, 1.0e30f,
                  std::numeric_limits<float>::max(), -0.5f, -1.0f, -1.0e10f,
                  -std::numeric_limits<float>::max(), kNaN, kInfinity}) {
              for (const auto& [outRate, inRate] : {std::pair{1000, 1000},
                                                    {3000, 1000},
                                                    {1000, 3000},
                                                    {44100, 48000},
                                                    {1, 192000},
                                                    {192000, 1}}) {
                std::vector<float> out(4000);
                TovPcm::resampleWithPitchShift(out.data(), in.floats(), outRate, inRate, 4000,
                                               static_cast<long long>(inFrames), pitch);
              }
            }
          }
        }
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "");
}
