// Construction and destruction of a FIFO.

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "core/TovSys.h"
#include "tests/core/AllocationCounter.h"
#include "tests/playback/FifoTest.h"
#include "tests/support/Memory.h"
#include "tests/support/Messages.h"

namespace {

using support::FifoTest;
using support::SteppedHost;

class FifoLifeTest : public FifoTest {
};

TEST_F(FifoLifeTest, AFifoHoldsOneReferenceToItsProvider)
{
  EXPECT_EQ(2, support::referenceCount(*provider));
  fifo.reset();
  EXPECT_EQ(1, support::referenceCount(*provider));
}

TEST_F(FifoLifeTest, AProviderThatOnlyTheFifoHoldsGoesWithIt)
{
  std::atomic<bool> isGone{false};
  provider->setGoneFlag(&isGone);
  provider.drop();
  EXPECT_FALSE(isGone);
  fifo.reset();
  EXPECT_TRUE(isGone);
}

TEST_F(FifoLifeTest, ConstructionWaitsUntilTheFeederRuns)
{
  fifo.reset();
  SteppedHost::holdNextThread();
  std::atomic<bool> isMade{false};
  std::thread making([&] {
    fifo = std::make_unique<TovAudioFIFO>(provider.get());
    isMade = true;
  });
  while (SteppedHost::threadsAlive() == 0)
    std::this_thread::yield();
  for (int i = 0; i < 3000; ++i) // ample time for one that does not wait
    std::this_thread::yield();
  EXPECT_FALSE(isMade);
  SteppedHost::letGo();
  making.join();
  EXPECT_EQ(0.01, SteppedHost::step());
}

TEST_F(FifoLifeTest, OneThreadFeedsAndEndsWithTheFifo)
{
  EXPECT_EQ(1, SteppedHost::threadsAlive());
  fifo.reset();
  EXPECT_EQ(0, SteppedHost::threadsAlive());
}

TEST_F(FifoLifeTest, AnIdleFeederLooksEveryHundredthOfASecond)
{
  for (int i = 0; i < 5; ++i)
    EXPECT_EQ(0.01, SteppedHost::step());
  EXPECT_EQ(0, provider->requestCount());
}

TEST_F(FifoLifeTest, TheFeederEndsFromEveryPause)
{
  span(0, 100 * kBlock);
  EXPECT_EQ(0.005, SteppedHost::step());
  fifo.reset();
  EXPECT_EQ(0, SteppedHost::threadsAlive());
  EXPECT_EQ(1, support::referenceCount(*provider));
}

TEST_F(FifoLifeTest, DestructionLooksEveryTenthOfAMillisecondWhetherTheFeederHasEnded)
{
  EXPECT_EQ(0.01, SteppedHost::step()); // it rests, and sees only then that it is to end
  SteppedHost::takeHostPauses();
  fifo.reset();
  const std::vector<double> pauses = SteppedHost::takeHostPauses();
  EXPECT_FALSE(pauses.empty());
  EXPECT_EQ(std::vector<double>(pauses.size(), 0.0001), pauses);
}

TEST_F(FifoLifeTest, ItMayGoWithCommandsUnreadBlocksFinishedAndBlocksReady)
{
  span(0, 100 * kBlock);
  SteppedHost::step();
  fill(100);
  fill(5000);
  SteppedHost::step();
  span(0, 10);
  fifo->flush();
  span(0, 10, true);
  fifo.reset(); // what is left over shows under the address sanitizer
  EXPECT_EQ(1, support::referenceCount(*provider));
}

TEST_F(FifoLifeTest, NothingThatWasQueuedOutlivesIt)
{
  fifo.reset();
  provider->keepRequests(false);
  std::vector<long long> held;
  for (int round = 0; round < 3; ++round) {
    fifo = std::make_unique<TovAudioFIFO>(provider.get());
    SteppedHost::settle();
    span(0, 100 * kBlock);
    span(0, 10);
    SteppedHost::step();
    for (int i = 0; i < 20; ++i) {
      span(0, 10);
      fifo->flush();
    }
    fifo.reset();
    SteppedHost::takeHostPauses();
    held.push_back(support::blocksHeld());
  }
  EXPECT_EQ(held[1], held[2]); // the first round may have made what stays
}

TEST_F(FifoLifeTest, ItMayGoBeforeItsFirstFill)
{
  span(0, 100 * kBlock);
  SteppedHost::step();
  fifo.reset();
  EXPECT_EQ(1, support::referenceCount(*provider));
}

TEST_F(FifoLifeTest, NoStopCallbackComesFromTheDestruction)
{
  countStops();
  span(0, 10);
  SteppedHost::step();
  fill(10);
  fifo.reset();
  // The feeder may have answered the request that was pending, but not twice.
  EXPECT_GE(1, stops);
}

TEST_F(FifoLifeTest, TheFeederFunctionDoesNothingWithoutAFifo)
{
  TovAudioFIFO::feederThreadFuncStatic(nullptr, nullptr);
  EXPECT_EQ(1, SteppedHost::threadsAlive()); // it came back
}

TEST_F(FifoLifeTest, WithoutAProviderNothingIsRendered)
{
  fifo.reset();
  support::Messages messages;
  fifo = std::make_unique<TovAudioFIFO>(nullptr);
  countStops();
  SteppedHost::settle();
  span(0, 10);
  SteppedHost::steps(3);
  EXPECT_TRUE(fill(10).empty());
  fifo->flush();
  SteppedHost::steps(3);
  EXPECT_TRUE(fill(10).empty());
  fifo.reset();
  EXPECT_EQ(0, SteppedHost::threadsAlive());
}

TEST_F(FifoLifeTest, WithoutAThreadItSaysSoAndStaysSilent)
{
  fifo.reset();
  support::Messages messages;
  SteppedHost::refuseNextThread();
  fifo = std::make_unique<TovAudioFIFO>(provider.get());
  const std::vector<std::string> said = messages.take();
  ASSERT_EQ(1u, said.size());
  EXPECT_EQ(0u, said[0].find("E TovAudioFIFO: ")) << said[0];
  EXPECT_EQ('\n', said[0].back());
  EXPECT_EQ(2, support::referenceCount(*provider));
  countStops();
  span(0, 10);
  fifo->flush();
  EXPECT_TRUE(fill(10).empty());
  fifo.reset();
  EXPECT_EQ(1, support::referenceCount(*provider));
  EXPECT_EQ(0, stops);
}

TEST_F(FifoLifeTest, FifosCanBeMadeAndDroppedAtOnceManyTimes)
{
#ifdef __OPTIMIZE__
  const int usual = 100000;
#else
  const int usual = 5000;
#endif
  const bool isLong = std::getenv("TOV_TEST_LONG") != nullptr;
  const int times = isLong ? 500000 : support::hasSanitizerOverhead() ? 5000 : usual;
  fifo.reset();
  for (int i = 0; i < times; ++i) {
    TovAudioFIFO passing(provider.get());
    if (i % 3 == 1)
      passing.addBlock(TovAudioContext(kRate, 1, 0.0, 0.0), 0.0, 1.0, true);
    if (i % 3 == 2)
      passing.flush();
  }
  EXPECT_EQ(0, SteppedHost::threadsAlive());
  EXPECT_EQ(1, support::referenceCount(*provider));
}

TEST_F(FifoLifeTest, SeveralFifosDoNotDisturbEachOther)
{
  {
    const support::Owned<support::IndexedProvider> otherProvider =
        support::make<support::IndexedProvider>();
    TovAudioFIFO other(otherProvider.get());
    other.addBlock(TovAudioContext(kRate, 1, 0.0, 0.0), at(500), at(600), false);
    span(0, 100);
    TovSys::sleep(0.1); // lets both feeders work
    EXPECT_EQ(frames(0, 100), fill(200));
    support::Buffers outputs(2, 100);
    EXPECT_EQ(0, other.fillAudioBuffers(outputs.pointers(), 100));
    EXPECT_EQ(support::IndexedProvider::left(500), outputs.channel(0)[0]);
    EXPECT_EQ(support::IndexedProvider::left(599), outputs.channel(0)[99]);
  }
  EXPECT_EQ(1, SteppedHost::threadsAlive());
}

} // namespace
