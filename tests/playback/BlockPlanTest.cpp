// How a span is cut into blocks: no threads, no provider that renders.

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "playback/TovAudioBlockPlan.h"
#include "playback/TovAudioFIFOBlock.h"
#include "playback/TovAudioFIFOCmd.h"
#include "tests/playback/IndexedProvider.h"
#include "tests/support/Owned.h"

namespace {

using support::IndexedProvider;
using support::Owned;

constexpr int kMost = TovAudioFIFOBlock::kFrames;

class BlockPlanTest : public testing::Test {
protected:
  TovAudioContext context = TovAudioContext(44100, 1, 0.0, 0.0);
  Owned<IndexedProvider> provider = support::make<IndexedProvider>();

  static TovAudioFIFOCmd span(double start, double end)
  {
    TovAudioFIFOCmd cmd;
    cmd.startTime = start;
    cmd.endTime = end;
    cmd.curTime = start;
    cmd.sampleRate = 44100;
    return cmd;
  }

  long long indexOf(double time) const { return provider->getSampleIndex(context, time); }

  TovAudioBlockPlan plan(const TovAudioFIFOCmd& cmd) const
  {
    return tovPlanAudioBlock(*provider, context, cmd);
  }

  /** The whole span, block by block; every block is checked by itself and
   *  against its neighbours. */
  std::vector<TovAudioBlockPlan> cut(double start, double end, int mostBlocks) const
  {
    std::vector<TovAudioBlockPlan> blocks;
    TovAudioFIFOCmd cmd = span(start, end);
    const bool isBackward = end < start;
    do {
      const TovAudioBlockPlan block = plan(cmd);
      EXPECT_TRUE(block.isPlayable);
      EXPECT_EQ(isBackward, block.isBackward);
      EXPECT_LE(0, block.frames);
      EXPECT_LE(block.frames, kMost);
      EXPECT_EQ(block.frames, provider->getNumSampleFrames(context, block.t0, block.t1));
      EXPECT_EQ(block.next, isBackward ? block.t0 : block.t1);
      EXPECT_EQ(indexOf(cmd.curTime), indexOf(isBackward ? block.t1 : block.t0));
      blocks.push_back(block);
      cmd.curTime = block.next;
      if (testing::Test::HasFailure() || static_cast<int>(blocks.size()) > mostBlocks)
        break;
    } while (!blocks.back().reachesEnd);
    EXPECT_TRUE(blocks.back().reachesEnd) << "after " << blocks.size() << " blocks";
    return blocks;
  }

  static std::vector<int> frames(const std::vector<TovAudioBlockPlan>& blocks)
  {
    std::vector<int> counts;
    for (const TovAudioBlockPlan& block : blocks)
      counts.push_back(block.frames);
    return counts;
  }
};

TEST_F(BlockPlanTest, AForwardSpanIsCutFromItsStart)
{
  const std::vector<TovAudioBlockPlan> blocks = cut(0.0, 10000.0 / 44100.0, 10);
  EXPECT_EQ((std::vector<int>{4096, 4096, 1808}), frames(blocks));
  EXPECT_EQ(0.0, blocks[0].t0);
  EXPECT_EQ(4096, indexOf(blocks[0].t1));
  EXPECT_EQ(blocks[0].t1, blocks[1].t0);
  EXPECT_EQ(8192, indexOf(blocks[1].t1));
  EXPECT_EQ(blocks[1].t1, blocks[2].t0);
  EXPECT_EQ(10000, indexOf(blocks[2].t1));
}

TEST_F(BlockPlanTest, ABackwardSpanIsCutFromItsStartDown)
{
  const std::vector<TovAudioBlockPlan> blocks = cut(10000.0 / 44100.0, 0.0, 10);
  EXPECT_EQ((std::vector<int>{4096, 4096, 1808}), frames(blocks));
  EXPECT_EQ(10000, indexOf(blocks[0].t1));
  EXPECT_EQ(5904, indexOf(blocks[0].t0));
  EXPECT_EQ(5904, indexOf(blocks[1].t1));
  EXPECT_EQ(1808, indexOf(blocks[1].t0));
  EXPECT_EQ(1808, indexOf(blocks[2].t1));
  EXPECT_EQ(0, indexOf(blocks[2].t0));
}

TEST_F(BlockPlanTest, OnlyTheLastBlockReachesTheEnd)
{
  for (const auto& [start, end] : {std::pair(1.0, 2.0), std::pair(2.0, 1.0)}) {
    const std::vector<TovAudioBlockPlan> blocks = cut(start, end, 20);
    ASSERT_EQ(11u, blocks.size());
    for (std::size_t i = 0; i + 1 < blocks.size(); ++i)
      EXPECT_FALSE(blocks[i].reachesEnd);
  }
}

TEST_F(BlockPlanTest, ASpanOfWholeBlocksHasNoEmptyOneAtItsEnd)
{
  EXPECT_EQ((std::vector<int>{4096}), frames(cut(0.0, 4096.0 / 44100.0, 5)));
  EXPECT_EQ((std::vector<int>{4096, 4096}), frames(cut(8192.0 / 44100.0, 0.0, 5)));
  EXPECT_EQ((std::vector<int>{4096, 1}), frames(cut(0.0, 4097.0 / 44100.0, 5)));
  EXPECT_EQ((std::vector<int>{4095}), frames(cut(4095.0 / 44100.0, 0.0, 5)));
}

TEST_F(BlockPlanTest, AStartBetweenTwoFramesBelongsToTheOneBefore)
{
  const double start = 100.5 / 44100.0;
  const std::vector<TovAudioBlockPlan> forward = cut(start, 5000.25 / 44100.0, 5);
  EXPECT_EQ((std::vector<int>{4096, 804}), frames(forward));
  EXPECT_EQ(start, forward[0].t0) << "the provider is asked from the start itself";
  EXPECT_EQ(4196, indexOf(forward[0].t1));
  EXPECT_EQ(5000, indexOf(forward[1].t1));

  const std::vector<TovAudioBlockPlan> backward = cut(5000.25 / 44100.0, start, 5);
  EXPECT_EQ((std::vector<int>{4096, 804}), frames(backward));
  EXPECT_EQ(5000, indexOf(backward[0].t1));
  EXPECT_EQ(100, indexOf(backward[1].t0));
}

TEST_F(BlockPlanTest, NegativeTimesAreNothingSpecial)
{
  EXPECT_EQ((std::vector<int>{4096, 904}), frames(cut(-2500.0 / 44100.0, 2500.0 / 44100.0, 5)));
  EXPECT_EQ((std::vector<int>{4096, 904}), frames(cut(2500.0 / 44100.0, -2500.0 / 44100.0, 5)));
}

TEST_F(BlockPlanTest, ASpanWithoutFramesReachesItsEndAtOnce)
{
  for (const double start : {0.0, 1.0, -3.25, 100.5 / 44100.0}) {
    EXPECT_EQ((std::vector<int>{0}), frames(cut(start, start, 1)));
    EXPECT_TRUE(tovIsEmptySpan(*provider, context, span(start, start)));
  }
  // Within one frame.
  EXPECT_EQ((std::vector<int>{0}), frames(cut(7.125 / 44100.0, 7.5 / 44100.0, 1)));
  EXPECT_EQ((std::vector<int>{0}), frames(cut(7.5 / 44100.0, 7.125 / 44100.0, 1)));
  EXPECT_TRUE(tovIsEmptySpan(*provider, context, span(7.125 / 44100.0, 7.5 / 44100.0)));
  EXPECT_TRUE(tovIsEmptySpan(*provider, context, span(7.5 / 44100.0, 7.125 / 44100.0)));
}

TEST_F(BlockPlanTest, ASpanOfOneFrameIsNotEmpty)
{
  EXPECT_EQ((std::vector<int>{1}), frames(cut(6.875 / 44100.0, 7.125 / 44100.0, 1)));
  EXPECT_FALSE(tovIsEmptySpan(*provider, context, span(6.875 / 44100.0, 7.125 / 44100.0)));
  EXPECT_FALSE(tovIsEmptySpan(*provider, context, span(7.125 / 44100.0, 6.875 / 44100.0)));
}

TEST_F(BlockPlanTest, WhetherASpanIsEmptyIsAMatterOfTheWholeSpan)
{
  TovAudioFIFOCmd cmd = span(1.0, 2.0);
  cmd.curTime = 2.0;
  EXPECT_FALSE(tovIsEmptySpan(*provider, context, cmd));
}

TEST_F(BlockPlanTest, LoopAndCompleteDoNotCount)
{
  TovAudioFIFOCmd cmd = span(0.0, 1.0);
  const TovAudioBlockPlan plain = plan(cmd);
  cmd.loop = true;
  cmd.complete = true;
  const TovAudioBlockPlan looping = plan(cmd);
  EXPECT_EQ(plain.t1, looping.t1);
  EXPECT_EQ(plain.frames, looping.frames);
  EXPECT_EQ(plain.reachesEnd, looping.reachesEnd);
}

TEST_F(BlockPlanTest, RandomSpansGiveEveryFrameOnceInWholeBlocks)
{
  std::mt19937 random(20251);
  std::uniform_real_distribution<double> startTime(-5000.0, 5000.0);
  std::exponential_distribution<double> length(2.0);
  const int rates[] = {1, 2, 7, 1000, 8000, 22050, 44100, 48000, 96000, 192000};
  for (int i = 0; i < 3000 && !testing::Test::HasFailure(); ++i) {
    context = TovAudioContext(rates[random() % std::size(rates)], 1, 0.0, 0.0);
    const double start = startTime(random);
    const double end = start + (random() % 2 ? 1.0 : -1.0) * length(random);
    const long long first = indexOf(start);
    const long long last = indexOf(end);
    const std::vector<TovAudioBlockPlan> blocks = cut(start, end, 1000);
    long long reached = first;
    for (const TovAudioBlockPlan& block : blocks) {
      const bool isForward = start <= end;
      EXPECT_EQ(reached, indexOf(isForward ? block.t0 : block.t1));
      reached = indexOf(isForward ? block.t1 : block.t0);
    }
    EXPECT_EQ(last, reached) << start << " to " << end << " at " << context.sampleRate;
    const long long total = std::abs(last - first);
    EXPECT_EQ(std::max(1LL, (total + kMost - 1) / kMost), static_cast<long long>(blocks.size()));
  }
}

TEST_F(BlockPlanTest, AFullBlockFitsAnyLengthThatIsNotTheLast)
{
  std::mt19937 random(77);
  for (int i = 0; i < 300 && !testing::Test::HasFailure(); ++i) {
    const double start = static_cast<double>(random() % 100000000) / 9973.0;
    const std::vector<TovAudioBlockPlan> blocks =
        cut(start, start + (i % 2 ? 1.5 : -1.5), 100);
    for (std::size_t j = 0; j + 1 < blocks.size(); ++j)
      EXPECT_EQ(kMost, blocks[j].frames);
  }
}

} // namespace
