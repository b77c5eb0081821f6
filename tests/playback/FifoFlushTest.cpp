// Flushes, and the requests to stop at the end of a span.

#include <atomic>
#include <functional>
#include <limits>
#include <thread>

#include "core/TovSys.h"
#include "tests/playback/FifoTest.h"

namespace {

using support::FifoTest;
using support::SteppedHost;

class FifoFlushTest : public FifoTest {
};

TEST_F(FifoFlushTest, AFlushDropsFinishedBlocksAtOnce)
{
  span(0, 100 * kBlock);
  SteppedHost::step();
  fifo->flush();
  EXPECT_EQ(0.01, SteppedHost::step());
  EXPECT_TRUE(fill(10).empty());
  EXPECT_EQ(4, provider->requestCount()) << "the span itself is gone too";
}

TEST_F(FifoFlushTest, AFlushDropsReadyBlocksAtTheNextFill)
{
  span(0, 100 * kBlock);
  SteppedHost::step();
  EXPECT_EQ(frames(0, 10), fill(10));
  fifo->flush();
  EXPECT_EQ(frames(10, 20), fill(10)) << "the feeder has not seen it yet";
  SteppedHost::step();
  EXPECT_TRUE(fill(10).empty());
}

TEST_F(FifoFlushTest, WhatIsQueuedBehindAFlushPlaysAndWhatIsBeforeDoesNot)
{
  span(0, 100 * kBlock);
  span(50, 60);
  fifo->flush();
  span(1000, 1010);
  SteppedHost::step();
  EXPECT_EQ(1, provider->requestCount());
  EXPECT_EQ(frames(1000, 1010), fill(20));
}

TEST_F(FifoFlushTest, OfSeveralFlushesTheLastCounts)
{
  span(0, 10);
  fifo->flush();
  span(20, 30);
  fifo->flush();
  fifo->flush();
  span(40, 50);
  SteppedHost::step();
  EXPECT_EQ(1, provider->requestCount());
  EXPECT_EQ(frames(40, 50), fill(20));
}

TEST_F(FifoFlushTest, AFlushEndsALoop)
{
  span(0, 10, true);
  SteppedHost::step();
  fill(5);
  fifo->flush();
  SteppedHost::step();
  EXPECT_TRUE(fill(10).empty());
  EXPECT_EQ(0.01, SteppedHost::pause());
}

TEST_F(FifoFlushTest, TheNewSpanBeginsWithItsFirstFrameThoughTheOldBlocksAreDroppedLate)
{
  // Played, then flushed and queued in one go: the flush is seen by the fill
  // that also claims the new blocks.
  for (int i = 0; i < 20; ++i) {
    span(0, 100 * kBlock);
    SteppedHost::step();
    EXPECT_EQ(frames(0, kBlock), fill(kBlock)); // frees one block
    fifo->flush();
    span(5000, 5020);
    SteppedHost::step();
    EXPECT_EQ(frames(5000, 5020), fill(20));
    fifo->flush();
    SteppedHost::step();
    skip(0);
  }
}

TEST_F(FifoFlushTest, AFlushWithNothingToDropDoesNoHarm)
{
  for (int i = 0; i < 3; ++i) {
    fifo->flush();
    SteppedHost::step();
    fill(10);
  }
  span(0, 10);
  SteppedHost::step();
  EXPECT_EQ(frames(0, 10), fill(10));
}

// --- The end of a span ----------------------------------------------------------------

class FifoStopTest : public FifoTest {
protected:
  /** What the callback does besides counting. */
  void onStop(std::function<void()> reaction)
  {
    react = std::move(reaction);
    fifo->setStopRequestCallback(
        [](void* data) {
          FifoStopTest* const self = static_cast<FifoStopTest*>(data);
          ++self->stops;
          EXPECT_TRUE(SteppedHost::isStepped()) << "on the feeder thread";
          const std::function<void()> present = self->react; // it may be replaced meanwhile
          if (present)
            present();
        },
        this);
  }

  /** Plays a short span to its end. */
  void playShort()
  {
    span(0, 10);
    SteppedHost::step();
    EXPECT_EQ(frames(0, 10), fill(10));
  }

  /** Parks the feeder inside its next stop callback. */
  void parkInCallback()
  {
    onStop([] { TovSys::sleep(kParked); });
    playShort();
    ASSERT_EQ(kParked, SteppedHost::step());
  }

  static constexpr double kParked = 123.0;
  std::function<void()> react = {};
};

TEST_F(FifoStopTest, TheCallbackComesOnceTheLastFrameHasBeenDrained)
{
  onStop({});
  span(0, 2 * kBlock);
  SteppedHost::step();
  fill(2 * kBlock - 1);
  SteppedHost::steps(3);
  EXPECT_EQ(0, stops);
  fill(1);
  EXPECT_EQ(0, stops);
  SteppedHost::step();
  EXPECT_EQ(1, stops);
  SteppedHost::steps(5);
  fill(10);
  SteppedHost::steps(5);
  EXPECT_EQ(1, stops);
}

TEST_F(FifoStopTest, EverySpanThatEndsCallsOnce)
{
  onStop({});
  for (int i = 1; i <= 10; ++i) {
    span(i % 2 ? 0 : 10, i % 2 ? 10 : 0);
    SteppedHost::step();
    fill(10);
    SteppedHost::steps(2);
    EXPECT_EQ(i, stops);
  }
}

TEST_F(FifoStopTest, ASpanWithoutFramesCallsToo)
{
  onStop({});
  span(42, 42);
  SteppedHost::step();
  EXPECT_EQ(0, stops);
  EXPECT_TRUE(fill(10).empty());
  SteppedHost::step();
  EXPECT_EQ(1, stops);
}

TEST_F(FifoStopTest, ASpanThatWasFlushedDoesNotCall)
{
  onStop({});
  span(0, 10);
  SteppedHost::step();
  fill(9);
  fifo->flush();
  SteppedHost::step();
  fill(10);
  SteppedHost::steps(3);
  EXPECT_EQ(0, stops);
}

TEST_F(FifoStopTest, TimesAndRatesThatCannotBePlayedEndAtOnceLoopingOrNot)
{
  onStop({});
  const double kInfinity = std::numeric_limits<double>::infinity();
  const double kNaN = std::numeric_limits<double>::quiet_NaN();
  int expected = 0;
  for (const bool isLoop : {false, true}) {
    for (const auto& [start, end] :
         {std::pair(kNaN, 1.0), std::pair(1.0, kNaN), std::pair(kInfinity, 0.0),
          std::pair(0.0, kInfinity), std::pair(-kInfinity, kInfinity), std::pair(kNaN, kNaN)}) {
      fifo->addBlock(TovAudioContext(kRate, 1, 0.0, 0.0), start, end, isLoop);
      EXPECT_EQ(0.01, SteppedHost::step());
      EXPECT_TRUE(fill(10).empty());
      SteppedHost::steps(2);
      EXPECT_EQ(++expected, stops) << start << " to " << end << (isLoop ? " looping" : "");
    }
    for (const int rate : {0, -1, -44100, std::numeric_limits<int>::min()}) {
      fifo->addBlock(TovAudioContext(rate, 1, 0.0, 0.0), 0.0, 1.0, isLoop);
      EXPECT_EQ(0.01, SteppedHost::step());
      EXPECT_TRUE(fill(10).empty());
      SteppedHost::steps(2);
      EXPECT_EQ(++expected, stops) << rate << (isLoop ? " looping" : "");
    }
  }
  EXPECT_EQ(0, provider->requestCount());
}

TEST_F(FifoStopTest, WithoutACallbackAnEndGoesUnnoticedAndNothingIsFlushed)
{
  span(0, 10);
  span(20, 30);
  SteppedHost::step();
  EXPECT_EQ(frames(0, 10), fill(10));
  SteppedHost::steps(3);
  EXPECT_EQ(frames(20, 30), fill(10));
  onStop({});
  SteppedHost::step();
  EXPECT_EQ(1, stops) << "the end of the second was not asked for before";
}

TEST_F(FifoStopTest, AnEndThatNobodyWaitedForIsForgotten)
{
  playShort();
  SteppedHost::steps(2);
  onStop({});
  SteppedHost::steps(3);
  EXPECT_EQ(0, stops);
}

TEST_F(FifoStopTest, TheFlushBehindTheCallbackDropsWhatWasQueued)
{
  onStop({});
  span(0, 10);
  span(20, 30);
  span(40, 100000, true);
  SteppedHost::step();
  EXPECT_EQ(frames(0, 10), fill(10));
  SteppedHost::step();
  EXPECT_EQ(1, stops);
  EXPECT_TRUE(fill(10).empty());
  EXPECT_TRUE(playAll().empty());
}

TEST_F(FifoStopTest, TheFlushBehindTheCallbackTakesWhatTheCallbackQueued)
{
  onStop([this] { span(20, 30); });
  playShort();
  SteppedHost::step();
  EXPECT_EQ(1, stops);
  EXPECT_TRUE(playAll().empty());
  EXPECT_EQ(1, stops);
}

TEST_F(FifoStopTest, AFlushByTheCallbackItselfChangesNothingOfThat)
{
  onStop([this] {
    fifo->flush();
    span(20, 30);
  });
  playShort();
  SteppedHost::step();
  EXPECT_TRUE(playAll().empty());
  EXPECT_EQ(1, stops);
}

TEST_F(FifoStopTest, WhatIsQueuedOnceTheCallbackWasAnsweredStays)
{
  onStop({});
  playShort();
  SteppedHost::step();
  span(20, 30);
  EXPECT_EQ(frames(20, 30), playAll());
  EXPECT_EQ(2, stops);
}

TEST_F(FifoStopTest, ASpanBehindAnotherThreadsFlushDuringTheCallbackSurvives)
{
  parkInCallback();
  fifo->flush();
  span(20, 30);
  react = {};
  EXPECT_EQ(frames(20, 30), playAll());
  EXPECT_EQ(2, stops);
}

TEST_F(FifoStopTest, ASpanThatAnotherThreadQueuesWithoutAFlushDuringTheCallbackGoes)
{
  parkInCallback();
  span(20, 30);
  react = {};
  EXPECT_TRUE(playAll().empty());
  EXPECT_EQ(1, stops);
}

TEST_F(FifoStopTest, WhatStoodBeforeTheOtherThreadsFlushGoesWithIt)
{
  parkInCallback();
  span(20, 30);
  fifo->flush();
  span(40, 50);
  react = {};
  EXPECT_EQ(frames(40, 50), playAll());
}

TEST_F(FifoStopTest, AnEndThatAFlushHasOvertakenIsNotReported)
{
  // stop() and play() of the host between the last frame and the answer: the
  // host would take the call for the end of what it has just begun.
  onStop({});
  playShort();
  fifo->flush();
  span(20, 30);
  SteppedHost::steps(3);
  EXPECT_EQ(0, stops);
  EXPECT_EQ(frames(20, 30), playAll());
  EXPECT_EQ(1, stops);
}

TEST_F(FifoStopTest, ALongSpanBehindTheOvertakingFlushPlaysToItsEnd)
{
  parkInCallback();
  fifo->flush();
  span(1000, 1000 + 10 * kBlock);
  react = {};
  EXPECT_EQ(frames(1000, 1000 + 10 * kBlock), playAll(1000));
  EXPECT_EQ(2, stops);
}

TEST_F(FifoStopTest, ThePresentCallbackProtectsOnlyOnce)
{
  parkInCallback();
  fifo->flush();
  span(20, 30);
  react = {};
  EXPECT_EQ(frames(20, 30), playAll());
  // Of the next end the flush is not overtaken.
  span(40, 50);
  span(60, 70);
  SteppedHost::step();
  EXPECT_EQ(frames(40, 50), fill(10));
  SteppedHost::step();
  EXPECT_TRUE(playAll().empty());
  EXPECT_EQ(3, stops);
}

TEST_F(FifoStopTest, AFlushOfAnotherThreadBeforeTheEndDoesNotCount)
{
  onStop({});
  fifo->flush();
  SteppedHost::step();
  span(0, 10);
  span(20, 30);
  SteppedHost::step();
  EXPECT_EQ(frames(0, 10), fill(10));
  SteppedHost::step();
  EXPECT_TRUE(playAll().empty()) << "the second span goes with the first one's end";
  EXPECT_EQ(1, stops);
}

TEST_F(FifoStopTest, SpansThatEndBeforeTheFeederLooksCallOnce)
{
  onStop({});
  span(0, 10);
  span(20, 30);
  SteppedHost::step();
  EXPECT_EQ(joined(frames(0, 10), frames(20, 30)), fill(20));
  SteppedHost::steps(3);
  EXPECT_EQ(1, stops);
}

// --- Changing the callback ----------------------------------------------------------------

TEST_F(FifoStopTest, TheCallbackAndItsDataMayBeReplaced)
{
  int others = 0;
  onStop({});
  playShort();
  fifo->setStopRequestCallback([](void* data) { *static_cast<int*>(data) += 10; }, &others);
  SteppedHost::step();
  EXPECT_EQ(0, stops);
  EXPECT_EQ(10, others);
  fifo->setStopRequestCallback(nullptr, &others);
  playShort();
  SteppedHost::steps(2);
  EXPECT_EQ(10, others);
}

TEST_F(FifoStopTest, TheCallbackMayReplaceItself)
{
  static int others;
  others = 0;
  onStop([this] {
    fifo->setStopRequestCallback([](void*) { ++others; }, nullptr);
    EXPECT_EQ(0, others);
  });
  playShort();
  SteppedHost::step();
  EXPECT_EQ(1, stops);
  EXPECT_EQ(0, others);
  playShort();
  SteppedHost::step();
  EXPECT_EQ(1, stops);
  EXPECT_EQ(1, others);
}

TEST_F(FifoStopTest, TheCallbackMayTakeItselfAway)
{
  onStop([this] { fifo->setStopRequestCallback(nullptr, nullptr); });
  playShort();
  span(20, 30);
  SteppedHost::step();
  EXPECT_TRUE(playAll().empty()) << "the flush still comes";
  playShort();
  SteppedHost::steps(2);
  EXPECT_EQ(1, stops);
}

TEST_F(FifoStopTest, ReplacingWaitsForACallbackThatRunsElsewhere)
{
  parkInCallback();
  std::atomic<bool> isReplaced{false};
  std::thread replacing([&] {
    fifo->setStopRequestCallback(nullptr, nullptr);
    isReplaced = true;
  });
  for (int i = 0; i < 3000; ++i) // ample time for one that does not wait
    std::this_thread::yield();
  EXPECT_FALSE(isReplaced);
  SteppedHost::step();
  replacing.join();
  playShort();
  SteppedHost::steps(2);
  EXPECT_EQ(1, stops);
}

} // namespace
