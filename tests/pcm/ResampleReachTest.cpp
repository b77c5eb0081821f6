#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <vector>

#include "tests/pcm/Noise.h"
#include "tests/reference/Resampling.h"
#include "tests/support/Buffers.h"
#include "tests/support/GuardedBlock.h"

// An access outside the handles ends the process, so these tests run in a
// child.

namespace {

using support::GuardedBlock;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/** The last input frame that a conversion may read: the handles beyond the
 *  last position, and beyond the first frame after the span, whichever is
 *  nearer. */
long long lastReadable(int outRate, int inRate, long long outFrames, float phase, int handles)
{
  const double start = phase >= 0.0f && phase <= 1.0f ? static_cast<double>(phase) : 0.0;
  const double step = static_cast<double>(inRate) / outRate;
  const double lastPosition = start + static_cast<double>(outFrames - 1) * step;
  const double afterSpan = start + static_cast<double>(outFrames) * step;
  return std::min(static_cast<long long>(std::ceil(lastPosition)),
                  static_cast<long long>(std::floor(afterSpan))) +
         handles;
}

/** Converts a block that holds exactly what may be read, at either end of it
 *  and into an output of the exact size. */
void convertExactly(int quality, int outRate, int inRate, long long outFrames, float phase)
{
  const int handles = TovPcm::resamplerHandles(quality, outRate, inRate);
  const long long length = lastReadable(outRate, inRate, outFrames, phase, handles) + handles + 1;
  for (const GuardedBlock::Tight tight :
       {GuardedBlock::Tight::AtStart, GuardedBlock::Tight::AtEnd}) {
    GuardedBlock in(static_cast<std::size_t>(length) * sizeof(float), tight);
    GuardedBlock out(static_cast<std::size_t>(outFrames) * sizeof(float), tight);
    in.forbidWriting();
    TovPcm::resample(quality, out.floats(), in.floats() + handles, outRate, inRate, outFrames,
                     length, phase);
  }
}

const std::vector<float> kPhases = {0.0f, 1e-30f, 0.25f, 0.5f, 0.99999994f, 1.0f};

/** Runs @p conversions in a child and expects it to live. */
#define EXPECT_STAYS_INSIDE(conversions)                                                           \
  EXPECT_EXIT(                                                                                     \
      {                                                                                            \
        conversions;                                                                               \
        std::_Exit(0);                                                                             \
      },                                                                                           \
      testing::ExitedWithCode(0), "")

void convertUsualRates()
{
  for (int quality = 0; quality <= 3; ++quality)
    for (const int outRate : {8000, 44100, 48000, 96000, 192000})
      for (const int inRate : {8000, 44100, 48000, 96000, 192000})
        for (const float phase : kPhases)
          for (const long long outFrames : {1, 2, 7, 50})
            convertExactly(quality, outRate, inRate, outFrames, phase);
}

void convertRandomRates()
{
  Noise noise(90);
  for (int round = 0; round < 2000; ++round)
    convertExactly(noise.between(0, 3), noise.between(1000, 200000), noise.between(1000, 200000),
                   noise.between(1, 40), std::fabs(noise.sample()));
}

void convertExtremeRatios(int outRate, int inRate, long long outFrames)
{
  for (int quality = 0; quality <= 3; ++quality)
    for (const float phase : kPhases)
      convertExactly(quality, outRate, inRate, outFrames, phase);
}

void convertWithoutAPosition()
{
  for (int quality = 0; quality <= 3; ++quality)
    for (const auto& [outRate, inRate] :
         {std::pair{44100, 44100}, {48000, 44100}, {44100, 48000}, {200, 192000}, {192000, 200}})
      for (const float phase : {kNaN, -kNaN})
        for (const long long outFrames : {1, 20})
          convertExactly(quality, outRate, inRate, outFrames, phase);
}

} // namespace

TEST(ResampleReachDeathTest, UsualRatesReadNothingBeyondTheHandles)
{
  EXPECT_STAYS_INSIDE(convertUsualRates());
}

TEST(ResampleReachDeathTest, AnyRatesReadNothingBeyondTheHandles)
{
  EXPECT_STAYS_INSIDE(convertRandomRates());
}

TEST(ResampleReachDeathTest, TheWidestRangeOfPlaybackRatesReadsNothingBeyondTheHandles)
{
  EXPECT_STAYS_INSIDE(convertExtremeRatios(200, 192000, 1));
  EXPECT_STAYS_INSIDE(convertExtremeRatios(200, 192000, 3));
  EXPECT_STAYS_INSIDE(convertExtremeRatios(192000, 200, 1));
  EXPECT_STAYS_INSIDE(convertExtremeRatios(192000, 200, 2000));
}

TEST(ResampleReachDeathTest, AbsurdDownsamplingReadsNothingBeyondTheHandles)
{
  // The filter's position is added up in single precision, and millions of
  // taps drift.
  EXPECT_STAYS_INSIDE(convertExtremeRatios(100, 192000, 2));
  EXPECT_STAYS_INSIDE(convertExtremeRatios(50, 192000, 2));
  EXPECT_STAYS_INSIDE(convertExtremeRatios(10, 96000, 2));
  EXPECT_STAYS_INSIDE(convertExtremeRatios(1, 44100, 1));
  EXPECT_STAYS_INSIDE(convertExtremeRatios(1, 192000, 1));
}

TEST(ResampleReachDeathTest, APositionThatIsNoNumberReadsNothingBeyondTheHandles)
{
  EXPECT_STAYS_INSIDE(convertWithoutAPosition());
}

TEST(ResampleReachTest, WhatTheHandlesCutOffIsInaudible)
{
  // Where the drifting filter would run beyond the handles, the result is what
  // the whole filter gives, but for its faint end.
  Noise noise(91);
  int cut = 0;
  for (int quality = 1; quality <= 3; ++quality) {
    for (const int outRate : {20, 50, 100, 1000}) {
      const int handles = TovPcm::resamplerHandles(quality, outRate, 192000);
      const int margin = 4000;
      const std::vector<float> wide = noise.samples(2LL * (handles + margin) + 2);
      const std::vector<float> exact(wide.begin() + margin, wide.end() - margin);
      const std::vector<float> whole =
          reference::resample(quality, wide, handles + margin, outRate, 192000, 1, 0.5f);
      try {
        reference::resample(quality, exact, handles, outRate, 192000, 1, 0.5f);
      } catch (const std::out_of_range&) {
        ++cut;
      }
      float out = 0.0f;
      TovPcm::resample(quality, &out, exact.data() + handles, outRate, 192000, 1,
                       static_cast<long long>(exact.size()), 0.5f);
      EXPECT_NEAR(out, whole[0], 1e-5f) << "quality " << quality << ", 192000 to " << outRate;
    }
  }
  EXPECT_GT(cut, 0);
}
