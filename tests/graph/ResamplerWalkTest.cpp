// Four hours of timeline, with memory that nobody may touch around every block.

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioResampler.h"
#include "tests/graph/Noise.h"
#include "tests/reference/FileSpan.h"
#include "tests/reference/Resampling.h"
#include "tests/support/Buffers.h"
#include "tests/support/GuardedBlock.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::GuardedBlock;
using support::Owned;
using support::RecordingProvider;

constexpr double kFourHours = 4.0 * 3600.0;

/** Frames of a request: no fewer than make 12 source frames, since a sample
 *  buffer always has room for 10 more than were asked for. */
long long requestFrames(int rate, int sourceRate)
{
  return std::max(96LL, 12LL * rate / sourceRate);
}

/** A resampler whose two sample buffers and outputs end, or begin, at a page
 *  that ends the process when it is touched. */
class GuardedResampler {
public:
  GuardedResampler(int quality, int rate, int sourceRate, GuardedBlock::Tight tight)
      : context(rate, quality, 24.0, 0.0), outFrames(requestFrames(rate, sourceRate)),
        // A span of m frames needs at most ceil(m * source / out) + 1 frames
        // and the handles; the buffers count 10 frames to spare of their own.
        sourceFrames((outFrames * sourceRate + rate - 1) / rate + 1 +
                     2 * (reference::handles(quality, rate, sourceRate) + 1) + 1)
  {
    input->setAudio([this](const TovNLPArray<float>& buffers, const TovAudioContext& inner,
                           double t0, double, long long frames) {
      fill(buffers, reference::sampleIndex(inner.sampleRate, t0), frames);
      return 0;
    });
    resampler->setSourceRate(sourceRate);
    resampler->allocSampleBuffers(2, sourceFrames - 10);
    TovNLPArray<float>& own = resampler->getSampleBuffers();
    for (int c = 0; c < 2; ++c) {
      sources.push_back(std::make_unique<GuardedBlock>(
          static_cast<std::size_t>(sourceFrames) * sizeof(float), tight));
      outputs.push_back(std::make_unique<GuardedBlock>(
          static_cast<std::size_t>(outFrames) * sizeof(float), tight));
      out.append(outputs.back()->floats());
      delete[] own[c];
      own.set(c, sources.back()->floats());
    }
  }

  ~GuardedResampler()
  {
    TovNLPArray<float>& own = resampler->getSampleBuffers();
    for (int c = 0; c < 2; ++c) // null is freed without effect
      own.set(c, nullptr);
  }

  /** Renders the frames [first, first + outFrames); whether the outcome
   *  is finite, that is, made of nothing but what the input wrote. */
  bool renderFrom(long long first)
  {
    std::fill_n(out[0], outFrames, kUntouched);
    std::fill_n(out[1], outFrames, kUntouched);
    const double t0 = reference::timeOfSample(context.sampleRate, first);
    const double t1 = reference::timeOfSample(context.sampleRate, first + outFrames);
    if (resampler->getAudio(out, support::channelMap({0, 1}), context, t0, t1) != 0)
      return false;
    for (const int c : {0, 1}) {
      if (resampler->getSampleBuffers()[c] != sources[static_cast<std::size_t>(c)]->floats())
        return false; // longer than any request may need
      for (long long i = 0; i < outFrames; ++i) {
        if (!(out[c][i] > -8.0f && out[c][i] < 8.0f)) // NaN included
          return false;
      }
    }
    return true;
  }

  long long longest() const { return longestSpan; }
  long long room() const { return sourceFrames; }

private:
  static constexpr float kUntouched = -7777.25f;

  void fill(const TovNLPArray<float>& buffers, long long first, long long frames)
  {
    longestSpan = std::max(longestSpan, frames);
    for (int c = 0; c < buffers.getCount(); ++c) {
      for (long long i = 0; i < frames; ++i)
        buffers[c][i] = noiseSample(9, c, first + i);
      std::fill(buffers[c] + frames, buffers[c] + std::max(frames, sourceFrames),
                std::numeric_limits<float>::quiet_NaN());
    }
  }

  const TovAudioContext context;
  const long long outFrames;
  const long long sourceFrames;
  long long longestSpan = 0;
  std::vector<std::unique_ptr<GuardedBlock>> sources;
  std::vector<std::unique_ptr<GuardedBlock>> outputs;
  TovNLPArray<float> out;
  Owned<RecordingProvider> input = support::make<RecordingProvider>();
  Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(input.get());
};

void walk(int quality, int rate, int sourceRate, double stride)
{
  for (const GuardedBlock::Tight tight :
       {GuardedBlock::Tight::AtStart, GuardedBlock::Tight::AtEnd}) {
    GuardedResampler guarded(quality, rate, sourceRate, tight);
    const long long end = static_cast<long long>(kFourHours) * rate;
    const long long step = static_cast<long long>(stride * rate) + 1;
    for (long long first = -2 * requestFrames(rate, sourceRate); first < end; first += step) {
      ASSERT_TRUE(guarded.renderFrom(first))
          << sourceRate << " to " << rate << ", quality " << quality << ", frame " << first;
    }
    EXPECT_GE(guarded.longest(), guarded.room() - 2);
  }
}

/** Seconds from one request to the next. */
double strideOf(double usual)
{
  return std::getenv("TOV_TEST_LONG") ? usual / 20.0 : usual;
}

TEST(ResamplerWalkTest, FourHoursReadNothingOutsideTheBlock)
{
  for (const int sourceRate : {200, 1999, 8000, 22050, 31999, 40000}) {
    for (int quality = 0; quality <= 3; ++quality)
      walk(quality, 48000, sourceRate, strideOf(37.123));
  }
}

TEST(ResamplerWalkTest, FourHoursReadNothingOutsideTheBlockOnTheWayDown)
{
  for (const int sourceRate : {22050, 39999, 40000}) {
    for (int quality = 0; quality <= 3; ++quality)
      walk(quality, 11025, sourceRate, strideOf(41.777));
  }
}

TEST(ResamplerWalkTest, EveryBlockOfAMinuteFourHoursInReadsNothingOutside)
{
  const std::vector<int> sourceRates = {7999, 40000};
  for (const int sourceRate : sourceRates) {
    GuardedResampler guarded(1, 44100, sourceRate, GuardedBlock::Tight::AtEnd);
    const long long begin = static_cast<long long>(kFourHours) * 44100;
    const long long step = requestFrames(44100, sourceRate);
    for (long long first = begin; first < begin + 60 * 44100; first += step)
      ASSERT_TRUE(guarded.renderFrom(first)) << sourceRate << ", frame " << first;
  }
}

TEST(ResamplerWalkTest, JoinedBlocksFollowTheIdealWaveFourHoursIn)
{
  // The wave goes on from block to block: each is taken from its own place.
  const Owned<RecordingProvider> input = support::make<RecordingProvider>();
  input->setAudio([](const TovNLPArray<float>& buffers, const TovAudioContext& inner, double t0,
                     double, long long frames) {
    const long long first = reference::sampleIndex(inner.sampleRate, t0);
    for (long long i = 0; i < frames; ++i)
      buffers[0][i] = noiseSample(10, 0, first + i);
    return 0;
  });
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(input.get());
  for (const int sourceRate : {6001, 40000}) {
    resampler->setSourceRate(sourceRate);
    const long long begin = static_cast<long long>(kFourHours) * 44100 - 500;
    for (long long first = begin; first < begin + 1000; first += 50) {
      support::Buffers buffers(1, 50);
      ASSERT_EQ(0, resampler->getAudio(buffers.pointers(), support::channelMap({0}),
                                       TovAudioContext(44100, 3, 24.0, 0.0),
                                       reference::timeOfSample(44100, first),
                                       reference::timeOfSample(44100, first + 50)));
      const std::vector<float> heard = buffers.samples(0);
      std::vector<float> block;
      const long long source = first * sourceRate / 44100;
      for (long long i = source - 20; i < source + 100; ++i)
        block.push_back(noiseSample(10, 0, i));
      for (std::size_t i = 0; i < heard.size(); ++i) {
        // Exact in integers: whole source frames and the rest.
        const long long scaled = (first + static_cast<long long>(i)) * sourceRate;
        const double position = static_cast<double>(scaled / 44100 - source) +
                                static_cast<double>(scaled % 44100) / 44100.0;
        ASSERT_NEAR(reference::idealResampleAt(3, block, 20, 44100, sourceRate, position), heard[i],
                    2e-4)
            << sourceRate << ", frame " << first + static_cast<long long>(i);
      }
    }
  }
}

} // namespace
