// What a resampler asks of its input: times, context, buffers, channels.

#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioResampler.h"
#include "tests/reference/FileSpan.h"
#include "tests/reference/Resampling.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::Call;
using support::Operation;
using support::Owned;
using support::RecordingProvider;

class ResamplerRequestTest : public ::testing::Test {
protected:
  Call request(const TovAudioContext& context, int sourceRate, double t0, double t1,
               int channels = 2)
  {
    resampler->setSourceRate(sourceRate);
    input->recording()->clear();
    support::Buffers buffers(channels,
                             std::max(0LL, resampler->getNumSampleFrames(context, t0, t1)));
    std::vector<int> map;
    for (int i = 0; i < channels; ++i)
      map.push_back(10 - i);
    EXPECT_EQ(0,
              resampler->getAudio(buffers.pointers(), support::channelMap(map), context, t0, t1));
    EXPECT_TRUE(buffers.guardsIntact());
    const std::vector<Call> calls = input->recording()->of(Operation::GetAudio);
    EXPECT_EQ(1u, calls.size());
    EXPECT_EQ(map, calls.at(0).channelMap);
    return calls.at(0);
  }

  Owned<RecordingProvider> input = support::make<RecordingProvider>();
  Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(input.get());
};

TEST_F(ResamplerRequestTest, AsksForHandlesAndOneFrameMoreOnEachSide)
{
  // 0.5 s to 1 s at 8000 Hz are frames 4000 to 8000; quality 2 upwards needs 8.
  const Call call = request(TovAudioContext(16000, 2, 25.0, 0.0), 8000, 0.5, 1.0);
  EXPECT_EQ((4000.0 - 9.0) / 8000.0, call.t0);
  EXPECT_EQ((8000.0 + 10.0) / 8000.0, call.t1);
}

TEST_F(ResamplerRequestTest, HandlesWidenWithTheStretchedFilterOnTheWayDown)
{
  // Quality 1 from 32000 to 8000: ceil(3 / 0.25) + 1, and one more.
  const Call call = request(TovAudioContext(8000, 1, 25.0, 0.0), 32000, 1.0, 2.0);
  EXPECT_EQ((32000.0 - 14.0) / 32000.0, call.t0);
  EXPECT_EQ((64000.0 + 15.0) / 32000.0, call.t1);
}

TEST_F(ResamplerRequestTest, Quality0HasHandlesOfOneFrame)
{
  const Call call = request(TovAudioContext(8000, 0, 25.0, 0.0), 4000, 1.0, 2.0);
  EXPECT_EQ(3998.0 / 4000.0, call.t0);
  EXPECT_EQ(8003.0 / 4000.0, call.t1);
}

TEST_F(ResamplerRequestTest, RequestIsSnappedToTheOutputGrid)
{
  // Frames 3 to 5 of 1000 Hz, although the span begins and ends between them.
  const Call call = request(TovAudioContext(1000, 0, 25.0, 0.0), 4000, 0.0037, 0.0059);
  EXPECT_EQ((12.0 - 2.0) / 4000.0, call.t0);
  EXPECT_EQ((20.0 + 3.0) / 4000.0, call.t1);
}

TEST_F(ResamplerRequestTest, InnerContextHasTheSourceRateAndTheRestOfTheOuter)
{
  for (const double offset : {0.0, -3.5, 1e6}) {
    const Call call = request(TovAudioContext(48000, 3, 29.97, offset), 11025, 0.0, 0.01);
    EXPECT_EQ(11025, call.context.sampleRate);
    EXPECT_EQ(3, call.context.quality);
    EXPECT_EQ(29.97, call.context.frameRate);
    EXPECT_EQ(offset, call.context.timeOffset);
  }
}

TEST_F(ResamplerRequestTest, InputWritesIntoTheResamplersSampleBuffers)
{
  for (const int channels : {1, 2, 5}) {
    const Call call = request(TovAudioContext(48000, 1, 25.0, 0.0), 8000, 0.0, 0.01, channels);
    ASSERT_EQ(static_cast<std::size_t>(channels), call.buffers.size());
    for (int i = 0; i < channels; ++i)
      EXPECT_EQ(resampler->getSampleBuffers()[i], call.buffers[static_cast<std::size_t>(i)]);
  }
  // Five blocks are there by now, and only as many as asked for go to the input.
  EXPECT_EQ(2u, request(TovAudioContext(48000, 1, 25.0, 0.0), 8000, 0.0, 0.01).buffers.size());
}

TEST_F(ResamplerRequestTest, SampleBuffersHoldTheSpanWith10FramesToSpare)
{
  request(TovAudioContext(16000, 2, 25.0, 0.0), 8000, 0.5, 1.0);
  EXPECT_EQ(4000 + 2 * 9 + 1 + 10, resampler->getSampleBufferFrames());
}

TEST_F(ResamplerRequestTest, EveryRandomRequestSpansTheStatedFrames)
{
  std::mt19937 random(4301);
  for (int i = 0; i < 3000; ++i) {
    const int rate = static_cast<int>(random() % 191000 + 1000);
    const int sourceRate = static_cast<int>(random() % 39801 + 200);
    const int quality = static_cast<int>(random() % 4);
    const double t0 = (static_cast<double>(random()) / 4294967296.0 - 0.3) *
                      std::pow(10.0, static_cast<double>(random() % 5));
    const double t1 = t0 + static_cast<double>(random() % 400) / rate * 0.9;
    const long long first = reference::sampleIndex(
        sourceRate, static_cast<double>(reference::sampleIndex(rate, t0)) / rate);
    const long long last = reference::sampleIndex(
        sourceRate, static_cast<double>(reference::sampleIndex(rate, t1)) / rate);
    const long long handles = reference::handles(quality, rate, sourceRate) + 1;
    const Call call = request(TovAudioContext(rate, quality, 24.0, 0.0), sourceRate, t0, t1);
    ASSERT_EQ(reference::timeOfSample(sourceRate, first - handles), call.t0) << i;
    ASSERT_EQ(reference::timeOfSample(sourceRate, last + handles + 1), call.t1) << i;
  }
}

} // namespace
