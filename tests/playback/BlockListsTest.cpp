// The lists that blocks go round in, one step after the other on one thread.

#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "playback/TovAudioBlockLists.h"
#include "tests/support/Buffers.h"

namespace {

class BlockListsTest : public testing::Test {
protected:
  BlockListsTest()
  {
    for (TovAudioFIFOBlock& block : storage)
      lists.freeBlock(&block);
  }

  /** Makes the next block: frame after frame counted on, left positive, right
   *  negative; null where there is no free one. */
  TovAudioFIFOBlock* finish(int frames, bool isLast = false, bool isSilent = false)
  {
    TovAudioFIFOBlock* const block = lists.getFreeBlock();
    if (!block)
      return nullptr;
    block->frames = frames;
    block->readPos = 0;
    block->silent = isSilent;
    block->lastOfCmd = isLast;
    for (std::size_t i = 0; i < static_cast<std::size_t>(frames); ++i) {
      ++written;
      block->left[i] = static_cast<float>(written);
      block->right[i] = -static_cast<float>(written);
    }
    lists.linkFinished(block);
    return block;
  }

  /** The left samples of one fill, as many as were delivered; the right ones
   *  must be their negatives, and what was not delivered untouched. */
  std::vector<float> fill(int frames, int first = 0)
  {
    support::Buffers outputs(2, frames);
    delivered = lists.fillFromReadyBlocks(outputs.pointers(), frames, first);
    EXPECT_TRUE(outputs.guardsIntact());
    std::vector<float> left;
    for (int i = 0; i < frames; ++i) {
      if (i >= first && i < delivered) {
        left.push_back(outputs.channel(0)[i]);
        EXPECT_EQ(-outputs.channel(0)[i], outputs.channel(1)[i]);
      } else {
        EXPECT_EQ(support::Buffers::kUntouched, outputs.channel(0)[i]);
        EXPECT_EQ(support::Buffers::kUntouched, outputs.channel(1)[i]);
      }
    }
    return left;
  }

  /** All free blocks, which are taken. */
  std::set<TovAudioFIFOBlock*> takeFree()
  {
    std::set<TovAudioFIFOBlock*> blocks;
    for (int i = 0; i < 10; ++i) {
      TovAudioFIFOBlock* const block = lists.getFreeBlock();
      EXPECT_TRUE(!block || blocks.insert(block).second) << "handed out twice";
    }
    return blocks;
  }

  static std::vector<float> counting(int first, int last)
  {
    std::vector<float> values;
    for (int i = first; i <= last; ++i)
      values.push_back(static_cast<float>(i));
    return values;
  }

  TovAudioFIFOBlock storage[4];
  TovAudioBlockLists<> lists;
  int written = 0;
  int delivered = -1;
};

TEST_F(BlockListsTest, EveryFreeBlockIsHandedOutOnceThenNone)
{
  EXPECT_EQ(4u, takeFree().size());
  EXPECT_EQ(nullptr, lists.getFreeBlock());
}

TEST_F(BlockListsTest, ABlockHandedOutHangsOnNothing)
{
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(nullptr, lists.getFreeBlock()->next);
}

TEST_F(BlockListsTest, WhatIsFinishedIsReadyOnlyOnceItIsClaimed)
{
  EXPECT_FALSE(lists.isAnythingReady());
  finish(3);
  EXPECT_FALSE(lists.isAnythingReady());
  EXPECT_EQ(std::vector<float>(), fill(3));
  EXPECT_EQ(0, delivered);
  lists.claimFinished();
  EXPECT_TRUE(lists.isAnythingReady());
  EXPECT_EQ(counting(1, 3), fill(3));
  EXPECT_FALSE(lists.isAnythingReady());
}

TEST_F(BlockListsTest, ClaimingNothingLeavesNothingReady)
{
  lists.claimFinished();
  EXPECT_FALSE(lists.isAnythingReady());
}

TEST_F(BlockListsTest, BlocksArePlayedInTheOrderInWhichTheyWereFinished)
{
  for (int i = 0; i < 4; ++i)
    finish(5);
  lists.claimFinished();
  EXPECT_EQ(counting(1, 20), fill(20));
  EXPECT_EQ(20, delivered);
}

TEST_F(BlockListsTest, FillsOfAnySizeCutTheBlocksAnywhere)
{
  for (int i = 0; i < 4; ++i)
    finish(5);
  lists.claimFinished();
  EXPECT_EQ(counting(1, 3), fill(3));
  EXPECT_EQ(counting(4, 11), fill(8));
  EXPECT_EQ(counting(12, 15), fill(4));
  EXPECT_TRUE(lists.isAnythingReady());
  EXPECT_EQ(counting(16, 20), fill(100));
  EXPECT_EQ(5, delivered);
}

TEST_F(BlockListsTest, AFillBeginsAtItsFirstFrame)
{
  finish(5);
  lists.claimFinished();
  EXPECT_EQ(counting(1, 3), fill(10, 7));
  EXPECT_EQ(10, delivered);
  EXPECT_EQ(counting(4, 5), fill(10, 1));
  EXPECT_EQ(3, delivered);
}

TEST_F(BlockListsTest, AFillThatIsFullAlreadyTakesNothing)
{
  finish(5);
  lists.claimFinished();
  EXPECT_EQ(std::vector<float>(), fill(10, 10));
  EXPECT_EQ(10, delivered);
  EXPECT_EQ(counting(1, 5), fill(5));
}

TEST_F(BlockListsTest, ASilentBlockPlaysZerosWhateverItHolds)
{
  finish(4, false, true);
  finish(2);
  lists.claimFinished();
  EXPECT_EQ((std::vector<float>{0.0f, 0.0f, 0.0f}), fill(3));
  EXPECT_EQ((std::vector<float>{0.0f, 5.0f, 6.0f}), fill(3));
}

TEST_F(BlockListsTest, ABlockGoesBackOnlyWhenItIsPlayedToItsEnd)
{
  for (int i = 0; i < 4; ++i)
    finish(2);
  lists.claimFinished();
  fill(1);
  EXPECT_EQ(nullptr, lists.getFreeBlock());
  fill(1);
  TovAudioFIFOBlock* const free = lists.getFreeBlock();
  ASSERT_NE(nullptr, free);
  EXPECT_EQ(0, free->frames);
  EXPECT_EQ(0, free->readPos);
  EXPECT_EQ(nullptr, lists.getFreeBlock());
}

TEST_F(BlockListsTest, ABlockWithoutFramesIsPassedOver)
{
  finish(2);
  finish(0);
  finish(2);
  lists.claimFinished();
  EXPECT_EQ(counting(1, 4), fill(4));
  EXPECT_EQ(4u, takeFree().size());
}

TEST_F(BlockListsTest, OutputsThatAreMissingAreLeftOut)
{
  finish(3);
  lists.claimFinished();
  float left[3] = {};
  TovNLPArray<float> outputs;
  outputs.append(left);
  outputs.append(nullptr);
  EXPECT_EQ(3, lists.fillFromReadyBlocks(outputs, 3, 0));
  EXPECT_EQ(3.0f, left[2]);
}

// --- Flush --------------------------------------------------------------------

TEST_F(BlockListsTest, AFlushTakesFinishedBlocksBackAtOnce)
{
  finish(3);
  finish(3);
  lists.flush();
  EXPECT_EQ(4u, takeFree().size());
}

TEST_F(BlockListsTest, AFlushTakesReadyBlocksBackAtTheNextFill)
{
  finish(3);
  finish(3);
  lists.claimFinished();
  EXPECT_EQ(counting(1, 2), fill(2));
  lists.flush();
  EXPECT_TRUE(lists.isAnythingReady());
  EXPECT_EQ(std::vector<float>(), fill(2));
  EXPECT_FALSE(lists.isAnythingReady());
  EXPECT_EQ(4u, takeFree().size());
}

TEST_F(BlockListsTest, AFillWithoutFramesCarriesOutAFlush)
{
  finish(3);
  lists.claimFinished();
  lists.flush();
  fill(0);
  EXPECT_FALSE(lists.isAnythingReady());
}

TEST_F(BlockListsTest, ABlockThatAFlushTookBackStartsAnew)
{
  finish(3, true);
  lists.claimFinished();
  fill(1);
  lists.flush();
  fill(0);
  for (TovAudioFIFOBlock* const block : takeFree()) {
    EXPECT_EQ(0, block->frames);
    EXPECT_EQ(0, block->readPos);
  }
}

TEST_F(BlockListsTest, WhatWasFinishedAfterAFlushStaysWhenTheFlushIsSeenLate)
{
  finish(3);
  lists.flush();
  finish(4);
  lists.claimFinished(); // the consumer has not looked at flushPending yet
  EXPECT_EQ(counting(4, 7), fill(4));
}

TEST_F(BlockListsTest, WhatWasFinishedBetweenTwoFlushesGoes)
{
  finish(3);
  lists.flush();
  finish(4);
  lists.claimFinished();
  lists.flush();
  finish(2);
  EXPECT_EQ(std::vector<float>(), fill(4));
  lists.claimFinished();
  EXPECT_EQ(counting(8, 9), fill(2));
}

TEST_F(BlockListsTest, AFlushIsCarriedOutOnce)
{
  lists.flush();
  fill(1);
  finish(2);
  lists.claimFinished();
  EXPECT_EQ(counting(1, 2), fill(2));
}

// --- Stop request ---------------------------------------------------------------

TEST_F(BlockListsTest, TheLastFrameOfALastBlockRaisesAStopRequestThatIsTakenOnce)
{
  finish(2);
  finish(2, true);
  lists.claimFinished();
  fill(2);
  EXPECT_FALSE(lists.takeStopRequest());
  fill(1);
  EXPECT_FALSE(lists.takeStopRequest());
  fill(1);
  EXPECT_TRUE(lists.takeStopRequest());
  EXPECT_FALSE(lists.takeStopRequest());
}

TEST_F(BlockListsTest, ALastBlockWithoutFramesRaisesAStopRequest)
{
  finish(0, true);
  lists.claimFinished();
  fill(1);
  EXPECT_TRUE(lists.takeStopRequest());
}

TEST_F(BlockListsTest, ALastBlockThatWasFlushedRaisesNone)
{
  finish(2, true);
  lists.flush();
  fill(5);
  EXPECT_FALSE(lists.takeStopRequest());
  finish(2, true);
  lists.claimFinished();
  fill(1);
  lists.flush();
  fill(5);
  EXPECT_FALSE(lists.takeStopRequest());
}

TEST_F(BlockListsTest, AStopRequestFromBeforeAFlushIsGone)
{
  finish(2, true);
  lists.claimFinished();
  fill(2);
  lists.flush();
  EXPECT_FALSE(lists.takeStopRequest());
  EXPECT_FALSE(lists.takeStopRequest());
}

TEST_F(BlockListsTest, AStopRequestFromAfterAFlushIsTaken)
{
  finish(2, true);
  lists.claimFinished();
  fill(2);
  lists.flush();
  finish(1, true);
  lists.claimFinished();
  fill(1);
  EXPECT_TRUE(lists.takeStopRequest());
}

TEST_F(BlockListsTest, NothingHasEndedInTheBeginningOrAfterAFlush)
{
  EXPECT_FALSE(lists.takeStopRequest());
  lists.flush();
  EXPECT_FALSE(lists.takeStopRequest());
}

TEST_F(BlockListsTest, ThousandsOfRoundsLoseNoBlock)
{
  int expected = 0;
  for (int i = 0; i < 5000; ++i) {
    const int blocks = 1 + i % 4;
    for (int j = 0; j < blocks; ++j)
      ASSERT_NE(nullptr, finish(1 + i % 7));
    lists.claimFinished();
    const int frames = blocks * (1 + i % 7);
    if (i % 5 == 0) {
      lists.flush();
      EXPECT_EQ(std::vector<float>(), fill(frames));
    } else {
      EXPECT_EQ(counting(expected + 1, expected + frames), fill(frames));
    }
    expected += frames;
  }
  EXPECT_EQ(4u, takeFree().size());
}

} // namespace
