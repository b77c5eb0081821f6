// What a resampler delivers, bit for bit against the reference arithmetic over
// its input's span.

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "tests/graph/GeneratedFile.h"
#include "tests/graph/Noise.h"
#include "tests/reference/FileSpan.h"
#include "tests/reference/Resampling.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::bits;
using support::Owned;
using support::RecordingProvider;

/** The source frames of a request. */
struct SourceSpan {
  long long handles; ///< on each side
  long long begin;
  long long frames;
  long long outFrames;
  float phase;
};

SourceSpan spanOf(int quality, int rate, int sourceRate, double t0, double t1)
{
  const long long i0 = reference::sampleIndex(rate, t0);
  const long long i1 = reference::sampleIndex(rate, t1);
  const double start = static_cast<double>(i0) / rate;
  const long long s0 = reference::sampleIndex(sourceRate, start);
  const long long s1 = reference::sampleIndex(sourceRate, static_cast<double>(i1) / rate);
  const long long handles = reference::handles(quality, rate, sourceRate) + 1;
  return {handles, s0 - handles, s1 - s0 + 2 * handles + 1, i1 - i0,
          static_cast<float>(sourceRate * start - static_cast<double>(s0))};
}

/** An input whose sample is a function of the source frame. */
Owned<RecordingProvider> noiseInput(std::uint64_t seed)
{
  Owned<RecordingProvider> input = support::make<RecordingProvider>();
  input->setAudio([seed](const TovNLPArray<float>& buffers, const TovAudioContext& context,
                         double t0, double, long long frames) {
    const long long first = reference::sampleIndex(context.sampleRate, t0);
    for (int c = 0; c < buffers.getCount(); ++c) {
      for (long long i = 0; i < frames; ++i)
        buffers[c][i] = noiseSample(seed, c, first + i);
    }
    return 0;
  });
  return input;
}

std::vector<float> noiseBlock(std::uint64_t seed, int channel, long long first, long long frames)
{
  std::vector<float> block;
  for (long long i = 0; i < frames; ++i)
    block.push_back(noiseSample(seed, channel, first + i));
  return block;
}

void expectReference(TovAudioResampler& resampler, std::uint64_t seed, int channels, int quality,
                     int rate, int sourceRate, double t0, double t1)
{
  const SourceSpan span = spanOf(quality, rate, sourceRate, t0, t1);
  support::Buffers buffers(channels, span.outFrames);
  std::vector<int> map(static_cast<std::size_t>(channels), 0);
  resampler.setSourceRate(sourceRate);
  ASSERT_EQ(0, resampler.getAudio(buffers.pointers(), support::channelMap(map),
                                  TovAudioContext(rate, quality, 24.0, 0.0), t0, t1));
  ASSERT_TRUE(buffers.guardsIntact());
  for (int c = 0; c < channels; ++c) {
    const std::vector<float> expected =
        reference::resample(quality, noiseBlock(seed, c, span.begin, span.frames), span.handles,
                            rate, sourceRate, span.outFrames, span.phase);
    ASSERT_EQ(bits(expected), bits(buffers.samples(c)))
        << "quality " << quality << ", " << sourceRate << " to " << rate << " at " << t0;
  }
}

TEST(ResamplerReferenceTest, RandomRequestsAreTheReferencesBitForBit)
{
  const Owned<RecordingProvider> input = noiseInput(1);
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(input.get());
  std::mt19937 random(4302);
  const std::vector<int> rates = {8000, 11025, 22050, 32000, 44100, 48000, 96000, 192000};
  for (int i = 0; i < 1200; ++i) {
    const int rate =
        i % 2 ? rates[random() % rates.size()] : static_cast<int>(random() % 191000 + 1000);
    const int sourceRate = static_cast<int>(random() % 39801 + 200);
    const double t0 = (static_cast<double>(random()) / 4294967296.0 - 0.3) *
                      std::pow(10.0, static_cast<double>(random() % 5));
    const double t1 = t0 + static_cast<double>(random() % 300) / rate;
    expectReference(*resampler, 1, static_cast<int>(random() % 3 + 1),
                    static_cast<int>(random() % 4), rate, sourceRate, t0, t1);
    if (HasFatalFailure())
      return;
  }
}

TEST(ResamplerReferenceTest, BoundsOfTheSourceRateResample)
{
  const Owned<RecordingProvider> input = noiseInput(2);
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(input.get());
  for (const int sourceRate : {200, 40000}) {
    for (int quality = 0; quality <= 3; ++quality) {
      for (const int rate : {199, 200, 40000, 40001, 48000})
        expectReference(*resampler, 2, 2, quality, rate, sourceRate, 1.37, 1.37 + 40.0 / rate);
    }
  }
}

TEST(ResamplerReferenceTest, EqualRatesGoThroughTheFilterToo)
{
  const Owned<RecordingProvider> input = noiseInput(3);
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(input.get());
  for (int quality = 0; quality <= 3; ++quality)
    expectReference(*resampler, 3, 2, quality, 32000, 32000, 2.0, 2.01);
}

TEST(ResamplerReferenceTest, BeyondTwoTo24FramesThePhaseStaysExact)
{
  const Owned<RecordingProvider> input = noiseInput(4);
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(input.get());
  std::mt19937 random(4303);
  for (int i = 0; i < 400; ++i) {
    // From just below 2^24 source frames to those of four weeks.
    const int sourceRate = static_cast<int>(random() % 20000 + 20001);
    const double scale = std::pow(2.0, static_cast<double>(random() % 13));
    const double t0 =
        (16777216.0 - 100.0 + static_cast<double>(random() % 100000)) / sourceRate * scale;
    const int rate = i % 2 ? 48000 : 44100;
    expectReference(*resampler, 4, 1, static_cast<int>(random() % 4), rate, sourceRate, t0,
                    t0 + 60.0 / rate);
    if (HasFatalFailure())
      return;
  }
}

TEST(ResamplerReferenceTest, NothingButTheRequestCounts)
{
  // Blocks that are left from longer requests change nothing.
  const Owned<RecordingProvider> input = noiseInput(5);
  const Owned<TovAudioResampler> used = support::make<TovAudioResampler>(input.get());
  expectReference(*used, 5, 5, 3, 48000, 40000, 0.0, 0.2);
  expectReference(*used, 5, 2, 1, 48000, 3000, 0.1, 0.105);
  expectReference(*used, 5, 1, 2, 8000, 40000, -0.1, -0.095);
  expectReference(*used, 5, 5, 3, 48000, 40000, 0.0, 0.2);
}

TEST(ResamplerReferenceTest, FileBehindAResamplerIsConvertedTwice)
{
  const support::TempFolder folder;
  std::mt19937 random(4304);
  const GeneratedFile generated =
      generateFile(folder, "a", Container::Wav, 2, 44100, 24, 30000, random);
  const Owned<TovAudioFile> file = support::make<TovAudioFile>();
  ASSERT_EQ(0, file->initialize(generated.path.c_str()));
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(file.get());
  int delivered = 0;
  for (int i = 0; i < 300; ++i) {
    const int quality = static_cast<int>(random() % 4);
    const int rate = random() % 2 ? 48000 : 96000;
    const int sourceRate = static_cast<int>(random() % 30000 + 4000);
    const double offset = static_cast<double>(random() % 200) / 400.0;
    const double t0 = static_cast<double>(random() % 2000) / 1000.0 - 0.5;
    const double t1 = t0 + static_cast<double>(random() % 500 + 1) / rate;
    const TovAudioContext context(rate, quality, 24.0, offset);
    ASSERT_EQ(0, resampler->activate(context));
    resampler->setSourceRate(sourceRate);
    const SourceSpan span = spanOf(quality, rate, sourceRate, t0, t1);
    const reference::Delivered source =
        reference::render(generated.source, {0, 1}, sourceRate, quality, offset,
                          reference::timeOfSample(sourceRate, span.begin),
                          reference::timeOfSample(sourceRate, span.begin + span.frames));
    support::Buffers buffers(2, span.outFrames);
    ASSERT_EQ(source.status, resampler->getAudio(buffers.pointers(), support::channelMap({0, 1}),
                                                 context, t0, t1));
    ASSERT_TRUE(buffers.guardsIntact());
    if (source.status != 0) {
      ASSERT_TRUE(buffers.untouched());
      continue;
    }
    ++delivered;
    for (const int c : {0, 1}) {
      ASSERT_EQ(
          bits(reference::resample(quality, source.audio[static_cast<std::size_t>(c)], span.handles,
                                   rate, sourceRate, span.outFrames, span.phase)),
          bits(buffers.samples(c)))
          << i;
    }
  }
  EXPECT_GT(delivered, 50);
}

TEST(ResamplerReferenceTest, MixerBehindAResamplerIsAskedAtTheSourceRate)
{
  const Owned<RecordingProvider> input = support::make<RecordingProvider>();
  const Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
  mixer->addProvider(input.get());
  mixer->setStartTime(input.get(), -10.0);
  mixer->setEndTime(input.get(), -10.0);
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(mixer.get());
  resampler->setSourceRate(8000);
  support::Buffers buffers(2, 480);
  ASSERT_EQ(0, resampler->getAudio(buffers.pointers(), support::channelMap({0, 1}),
                                   TovAudioContext(48000, 3, 24.0, 0.0), 1.0, 1.01));
  const std::vector<support::Call> calls = input->recording()->of(support::Operation::GetAudio);
  ASSERT_EQ(1u, calls.size());
  EXPECT_EQ(8000, calls[0].context.sampleRate);
  EXPECT_EQ(-10.0, calls[0].context.timeOffset);
  for (const int c : {0, 1}) {
    for (const float sample : buffers.samples(c))
      ASSERT_NEAR(1.0f, sample, 1e-3f);
  }
}

TEST(ResamplerReferenceTest, LowSourceRateIsALowPassFilter)
{
  // At a source rate of 8000 Hz a tone of 1 kHz passes; the input itself does
  // not hold what lies above 4 kHz.
  const Owned<RecordingProvider> input = support::make<RecordingProvider>();
  input->setAudio([](const TovNLPArray<float>& buffers, const TovAudioContext& context, double t0,
                     double, long long frames) {
    const long long first = reference::sampleIndex(context.sampleRate, t0);
    for (long long i = 0; i < frames; ++i) {
      const double seconds = static_cast<double>(first + i) / context.sampleRate;
      buffers[0][i] = static_cast<float>(std::sin(2.0 * M_PI * 1000.0 * std::fmod(seconds, 1.0)));
    }
    return 0;
  });
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(input.get());
  resampler->setSourceRate(8000);
  for (const long long second : {0LL, 500LL, 3600LL, 14400LL, 100000LL}) {
    support::Buffers buffers(1, 4800);
    const double t0 = static_cast<double>(second);
    ASSERT_EQ(0, resampler->getAudio(buffers.pointers(), support::channelMap({0}),
                                     TovAudioContext(48000, 3, 24.0, 0.0), t0, t0 + 0.1));
    const std::vector<float> heard = buffers.samples(0);
    for (std::size_t i = 0; i < heard.size(); ++i) {
      const double expected = std::sin(2.0 * M_PI * 1000.0 * static_cast<double>(i) / 48000.0);
      ASSERT_NEAR(expected, heard[i], 2e-3) << "second " << second << ", frame " << i;
    }
  }
}

} // namespace
