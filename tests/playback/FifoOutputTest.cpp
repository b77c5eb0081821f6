// What the output callback writes, and what it must not do.

#include <climits>

#include "tests/core/AllocationCounter.h"
#include "tests/playback/FifoTest.h"

namespace {

using support::Buffers;
using support::FifoTest;
using support::SteppedHost;

class FifoOutputTest : public FifoTest {
};

TEST_F(FifoOutputTest, NothingReadyIsSilenceAndSaysSo)
{
  Buffers outputs(2, 100);
  EXPECT_EQ(1, fifo->fillAudioBuffers(outputs.pointers(), 100));
  EXPECT_EQ(std::vector<float>(100, 0.0f), outputs.samples(0));
  EXPECT_EQ(std::vector<float>(100, 0.0f), outputs.samples(1));
}

TEST_F(FifoOutputTest, WhatIsShortIsFilledWithSilence)
{
  span(0, 60);
  SteppedHost::step();
  Buffers outputs(2, 100);
  EXPECT_EQ(1, fifo->fillAudioBuffers(outputs.pointers(), 100));
  EXPECT_EQ(support::IndexedProvider::left(59), outputs.channel(0)[59]);
  for (int i = 60; i < 100; ++i) {
    EXPECT_EQ(0.0f, outputs.channel(0)[i]);
    EXPECT_EQ(0.0f, outputs.channel(1)[i]);
  }
  EXPECT_TRUE(outputs.guardsIntact());
}

TEST_F(FifoOutputTest, AsManyFramesAsThereAreIsSuccess)
{
  span(0, 60);
  SteppedHost::step();
  EXPECT_EQ(frames(0, 60), fill(60));
  EXPECT_EQ(0, status);
  EXPECT_TRUE(fill(1).empty());
  EXPECT_EQ(1, status);
}

TEST_F(FifoOutputTest, WithoutFramesNothingIsWrittenAndAllIsWell)
{
  for (const bool isFilled : {false, true}) {
    if (isFilled) {
      span(0, 60);
      SteppedHost::step();
    }
    for (const int count : {0, -1, -4096, INT_MIN}) {
      Buffers outputs(2, 64);
      EXPECT_EQ(0, fifo->fillAudioBuffers(outputs.pointers(), count));
      EXPECT_TRUE(outputs.untouched());
      EXPECT_TRUE(outputs.guardsIntact());
    }
  }
  EXPECT_EQ(frames(0, 60), fill(60)) << "and nothing was lost by it";
}

TEST_F(FifoOutputTest, WithoutFramesAFlushIsCarriedOut)
{
  for (const int count : {0, -5}) {
    span(0, 100 * kBlock);
    SteppedHost::step();
    fill(10);
    fifo->flush();
    SteppedHost::step();
    span(1000, 1000 + 100 * kBlock);
    provider->takeRequests();
    SteppedHost::step();
    EXPECT_TRUE(provider->takeRequests().empty()) << "all four blocks were ready";
    Buffers outputs(2, 1);
    fifo->fillAudioBuffers(outputs.pointers(), count);
    SteppedHost::step();
    EXPECT_EQ(4u, provider->takeRequests().size());
    EXPECT_EQ(frames(1000, 1010), fill(10));
    fifo->flush();
    SteppedHost::step();
    skip(0);
  }
}

TEST_F(FifoOutputTest, WithoutFramesFinishedBlocksAreClaimed)
{
  span(0, 100 * kBlock);
  SteppedHost::step();
  Buffers outputs(2, 1);
  EXPECT_EQ(0, fifo->fillAudioBuffers(outputs.pointers(), 0));
  fifo->flush();
  span(1000, 1000 + 100 * kBlock);
  provider->takeRequests();
  SteppedHost::step();
  // Finished blocks would have been free at once.
  EXPECT_TRUE(provider->takeRequests().empty());
}

TEST_F(FifoOutputTest, AnOutputThatIsMissingDoesNoHarm)
{
  span(0, 60);
  SteppedHost::step();
  Buffers outputs(1, 100);
  TovNLPArray<float> partial;
  partial.append(outputs.channel(0));
  partial.append(nullptr);
  EXPECT_EQ(1, fifo->fillAudioBuffers(partial, 100));
  EXPECT_EQ(support::IndexedProvider::left(59), outputs.channel(0)[59]);
  EXPECT_EQ(0.0f, outputs.channel(0)[60]);
  EXPECT_EQ(1, fifo->fillAudioBuffers(TovNLPArray<float>(), 100));
}

TEST_F(FifoOutputTest, FurtherOutputsAreLeftAlone)
{
  span(0, 60);
  SteppedHost::step();
  Buffers outputs(3, 100);
  EXPECT_EQ(1, fifo->fillAudioBuffers(outputs.pointers(), 100));
  EXPECT_EQ(std::vector<float>(100, Buffers::kUntouched), outputs.samples(2));
}

TEST_F(FifoOutputTest, FillingNeitherAllocatesNorFrees)
{
  countStops();
  span(0, 100 * kBlock);
  Buffers outputs(2, 3 * kBlock);
  long long allocations = 0;
  long long deallocations = 0;
  for (int i = 0; i < 200; ++i) {
    SteppedHost::step();
    if (i % 10 == 7)
      fifo->flush();
    if (i % 10 == 8)
      span(i, i + i * 100, i % 20 == 8);
    const support::AllocationCounter counter;
    fifo->fillAudioBuffers(outputs.pointers(), i * 61);
    fifo->fillAudioBuffers(outputs.pointers(), 0);
    allocations += counter.allocations();
    deallocations += counter.deallocations();
  }
  EXPECT_EQ(0, allocations);
  EXPECT_EQ(0, deallocations);
  EXPECT_LT(50, provider->requestCount());
}

} // namespace
