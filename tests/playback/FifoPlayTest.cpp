// Spans on their way from the provider to the output.

#include <vector>

#include "tests/playback/FifoTest.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/Setting.h"

namespace {

using support::FifoTest;
using support::IndexedProvider;
using support::SteppedHost;
using Request = IndexedProvider::Request;

class FifoPlayTest : public FifoTest {
};

// --- What the provider is asked ---------------------------------------------------

TEST_F(FifoPlayTest, TheProviderIsAskedBlockByBlockForBothChannels)
{
  span(100, 10000);
  SteppedHost::step();
  const std::vector<Request> requests = provider->takeRequests();
  ASSERT_EQ(3u, requests.size());
  const double times[] = {at(100), at(4196), at(8292), at(10000)};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(times[i], requests[i].t0);
    EXPECT_EQ(times[i + 1], requests[i].t1);
    EXPECT_EQ(2, requests[i].channels);
    EXPECT_EQ((std::vector<int>{0, 1}), requests[i].channelMap);
  }
}

TEST_F(FifoPlayTest, OfTheContextOnlyTheRateReachesTheProvider)
{
  span(0, 10);
  SteppedHost::step();
  const Request request = provider->takeRequests().at(0);
  EXPECT_EQ(kRate, request.sampleRate);
  EXPECT_EQ(1, request.quality);
  EXPECT_EQ(0.0, request.frameRate);
  EXPECT_EQ(0.0, request.timeOffset);
}

TEST_F(FifoPlayTest, TheQualityIsTheSettingsHeldToItsRangeAtEveryBlock)
{
  support::Setting quality("sys.defaultAudioPlaybackQuality", kTovIdInteger, "1");
  const std::pair<const char*, int> cases[] = {{"0", 0}, {"1", 1},   {"2", 2},    {"3", 3},
                                               {"4", 3}, {"999", 3}, {"-1", 0},   {"-2000000000", 0},
                                               {"", 0},  {"2.9", 2}, {"word", 0}};
  for (const auto& [text, expected] : cases) {
    quality.set(text);
    span(0, 10);
    SteppedHost::step();
    EXPECT_EQ(expected, provider->takeRequests().at(0).quality) << text;
    fill(10);
  }
}

TEST_F(FifoPlayTest, EveryBlockIsBracketedByActivateAndDeactivateWithItsContext)
{
  const support::Owned<support::RecordingProvider> recorder =
      support::make<support::RecordingProvider>();
  fifo = nullptr;
  fifo = std::make_unique<TovAudioFIFO>(recorder.get());
  SteppedHost::settle();
  span(0, kBlock + 1);
  SteppedHost::step();
  std::vector<support::Operation> operations;
  for (const support::Call& call : recorder->recording()->all()) {
    operations.push_back(call.operation);
    if (call.operation == support::Operation::Activate) {
      EXPECT_EQ(kRate, call.context.sampleRate);
      EXPECT_EQ(1, call.context.quality);
      EXPECT_EQ(0.0, call.context.frameRate);
      EXPECT_EQ(0.0, call.context.timeOffset);
    }
    EXPECT_FALSE(call.ownLockHeld) << "the provider locks itself";
  }
  using enum support::Operation;
  EXPECT_EQ((std::vector<support::Operation>{Activate, GetAudio, Deactivate, Activate, GetAudio,
                                             Deactivate}),
            operations);
  fifo.reset();
}

// --- How far ahead ----------------------------------------------------------------

TEST_F(FifoPlayTest, FourBlocksAreRenderedAheadThenThereIsAPause)
{
  span(0, 100 * kBlock);
  EXPECT_EQ(0.005, SteppedHost::step());
  EXPECT_EQ(4, provider->requestCount());
  EXPECT_EQ(0.005, SteppedHost::step());
  EXPECT_EQ(4, provider->requestCount());
}

TEST_F(FifoPlayTest, EveryBlockPlayedMakesRoomForOneMore)
{
  span(0, 100 * kBlock);
  SteppedHost::step();
  fill(kBlock - 1);
  SteppedHost::step();
  EXPECT_EQ(4, provider->requestCount());
  fill(1);
  SteppedHost::step();
  EXPECT_EQ(5, provider->requestCount());
  fill(2 * kBlock);
  SteppedHost::step();
  EXPECT_EQ(7, provider->requestCount());
}

TEST_F(FifoPlayTest, AFinishedSpanLeavesTheFeederIdle)
{
  span(0, 3 * kBlock);
  EXPECT_EQ(0.01, SteppedHost::step());
  EXPECT_EQ(3, provider->requestCount());
  EXPECT_EQ(0.01, SteppedHost::step());
  EXPECT_EQ(3, provider->requestCount());
}

TEST_F(FifoPlayTest, FourBlocksExactlyNeedNoFifth)
{
  span(0, 4 * kBlock);
  EXPECT_EQ(0.01, SteppedHost::step());
  EXPECT_EQ(frames(0, 4 * kBlock), fill(5 * kBlock));
}

// --- Forwards -----------------------------------------------------------------------

TEST_F(FifoPlayTest, ASpanComesFrameForFrame)
{
  span(-5000, 25000);
  EXPECT_EQ(frames(-5000, 25000), playAll(777));
}

TEST_F(FifoPlayTest, FillsOfEverySizeGiveTheSameFrames)
{
  for (const int size : {1, 2, 509, 4095, 4096, 4097, 10007}) {
    span(7, size < 10 ? 5000 : 30000);
    EXPECT_EQ(frames(7, size < 10 ? 5000 : 30000), [&] {
      std::vector<long long> all;
      for (int idle = 0; idle < 2;) {
        const std::vector<long long> got = fill(size);
        idle = got.empty() ? idle + 1 : 0;
        if (static_cast<int>(got.size()) < size)
          SteppedHost::step();
        all.insert(all.end(), got.begin(), got.end());
      }
      return all;
    }()) << size;
  }
}

TEST_F(FifoPlayTest, WhatIsFinishedDuringPlayIsClaimedOnlyWhenNothingIsReady)
{
  span(0, 100 * kBlock);
  SteppedHost::step();
  EXPECT_EQ(frames(0, 4 * kBlock), fill(5 * kBlock));
  EXPECT_EQ(1, status);
  SteppedHost::step();
  EXPECT_EQ(frames(4 * kBlock, 4 * kBlock + 100), fill(100));
  EXPECT_EQ(frames(4 * kBlock + 100, 8 * kBlock), fill(5 * kBlock));
}

TEST_F(FifoPlayTest, AnUnderrunLosesNothing)
{
  span(0, 20 * kBlock);
  std::vector<long long> all;
  for (int i = 0; i < 12; ++i) {
    SteppedHost::step();
    const std::vector<long long> got = fill(7 * kBlock / 2 + 100 * i);
    all.insert(all.end(), got.begin(), got.end());
    fill(0);
  }
  EXPECT_EQ(frames(0, 20 * kBlock), all);
}

TEST_F(FifoPlayTest, SpansFollowEachOtherWithoutAGap)
{
  span(0, 100);
  span(1000, 6000);
  span(50, 20);
  EXPECT_EQ(joined(joined(frames(0, 100), frames(1000, 6000)), frames(50, 20)), playAll(64));
}

TEST_F(FifoPlayTest, SpansQueuedWhileOthersPlayComeBehindThem)
{
  span(0, 100);
  SteppedHost::step();
  EXPECT_EQ(frames(0, 10), fill(10));
  span(200, 300);
  SteppedHost::step();
  EXPECT_EQ(joined(frames(10, 100), frames(200, 300)), fill(190));
}

TEST_F(FifoPlayTest, SpansMayHaveRatesOfTheirOwn)
{
  span(0, 100, false, kRate);
  span(0, 100, false, kRate / 2); // the same seconds, half the frames
  EXPECT_EQ(joined(frames(0, 100), frames(0, 50)), playAll(64));
}

TEST_F(FifoPlayTest, AStartBetweenTwoFramesBelongsToTheOneBefore)
{
  span(10.5, 20.25);
  EXPECT_EQ(frames(10, 20), playAll());
  span(20.25, 10.5);
  EXPECT_EQ(frames(20, 10), playAll());
}

// --- Backwards ------------------------------------------------------------------------

TEST_F(FifoPlayTest, ABackwardSpanComesInDescendingOrder)
{
  span(25000, -5000);
  EXPECT_EQ(frames(25000, -5000), playAll(1000));
}

TEST_F(FifoPlayTest, ABackwardSpanIsAskedForInRisingBlocks)
{
  span(10000, 100);
  SteppedHost::step();
  const std::vector<Request> requests = provider->takeRequests();
  ASSERT_EQ(3u, requests.size());
  const double times[] = {at(10000), at(5904), at(1808), at(100)};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(times[i + 1], requests[i].t0);
    EXPECT_EQ(times[i], requests[i].t1);
  }
}

TEST_F(FifoPlayTest, BackwardBlocksOfOddLengthAreReversedRight)
{
  for (const int length : {1, 2, 3, 4095, 4097}) {
    span(length, 0);
    EXPECT_EQ(frames(length, 0), playAll(50000)) << length;
  }
}

// --- Loops ------------------------------------------------------------------------------

TEST_F(FifoPlayTest, ALoopBeginsAgainWithoutASeamAndNeverAsksToStop)
{
  countStops();
  span(100, 5100, true);
  std::vector<long long> expected;
  for (int i = 0; i < 20; ++i)
    expected = joined(expected, frames(100, 5100));
  std::vector<long long> all;
  while (all.size() < expected.size()) {
    SteppedHost::step();
    all = joined(all, fill(500));
  }
  all.resize(expected.size());
  EXPECT_EQ(expected, all);
  EXPECT_EQ(0, stops);
}

TEST_F(FifoPlayTest, ALoopMayRunBackwards)
{
  span(5100, 100, true);
  std::vector<long long> all;
  while (all.size() < 15000) {
    SteppedHost::step();
    all = joined(all, fill(900));
  }
  all.resize(15000);
  EXPECT_EQ(joined(joined(frames(5100, 100), frames(5100, 100)), frames(5100, 100)), all);
}

TEST_F(FifoPlayTest, ALoopOfOneFrameRepeatsIt)
{
  span(42, 43, true);
  for (int i = 0; i < 50; ++i) {
    SteppedHost::step();
    EXPECT_EQ(std::vector<long long>(4, 42), fill(4));
  }
}

TEST_F(FifoPlayTest, ALoopBetweenFramesBeginsWhereItBeganBefore)
{
  span(10.5, 20.25, true);
  SteppedHost::step();
  EXPECT_EQ(joined(frames(10, 20), frames(10, 20)), fill(20));
}

TEST_F(FifoPlayTest, WhatIsQueuedBehindALoopWaitsForAFlush)
{
  span(0, 10, true);
  span(500, 510);
  for (int i = 0; i < 50; ++i) {
    SteppedHost::step();
    EXPECT_EQ(frames(0, 10), fill(10));
  }
}

TEST_F(FifoPlayTest, ALoopWithoutFramesDoesNotSpin)
{
  span(42, 42, true);
  for (int i = 0; i < 10; ++i) {
    EXPECT_LE(0.005, SteppedHost::step());
    EXPECT_TRUE(fill(10).empty());
  }
  EXPECT_GE(10, provider->requestCount());
  span(42.25, 42.75, true);
  for (int i = 0; i < 10; ++i)
    EXPECT_LE(0.005, SteppedHost::step());
  fifo->flush();
  span(0, 10);
  EXPECT_EQ(frames(0, 10), playAll());
}

// --- Silence ---------------------------------------------------------------------------

TEST_F(FifoPlayTest, SilentBlocksPlayZerosAndTimeGoesOn)
{
  provider->setAnswer([](const TovAudioContext&, double t0, double) {
    return t0 >= at(kBlock) && t0 < at(3 * kBlock) ? 5 : 0;
  });
  span(0, 4 * kBlock);
  SteppedHost::step();
  EXPECT_EQ(4, provider->requestCount());
  support::Buffers outputs(2, 4 * kBlock);
  EXPECT_EQ(0, fifo->fillAudioBuffers(outputs.pointers(), 4 * kBlock)) << "silence is delivered";
  for (int i = 0; i < 4 * kBlock; ++i) {
    const bool isSilent = i / kBlock == 1 || i / kBlock == 2;
    ASSERT_EQ(isSilent ? 0.0f : IndexedProvider::left(i), outputs.channel(0)[i]) << i;
    ASSERT_EQ(isSilent ? 0.0f : IndexedProvider::right(i), outputs.channel(1)[i]) << i;
  }
}

TEST_F(FifoPlayTest, ABlockThatWasSilentSoundsWhenItIsUsedAgain)
{
  bool isSilent = true;
  provider->setAnswer([&](const TovAudioContext&, double, double) { return isSilent ? 5 : 0; });
  span(0, 4 * kBlock);
  SteppedHost::step();
  skip(4 * kBlock);
  isSilent = false;
  span(0, 4 * kBlock);
  SteppedHost::step();
  EXPECT_EQ(frames(0, 4 * kBlock), fill(4 * kBlock));
}

TEST_F(FifoPlayTest, ABlockThatSoundedIsSilentWhenItIsUsedAgain)
{
  bool isSilent = false;
  provider->setAnswer([&](const TovAudioContext&, double, double) { return isSilent ? 5 : 0; });
  span(0, 4 * kBlock);
  SteppedHost::step();
  EXPECT_EQ(frames(0, 4 * kBlock), fill(4 * kBlock));
  isSilent = true;
  span(0, 4 * kBlock);
  SteppedHost::step();
  support::Buffers outputs(2, 4 * kBlock);
  EXPECT_EQ(0, fifo->fillAudioBuffers(outputs.pointers(), 4 * kBlock));
  for (const int channel : {0, 1})
    EXPECT_EQ(std::vector<float>(4 * kBlock, 0.0f), outputs.samples(channel));
}

TEST_F(FifoPlayTest, ASilentBlockThatWasFlushedSoundsWhenItIsUsedAgain)
{
  bool isSilent = true;
  provider->setAnswer([&](const TovAudioContext&, double, double) { return isSilent ? 5 : 0; });
  span(0, 40 * kBlock);
  SteppedHost::step();
  fifo->flush();
  SteppedHost::step();
  isSilent = false;
  span(0, 4 * kBlock);
  SteppedHost::step();
  EXPECT_EQ(frames(0, 4 * kBlock), fill(4 * kBlock));
}

TEST_F(FifoPlayTest, ASilentSpanRaisesItsStopRequestToo)
{
  provider->setAnswer([](const TovAudioContext&, double, double) { return 5; });
  countStops();
  span(10, 0);
  SteppedHost::step();
  support::Buffers outputs(2, 10);
  EXPECT_EQ(0, fifo->fillAudioBuffers(outputs.pointers(), 10));
  SteppedHost::step();
  EXPECT_EQ(1, stops);
}

} // namespace
