// Providers that fail, throw or deliver more than they were asked for, and
// memory that runs out.

#include <new>
#include <stdexcept>
#include <vector>

#include "tests/core/AllocationCounter.h"
#include "tests/playback/FifoTest.h"

namespace {

using support::FifoTest;
using support::IndexedProvider;
using support::SteppedHost;

class FifoFailureTest : public FifoTest {
protected:
  /** Lets the provider return this until it is told otherwise. */
  void answer(int value)
  {
    present = value;
    provider->setAnswer([this](const TovAudioContext&, double, double) { return present; });
  }

  int present = 0;
};

TEST_F(FifoFailureTest, AFailureIsFollowedByAPauseAndTriedAgainAtTheSamePlace)
{
  for (const int code : {1, 2, 3, 4, 6, -1, 1000}) {
    answer(code);
    provider->takeRequests();
    span(100, 200);
    for (int i = 0; i < 8; ++i)
      EXPECT_EQ(0.005, SteppedHost::step()) << code;
    const std::vector<IndexedProvider::Request> requests = provider->takeRequests();
    EXPECT_EQ(8u, requests.size()) << "more often than blocks are there";
    for (const IndexedProvider::Request& request : requests) {
      EXPECT_EQ(at(100), request.t0);
      EXPECT_EQ(at(200), request.t1);
    }
    EXPECT_TRUE(fill(10).empty());
    fifo->flush();
    SteppedHost::step();
  }
  EXPECT_EQ(provider->activations(), provider->deactivations());
}

TEST_F(FifoFailureTest, AProviderThatRecoversPlaysFromWhereItFailed)
{
  countStops();
  span(0, 3 * kBlock);
  provider->setAnswer([this](const TovAudioContext&, double t0, double) {
    return t0 == at(kBlock) ? present : 0;
  });
  present = 3;
  EXPECT_EQ(0.005, SteppedHost::step());
  EXPECT_EQ(frames(0, kBlock), fill(2 * kBlock));
  SteppedHost::steps(5);
  EXPECT_TRUE(fill(10).empty());
  present = 0;
  EXPECT_EQ(0.01, SteppedHost::step());
  EXPECT_EQ(frames(kBlock, 3 * kBlock), fill(2 * kBlock));
  SteppedHost::step();
  EXPECT_EQ(1, stops);
}

TEST_F(FifoFailureTest, ASpanWhoseLastBlockFailsIsNotOverYet)
{
  countStops();
  answer(1);
  span(0, 10);
  SteppedHost::steps(4);
  fill(10);
  SteppedHost::steps(4);
  EXPECT_EQ(0, stops);
  present = 0;
  SteppedHost::step();
  EXPECT_EQ(frames(0, 10), fill(10));
  SteppedHost::step();
  EXPECT_EQ(1, stops);
}

TEST_F(FifoFailureTest, ALoopWhoseLastBlockFailsDoesNotBeginAgain)
{
  span(0, kBlock + 10, true);
  provider->setAnswer([this](const TovAudioContext&, double t0, double) {
    return t0 == at(kBlock) ? present : 0;
  });
  present = 1;
  SteppedHost::steps(3);
  EXPECT_EQ(frames(0, kBlock), fill(2 * kBlock));
  present = 0;
  SteppedHost::step();
  EXPECT_EQ(joined(frames(kBlock, kBlock + 10), frames(0, 100)), fill(110));
}

TEST_F(FifoFailureTest, AFlushEndsTheRetries)
{
  answer(1);
  span(0, 10);
  SteppedHost::steps(3);
  fifo->flush();
  EXPECT_EQ(0.01, SteppedHost::step());
  provider->takeRequests();
  SteppedHost::steps(3);
  EXPECT_TRUE(provider->takeRequests().empty());
}

TEST_F(FifoFailureTest, WhatStandsBehindAFailingSpanWaits)
{
  provider->setAnswer([](const TovAudioContext&, double t0, double) { return t0 < 0.5 ? 1 : 0; });
  span(0, 10);
  span(kRate, kRate + 10);
  SteppedHost::steps(5);
  EXPECT_TRUE(fill(10).empty());
}

TEST_F(FifoFailureTest, NoBlockIsLostByFailures)
{
  answer(1);
  span(0, 100 * kBlock);
  SteppedHost::steps(20);
  present = 0;
  provider->takeRequests();
  EXPECT_EQ(0.005, SteppedHost::step());
  EXPECT_EQ(4u, provider->takeRequests().size());
  EXPECT_EQ(frames(0, 4 * kBlock), fill(4 * kBlock));
}

TEST_F(FifoFailureTest, AProviderThatThrowsCountsAsFailing)
{
  bool isThrowing = true;
  provider->setAnswer([&](const TovAudioContext&, double, double) -> int {
    if (isThrowing)
      throw std::runtime_error("no audio today");
    return 0;
  });
  span(0, 10);
  for (int i = 0; i < 8; ++i)
    EXPECT_EQ(0.005, SteppedHost::step());
  EXPECT_EQ(8, provider->requestCount());
  isThrowing = false;
  SteppedHost::step();
  EXPECT_EQ(frames(0, 10), fill(10));
}

TEST_F(FifoFailureTest, AProviderThatThrowsWhatIsNoExceptionCountsAsFailingToo)
{
  provider->setAnswer([](const TovAudioContext&, double, double) -> int { throw 7; });
  span(0, 10);
  EXPECT_EQ(0.005, SteppedHost::steps(8));
  EXPECT_EQ(8, provider->requestCount());
  provider->setAnswer({});
  SteppedHost::step();
  EXPECT_EQ(frames(0, 10), fill(10));
}

TEST_F(FifoFailureTest, AnActivationThatThrowsCountsAsFailing)
{
  bool isThrowing = true;
  provider->setActivation([&]() -> int {
    if (isThrowing)
      throw std::bad_alloc();
    return 0;
  });
  span(0, 10);
  for (int i = 0; i < 8; ++i)
    EXPECT_EQ(0.005, SteppedHost::step());
  isThrowing = false;
  SteppedHost::step();
  EXPECT_EQ(frames(0, 10), fill(10));
}

TEST_F(FifoFailureTest, AProviderThatStillThrowsAtTheEndDoesNotHoldItUp)
{
  provider->setAnswer(
      [](const TovAudioContext&, double, double) -> int { throw std::runtime_error("never"); });
  span(0, 10, true);
  SteppedHost::steps(3);
  fifo.reset();
  EXPECT_EQ(0, SteppedHost::threadsAlive());
}

// --- Memory ------------------------------------------------------------------------

TEST_F(FifoFailureTest, CommandsThatFindNoMemoryChangeNothing)
{
  span(0, 10);
  for (int i = 0;; ++i) {
    const support::FailingAllocation failing(i);
    try {
      span(20, 30);
    } catch (const std::bad_alloc&) {
    }
    if (!failing.happened())
      break;
  }
  {
    const support::FailingAllocation failing(0);
    EXPECT_THROW(fifo->flush(), std::bad_alloc);
  }
  SteppedHost::step();
  EXPECT_EQ(joined(frames(0, 10), frames(20, 30)), fill(20));
}

TEST_F(FifoFailureTest, AConstructionThatFindsNoMemoryLeavesNothingBehind)
{
  fifo.reset();
  int failures = 0;
  for (int i = 0;; ++i) {
    const support::FailingAllocation failing(i);
    try {
      fifo = std::make_unique<TovAudioFIFO>(provider.get());
    } catch (const std::bad_alloc&) {
      ++failures;
    }
    if (!failing.happened())
      break;
    fifo.reset();
    EXPECT_EQ(1, support::referenceCount(*provider)) << "failure " << i;
    EXPECT_EQ(0, SteppedHost::threadsAlive()) << "failure " << i;
  }
  EXPECT_LE(8, failures) << "there are eight buffers at least";
  SteppedHost::settle();
  span(0, 10);
  SteppedHost::step();
  EXPECT_EQ(frames(0, 10), fill(10));
}

// --- Providers that count in their own way --------------------------------------------

/** A provider whose requests are longer than a block holds. */
class LongWinded : public IndexedProvider {
public:
  long long extra = 0;
  long long getNumSampleFrames(const TovAudioContext& context, double t0,
                               double t1) const override
  {
    return IndexedProvider::getNumSampleFrames(context, t0, t1) + extra;
  }

protected:
  ~LongWinded() override = default;
};

TEST_F(FifoFailureTest, ABlockThatTheProviderOverfillsDoesNoHarm)
{
  for (const long long extra : {1LL, 10LL, 5000LL}) {
    const support::Owned<LongWinded> longWinded = support::make<LongWinded>();
    longWinded->extra = extra;
    fifo = nullptr;
    fifo = std::make_unique<TovAudioFIFO>(longWinded.get());
    SteppedHost::settle();
    span(0, 100 * kBlock);
    SteppedHost::steps(3);
    skip(kBlock); // what is written outside shows under the address sanitizer
    SteppedHost::steps(3);
    fifo.reset();
    EXPECT_EQ(1, support::referenceCount(*longWinded)) << extra;
  }
}

TEST_F(FifoFailureTest, TimesThatCannotTellFramesApartDoNoHarm)
{
  countStops();
  int expected = 0;
  for (const double start : {1.0e11, 1.0e12, -1.0e12, 1.0e14, -1.0e14, 2.0e14, 1.0e18, 1.0e300}) {
    fifo->addBlock(TovAudioContext(44100, 1, 0.0, 0.0), start, start + 1.0, false);
    ++expected;
    for (int i = 0; i < 400 && stops < expected; ++i) { // a block may be as short as 256 frames
      SteppedHost::step();
      skip(50 * kBlock);
    }
    EXPECT_EQ(expected, stops) << start;
    SteppedHost::steps(2);
  }
}

} // namespace
