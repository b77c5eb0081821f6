// The means of the other tests here: indices in samples, and the log of spans.

#include <utility>

#include <gtest/gtest.h>

#include "tests/playback/IndexedProvider.h"
#include "tests/playback/threads/SpanLog.h"

namespace {

using support::IndexedProvider;
using support::SpanLog;

constexpr long long kNext = SpanLog::kMostFrames; ///< index at which the second span begins

TEST(IndexedProviderTest, EveryIndexComesBackFromItsSamples)
{
  for (const long long index : {0LL, 1LL, -1LL, 8388607LL, 8388608LL, -8388608LL, -8388609LL,
                                (1LL << 45) - 1, -(1LL << 45), 123456789012LL})
    EXPECT_EQ(index, IndexedProvider::index(IndexedProvider::left(index),
                                            IndexedProvider::right(index)));
}

TEST(IndexedProviderTest, OtherSamplesAreToldApart)
{
  EXPECT_EQ(IndexedProvider::kSilence, IndexedProvider::index(0.0f, 0.0f));
  EXPECT_EQ(IndexedProvider::kStranger, IndexedProvider::index(1.5f, -1.0f));
  EXPECT_EQ(IndexedProvider::kStranger, IndexedProvider::index(1.0f, 1.0f));
  EXPECT_EQ(IndexedProvider::kStranger, IndexedProvider::index(0.0f, -1.0f));
  EXPECT_EQ(IndexedProvider::kStranger, IndexedProvider::index(1.0e20f, -1.0f));
}

TEST(SpanLogTest, SpansInOrderAreRight)
{
  SpanLog log;
  log.add(2, false, false);
  log.add(2, true, false);
  for (const long long index : {0LL, 1LL, kNext + 1, kNext})
    EXPECT_TRUE(log.hear(index, true)) << index;
  EXPECT_TRUE(log.isOver());
}

TEST(SpanLogTest, ALoopGoesRound)
{
  SpanLog log;
  log.add(2, false, true);
  for (const long long index : {0LL, 1LL, 0LL, 1LL, 0LL})
    EXPECT_TRUE(log.hear(index, true));
}

TEST(SpanLogTest, LostDoubledAndReorderedFramesAreNoticed)
{
  for (const std::pair<long long, long long>& pair :
       {std::pair(0LL, 2LL), std::pair(0LL, 0LL), std::pair(0LL, -1LL), std::pair(0LL, kNext),
        std::pair(0LL, 5 * kNext)}) {
    SpanLog log;
    log.add(4, false, false);
    log.add(4, false, false);
    EXPECT_TRUE(log.hear(pair.first, true));
    EXPECT_FALSE(log.hear(pair.second, true)) << pair.second;
  }
  SpanLog log;
  log.add(4, false, false);
  EXPECT_FALSE(log.hear(1, true)) << "the first frame was lost";
}

TEST(SpanLogTest, AFlushMayCutOffAndNothingOlderComesThen)
{
  SpanLog log;
  log.add(4, false, true);
  log.addFlush();
  log.add(4, false, false);
  EXPECT_TRUE(log.hear(0, true));
  EXPECT_TRUE(log.hear(kNext, true));
  EXPECT_FALSE(log.hear(1, true));
}

TEST(SpanLogTest, WhereFlushesOverlapFramesMayBeLeftOutButNotComeAgain)
{
  SpanLog log;
  log.add(9, true, false);
  EXPECT_TRUE(log.hear(8, false));
  EXPECT_TRUE(log.hear(5, false));
  EXPECT_FALSE(log.hear(5, false));
  EXPECT_FALSE(log.hear(7, false));
}

} // namespace
