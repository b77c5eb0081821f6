// The scratch buffers of a provider.

#include <algorithm>
#include <climits>
#include <new>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"

namespace {

class SampleBuffersTest : public ::testing::Test {
protected:
  /** The blocks, each written over its whole length. */
  std::vector<float*> usableBlocks()
  {
    std::vector<float*> blocks;
    TovNLPArray<float>& array = provider->getSampleBuffers();
    for (int i = 0; i < array.getCount(); ++i) {
      std::fill_n(array[i], provider->getSampleBufferFrames(), static_cast<float>(i));
      blocks.push_back(array[i]);
    }
    return blocks;
  }

  support::Owned<support::RecordingProvider> provider = support::make<support::RecordingProvider>();
};

TEST_F(SampleBuffersTest, FreshProviderHasNone)
{
  EXPECT_EQ(0, provider->getSampleBuffers().getCount());
  EXPECT_EQ(0, provider->getSampleBufferFrames());
}

TEST_F(SampleBuffersTest, BlocksHaveTenFramesToSpare)
{
  provider->allocSampleBuffers(2, 1000);
  EXPECT_EQ(1010, provider->getSampleBufferFrames());
  EXPECT_EQ(2u, usableBlocks().size());
}

TEST_F(SampleBuffersTest, SlightlyLongerRequestReusesTheBlocks)
{
  provider->allocSampleBuffers(2, 1000);
  const std::vector<float*> before = usableBlocks();
  provider->getSampleBuffers()[0][0] = 0.25f;
  provider->allocSampleBuffers(2, 1010);
  EXPECT_EQ(before, usableBlocks());
  EXPECT_EQ(1010, provider->getSampleBufferFrames());
}

TEST_F(SampleBuffersTest, KeptBlocksKeepTheirContents)
{
  provider->allocSampleBuffers(1, 100);
  provider->getSampleBuffers()[0][109] = 0.25f;
  provider->allocSampleBuffers(3, 50);
  EXPECT_EQ(0.25f, provider->getSampleBuffers()[0][109]);
}

TEST_F(SampleBuffersTest, MoreChannelsAddBlocksOfTheLengthInUse)
{
  provider->allocSampleBuffers(2, 1000);
  const std::vector<float*> before = usableBlocks();
  provider->allocSampleBuffers(4, 1005);
  const std::vector<float*> after = usableBlocks();
  ASSERT_EQ(4u, after.size());
  EXPECT_EQ(before[0], after[0]);
  EXPECT_EQ(before[1], after[1]);
  EXPECT_EQ(1010, provider->getSampleBufferFrames());
}

TEST_F(SampleBuffersTest, LongerRequestReplacesEveryBlock)
{
  provider->allocSampleBuffers(2, 1000);
  provider->allocSampleBuffers(4, 1005);
  provider->allocSampleBuffers(1, 2000);
  EXPECT_EQ(1u, usableBlocks().size());
  EXPECT_EQ(2010, provider->getSampleBufferFrames());
}

TEST_F(SampleBuffersTest, OneFrameBeyondTheHeadroomReplacesTheBlocks)
{
  provider->allocSampleBuffers(1, 1000);
  provider->allocSampleBuffers(1, 1011);
  EXPECT_EQ(1u, usableBlocks().size());
  EXPECT_EQ(1021, provider->getSampleBufferFrames());
}

TEST_F(SampleBuffersTest, FewerChannelsRemoveNoBlock)
{
  provider->allocSampleBuffers(4, 100);
  const std::vector<float*> before = usableBlocks();
  provider->allocSampleBuffers(1, 100);
  EXPECT_EQ(before, usableBlocks());
  provider->allocSampleBuffers(0, 100);
  EXPECT_EQ(before, usableBlocks());
}

TEST_F(SampleBuffersTest, NoChannelsStillSetTheLength)
{
  provider->allocSampleBuffers(0, 500);
  EXPECT_EQ(0, provider->getSampleBuffers().getCount());
  EXPECT_EQ(510, provider->getSampleBufferFrames());
  provider->allocSampleBuffers(2, 505);
  EXPECT_EQ(510, provider->getSampleBufferFrames());
  EXPECT_EQ(2u, usableBlocks().size());
}

TEST_F(SampleBuffersTest, NegativeChannelsCountAsNone)
{
  provider->allocSampleBuffers(-3, 500);
  EXPECT_EQ(0, provider->getSampleBuffers().getCount());
  EXPECT_EQ(510, provider->getSampleBufferFrames());
}

TEST_F(SampleBuffersTest, NoFramesOrFewerAreLongEnoughAlready)
{
  provider->allocSampleBuffers(2, 0);
  EXPECT_EQ(0, provider->getSampleBufferFrames());
  EXPECT_EQ(2, provider->getSampleBuffers().getCount());
  provider->allocSampleBuffers(3, -5);
  EXPECT_EQ(0, provider->getSampleBufferFrames());
  EXPECT_EQ(3, provider->getSampleBuffers().getCount());
  provider->allocSampleBuffers(1, 1);
  EXPECT_EQ(11, provider->getSampleBufferFrames());
  EXPECT_EQ(1u, usableBlocks().size());
}

TEST_F(SampleBuffersTest, ManyChannelsHaveBlocksOfTheirOwn)
{
  provider->allocSampleBuffers(40, 64);
  const std::vector<float*> blocks = usableBlocks();
  EXPECT_EQ(40u, std::set<float*>(blocks.begin(), blocks.end()).size());
  for (int i = 0; i < 40; ++i)
    EXPECT_EQ(static_cast<float>(i), provider->getSampleBuffers()[i][73]);
}

TEST_F(SampleBuffersTest, GetterGivesTheArrayItself)
{
  TovNLPArray<float>& array = provider->getSampleBuffers();
  provider->allocSampleBuffers(2, 10);
  EXPECT_EQ(2, array.getCount());
  EXPECT_EQ(&array, &provider->getSampleBuffers());
}

TEST_F(SampleBuffersTest, ClearFreesEveryBlock)
{
  provider->allocSampleBuffers(5, 100);
  provider->clearSampleBuffers();
  EXPECT_EQ(0, provider->getSampleBuffers().getCount());
  EXPECT_EQ(0, provider->getSampleBufferFrames());
  provider->clearSampleBuffers();
  provider->allocSampleBuffers(1, 20);
  EXPECT_EQ(30, provider->getSampleBufferFrames());
  EXPECT_EQ(1u, usableBlocks().size());
}

TEST_F(SampleBuffersTest, ClearSkipsNullEntries)
{
  provider->allocSampleBuffers(2, 100);
  provider->getSampleBuffers().append(nullptr);
  provider->clearSampleBuffers();
  EXPECT_EQ(0, provider->getSampleBuffers().getCount());
}

TEST_F(SampleBuffersTest, AllocationDoesNotTakeTheProviderLock)
{
  const support::HeldLock held(*provider);
  provider->allocSampleBuffers(2, 100);
  EXPECT_EQ(110, provider->getSampleBufferFrames());
}

TEST_F(SampleBuffersTest, FailedAllocationLeavesNoLockHeld)
{
  for (const long long frames : {1LL << 61, LLONG_MAX, LLONG_MAX - 10}) {
    EXPECT_THROW(provider->allocSampleBuffers(2, frames), std::bad_alloc) << frames;
    provider->allocSampleBuffers(1, 100); // would wait for ever
    EXPECT_GE(provider->getSampleBufferFrames(), 100);
    EXPECT_LE(provider->getSampleBufferFrames(), 110);
    EXPECT_EQ(1u, usableBlocks().size());
  }
}

TEST_F(SampleBuffersTest, ThreadsMaySizeBuffersAtTheSameTime)
{
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this, thread] {
      for (int i = 0; i < 300; ++i)
        provider->allocSampleBuffers(1 + (i + thread) % 5, 10 + (i * 7 + thread) % 200);
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  provider->allocSampleBuffers(5, 100);
  EXPECT_GE(provider->getSampleBufferFrames(), 209);
  EXPECT_GE(usableBlocks().size(), 5u);
}

} // namespace
