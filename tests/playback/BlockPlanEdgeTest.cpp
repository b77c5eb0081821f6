// Spans that have no times, times that cannot tell frames apart, and providers
// of the host that count their samples in their own way.

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "playback/TovAudioBlockPlan.h"
#include "playback/TovAudioFIFOBlock.h"
#include "playback/TovAudioFIFOCmd.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"

namespace {

constexpr int kMost = TovAudioFIFOBlock::kFrames;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr long long kLongest = std::numeric_limits<long long>::max();

/** A provider whose arithmetic of times a test puts in. */
class OddProvider : public support::RecordingProvider {
public:
  std::function<long long(double)> index = {};
  std::function<long long(double, double)> count = {};
  std::function<double(long long)> time = {};

  long long getSampleIndex(const TovAudioContext& context, double t) const override
  {
    return index ? index(t) : TovAudioProvider::getSampleIndex(context, t);
  }
  long long getNumSampleFrames(const TovAudioContext& context, double t0,
                               double t1) const override
  {
    return count ? count(t0, t1) : TovAudioProvider::getNumSampleFrames(context, t0, t1);
  }
  double getTimeOfSample(const TovAudioContext& context, long long sample) const override
  {
    return time ? time(sample) : TovAudioProvider::getTimeOfSample(context, sample);
  }

protected:
  ~OddProvider() override = default;
};

TovAudioFIFOCmd span(double start, double end)
{
  TovAudioFIFOCmd cmd;
  cmd.startTime = start;
  cmd.endTime = end;
  cmd.curTime = start;
  return cmd;
}

class BlockPlanEdgeTest : public testing::Test {
protected:
  TovAudioContext context = TovAudioContext(44100, 1, 0.0, 0.0);
  support::Owned<OddProvider> provider = support::make<OddProvider>();

  TovAudioBlockPlan plan(const TovAudioFIFOCmd& cmd) const
  {
    return tovPlanAudioBlock(*provider, context, cmd);
  }

  /** Plans up to @p most blocks and checks that each is what the provider would
   *  deliver and a block can take; returns how many there were until
   *  the end, or most + 1 where that did not come. */
  int blocksToEnd(TovAudioFIFOCmd cmd, int most) const
  {
    for (int i = 1; i <= most; ++i) {
      const TovAudioBlockPlan block = plan(cmd);
      if (block.isPlayable) {
        const long long delivered = provider->getNumSampleFrames(context, block.t0, block.t1);
        EXPECT_LE(delivered, kMost) << "more than a block holds";
        EXPECT_EQ(std::max(delivered, 0LL), block.frames);
      } else {
        EXPECT_EQ(0, block.frames);
        EXPECT_TRUE(block.reachesEnd);
      }
      EXPECT_LE(block.frames, kMost);
      if (block.reachesEnd)
        return i;
      EXPECT_TRUE(block.isPlayable);
      EXPECT_NE(cmd.curTime, block.next) << "it would go on for ever";
      cmd.curTime = block.next;
    }
    return most + 1;
  }
};

// --- No times, no rate --------------------------------------------------------

TEST_F(BlockPlanEdgeTest, TimesThatAreNotFiniteEndTheSpanAtOnce)
{
  for (const double odd : {kNaN, kInfinity, -kInfinity}) {
    for (const TovAudioFIFOCmd& cmd : {span(odd, 1.0), span(1.0, odd), span(odd, odd)}) {
      const TovAudioBlockPlan block = plan(cmd);
      EXPECT_FALSE(block.isPlayable);
      EXPECT_TRUE(block.reachesEnd);
      EXPECT_EQ(0, block.frames);
    }
  }
}

TEST_F(BlockPlanEdgeTest, RatesBelowOneEndTheSpanAtOnce)
{
  for (const int rate : {0, -1, -44100, std::numeric_limits<int>::min()}) {
    context = TovAudioContext(rate, 1, 0.0, 0.0);
    const TovAudioBlockPlan block = plan(span(0.0, 1.0));
    EXPECT_FALSE(block.isPlayable) << rate;
    EXPECT_TRUE(block.reachesEnd) << rate;
    EXPECT_EQ(0, block.frames) << rate;
  }
}

TEST_F(BlockPlanEdgeTest, TheSmallestAndTheLargestRateArePlayable)
{
  context = TovAudioContext(1, 1, 0.0, 0.0);
  EXPECT_EQ(3, plan(span(0.0, 3.0)).frames);
  EXPECT_TRUE(plan(span(0.0, 3.0)).isPlayable);
  context = TovAudioContext(std::numeric_limits<int>::max(), 1, 0.0, 0.0);
  EXPECT_TRUE(plan(span(0.0, 3.0)).isPlayable);
  EXPECT_EQ(kMost, plan(span(0.0, 3.0)).frames);
  EXPECT_FALSE(plan(span(0.0, 3.0)).reachesEnd);
}

// --- Very large times ----------------------------------------------------------

TEST_F(BlockPlanEdgeTest, SpansWhereTimesCannotTellFramesApartEnd)
{
  for (const double start : {1.0e11, 1.0e12, 1.0e14, 2.0e14, 1.0e15, 1.0e18, 1.0e300, kLargest}) {
    for (const double sign : {1.0, -1.0}) {
      for (const double length : {0.0, 1.0, 1000.0}) {
        EXPECT_GE(20000, blocksToEnd(span(sign * start, sign * start + length), 20000))
            << sign * start << " + " << length;
        EXPECT_GE(20000, blocksToEnd(span(sign * start + length, sign * start), 20000))
            << sign * start << " + " << length << " backwards";
      }
    }
  }
}

TEST_F(BlockPlanEdgeTest, SpansFromOneEndOfTimeToTheOtherBeginAndEnd)
{
  for (const auto& [start, end] :
       {std::pair(-kLargest, kLargest), std::pair(kLargest, -kLargest), std::pair(0.0, kLargest),
        std::pair(kLargest, 0.0), std::pair(-1.0e15, 1.0e15)}) {
    EXPECT_LE(1, blocksToEnd(span(start, end), 1000)) << start << " to " << end;
  }
}

TEST_F(BlockPlanEdgeTest, SpansBeyondTwoToThe53FramesGoOnBlockByBlock)
{
  const double end = 1.0e12; // 4.4e16 frames
  EXPECT_EQ(2001, blocksToEnd(span(0.0, end), 2000));
  EXPECT_EQ(2001, blocksToEnd(span(0.0, -end), 2000));
  TovAudioFIFOCmd cmd = span(0.0, end);
  long long reached = 0;
  for (int i = 0; i < 2000; ++i) {
    const TovAudioBlockPlan block = plan(cmd);
    EXPECT_EQ(kMost, block.frames);
    reached += block.frames;
    cmd.curTime = block.next;
    EXPECT_EQ(reached, provider->getSampleIndex(context, cmd.curTime));
  }
}

TEST_F(BlockPlanEdgeTest, RandomTimesOfAnySizeGiveBlocksThatFit)
{
  std::mt19937_64 random(5318008);
  for (int i = 0; i < 4000 && !testing::Test::HasFailure(); ++i) {
    const auto time = [&] {
      const double size = std::pow(10.0, static_cast<double>(random() % 3200) / 10.0 - 12.0);
      return (random() % 2 ? 1.0 : -1.0) * std::min(size, kLargest);
    };
    context = TovAudioContext(static_cast<int>(1 + random() % 400000), 1, 0.0, 0.0);
    const double start = time();
    EXPECT_LE(1, blocksToEnd(span(start, random() % 3 ? time() : start * (1.0 + 1.0e-14)), 50));
  }
}

// --- Providers of the host ------------------------------------------------------

TEST_F(BlockPlanEdgeTest, TheProvidersOwnArithmeticCounts)
{
  // Sample 0 at second 10, 100 frames a second, whatever the context says.
  provider->index = [](double t) { return static_cast<long long>(std::floor((t - 10.0) * 100.0)); };
  provider->time = [](long long sample) { return 10.0 + static_cast<double>(sample) / 100.0; };
  const TovAudioBlockPlan block = plan(span(10.0, 60.0));
  EXPECT_EQ(kMost, block.frames);
  EXPECT_EQ(10.0, block.t0);
  EXPECT_EQ(50.96, block.t1);
  EXPECT_FALSE(block.reachesEnd);
  const TovAudioBlockPlan short_ = plan(span(10.0, 12.0));
  EXPECT_EQ(200, short_.frames);
  EXPECT_TRUE(short_.reachesEnd);
}

TEST_F(BlockPlanEdgeTest, AnIndexThatNeverMovesIsAnEmptySpan)
{
  provider->index = [](double) { return 7LL; };
  EXPECT_EQ(1, blocksToEnd(span(0.0, 1000.0), 10));
  EXPECT_EQ(1, blocksToEnd(span(1000.0, 0.0), 10));
  EXPECT_TRUE(tovIsEmptySpan(*provider, context, span(0.0, 1000.0)));
}

TEST_F(BlockPlanEdgeTest, AnIndexThatRunsBackwardsEnds)
{
  provider->index = [](double t) { return static_cast<long long>(-44100.0 * t); };
  EXPECT_GE(10, blocksToEnd(span(0.0, 1.0), 10));
  EXPECT_GE(10, blocksToEnd(span(1.0, 0.0), 10));
}

TEST_F(BlockPlanEdgeTest, ATimeOfSampleThatNeverMovesEnds)
{
  provider->time = [](long long) { return 0.5; };
  EXPECT_GE(3, blocksToEnd(span(0.5, 100.0), 3));
  EXPECT_GE(3, blocksToEnd(span(0.5, -100.0), 3));
  EXPECT_GE(3, blocksToEnd(span(0.0, 100.0), 3));
  EXPECT_GE(3, blocksToEnd(span(100.0, 0.0), 3));
}

TEST_F(BlockPlanEdgeTest, TimesOfSamplesThatAreNotFiniteEnd)
{
  for (const double odd : {kNaN, kInfinity, -kInfinity}) {
    provider->time = [odd](long long) { return odd; };
    EXPECT_GE(3, blocksToEnd(span(0.0, 100.0), 3)) << odd;
    EXPECT_GE(3, blocksToEnd(span(100.0, 0.0), 3)) << odd;
  }
}

TEST_F(BlockPlanEdgeTest, CountsThatNoBlockCanTakeAreNotPlayed)
{
  for (const long long odd : {-1LL, -kLongest, kMost + 1LL, kLongest, 1LL << 32, (1LL << 32) + 5}) {
    provider->count = [odd](double, double) { return odd; };
    EXPECT_LE(1, blocksToEnd(span(0.0, 100.0), 3)) << odd;
    EXPECT_LE(1, blocksToEnd(span(100.0, 0.0), 3)) << odd;
  }
}

TEST_F(BlockPlanEdgeTest, IndicesAtTheEndsOfTheirRangeDoNotOverflow)
{
  for (const long long edge : {kLongest, -kLongest - 1}) {
    provider->index = [edge](double t) { return t < 0.5 ? edge : edge > 0 ? edge - 100 : edge + 100; };
    EXPECT_LE(1, blocksToEnd(span(0.0, 1.0), 3));
    EXPECT_LE(1, blocksToEnd(span(1.0, 0.0), 3));
  }
  provider->index = [](double t) { return t < 0.5 ? kLongest : -kLongest - 1; };
  EXPECT_LE(1, blocksToEnd(span(0.0, 1.0), 3));
  EXPECT_LE(1, blocksToEnd(span(1.0, 0.0), 3));
}

TEST_F(BlockPlanEdgeTest, RandomAnswersGiveBlocksThatFit)
{
  std::mt19937_64 random(161803);
  provider->index = [&](double) { return static_cast<long long>(random() >> (random() % 63)); };
  provider->time = [&](long long) { return static_cast<double>(random() % 1000); };
  for (int i = 0; i < 20000; ++i) {
    TovAudioFIFOCmd cmd = span(static_cast<double>(random() % 9), static_cast<double>(random() % 9));
    cmd.curTime = static_cast<double>(random() % 9);
    const TovAudioBlockPlan block = plan(cmd);
    EXPECT_LE(0, block.frames);
    EXPECT_LE(block.frames, kMost);
  }
}

} // namespace
