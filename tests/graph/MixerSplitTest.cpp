// A span rendered in parts against the span rendered as a whole.

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioMixer.h"
#include "tests/graph/Noise.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::Buffers;
using support::Owned;
using support::RecordingProvider;

struct Stereo {
  std::vector<float> left;
  std::vector<float> right;
};

/** Where a track fades, in frames, and how much one step of its fades is. */
struct Fades {
  long long riseFrom;
  long long riseTo;
  long long fallFrom;
  long long fallTo;
  float step;
};

class MixerSplitTest : public ::testing::Test {
protected:
  /** Samples go by the frame alone, as those of a file at equal rates. */
  void addTrack(std::uint64_t seed, double start, double end, float gain)
  {
    inputs.push_back(support::make<RecordingProvider>());
    RecordingProvider* const input = inputs.back().get();
    input->setAudio([this, seed](const TovNLPArray<float>& buffers, const TovAudioContext& context,
                                 double t0, double, long long frames) {
      const long long first = mixer->getSampleIndex(context, t0);
      for (int channel = 0; channel < 2; ++channel) {
        for (long long i = 0; i < frames; ++i)
          buffers[channel][i] = noiseSample(seed, channel, first + i);
      }
      return 0;
    });
    mixer->addProvider(input);
    mixer->setStartTime(input, start);
    mixer->setEndTime(input, end);
    mixer->setGain(input, gain);
    const long long whole = mixer->getSampleIndex(context(), 0.02);
    const long long first = mixer->getSampleIndex(context(), start);
    const long long last = mixer->getSampleIndex(context(), end);
    const bool hasEnd = end >= start + 0.0001;
    fades.push_back({first, first + whole + 1, hasEnd ? last - whole - 2 : 0, hasEnd ? last : 0,
                     gain / static_cast<float>(whole)});
  }

  void removeTracks()
  {
    mixer->initialize();
    inputs.clear();
    fades.clear();
  }

  TovAudioContext context() const { return TovAudioContext(rate, 1, 24.0, 0.0); }

  /** Where nothing contributes there is silence in the whole. */
  Stereo rendered(double t0, double t1)
  {
    const long long frames = mixer->getNumSampleFrames(context(), t0, t1);
    Buffers buffers(2, frames);
    const int status =
        mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}), context(), t0, t1);
    EXPECT_TRUE(buffers.guardsIntact());
    if (status == 0)
      return {buffers.samples(0), buffers.samples(1)};
    EXPECT_EQ(5, status);
    EXPECT_TRUE(buffers.untouched());
    const std::vector<float> silent(static_cast<std::size_t>(frames), 0.0f);
    return {silent, silent};
  }

  double timeOf(long long frame) const { return mixer->getTimeOfSample(context(), frame); }

  /** The exception: inside a fade each part counts whole frames from its own
   *  times, so that its ramp may stand up to two steps away from the whole's. */
  float toleranceAt(long long frame) const
  {
    float tolerance = 0.0f;
    for (const Fades& one : fades) {
      if (frame >= one.riseFrom && frame < one.riseTo)
        tolerance += 2.0f * one.step;
      if (frame >= one.fallFrom && frame < one.fallTo)
        tolerance += 2.0f * one.step;
    }
    return tolerance > 0.0f ? tolerance + 1e-5f : 0.0f;
  }

  void expectPartsEqualWhole(const std::vector<long long>& frames)
  {
    const Stereo whole = rendered(timeOf(frames.front()), timeOf(frames.back()));
    Stereo parts;
    for (std::size_t i = 0; i + 1 < frames.size(); ++i) {
      const Stereo part = rendered(timeOf(frames[i]), timeOf(frames[i + 1]));
      parts.left.insert(parts.left.end(), part.left.begin(), part.left.end());
      parts.right.insert(parts.right.end(), part.right.begin(), part.right.end());
    }
    ASSERT_EQ(whole.left.size(), parts.left.size());
    expectSide(whole.left, parts.left, frames.front());
    expectSide(whole.right, parts.right, frames.front());
  }

  void expectSide(const std::vector<float>& whole, const std::vector<float>& parts,
                  long long firstFrame)
  {
    const std::vector<unsigned int> wholeBits = support::bits(whole);
    const std::vector<unsigned int> partsBits = support::bits(parts);
    for (std::size_t i = 0; i < whole.size(); ++i) {
      const float tolerance = toleranceAt(firstFrame + static_cast<long long>(i));
      if (tolerance == 0.0f) {
        ASSERT_EQ(wholeBits[i], partsBits[i]) << "frame " << i;
        ++exact;
      } else {
        ASSERT_NEAR(whole[i], parts[i], tolerance) << "frame " << i;
      }
    }
  }

  int rate = 1000;
  Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
  std::vector<Owned<RecordingProvider>> inputs;
  std::vector<Fades> fades;
  long long exact = 0;
};

TEST_F(MixerSplitTest, TwoPartsEqualTheWholeWhereverTheyMeet)
{
  addTrack(1, -10.0, -10.0, 1.0f);
  addTrack(2, 0.1, 0.25, 0.5f);
  addTrack(3, 0.18, 0.18, 2.0f);
  addTrack(4, 0.203, 0.2087, 0.75f); // shorter than its fades
  for (long long cut = 0; cut <= 400; ++cut) {
    expectPartsEqualWhole({0, cut, 400});
    ASSERT_FALSE(HasFatalFailure()) << "cut at frame " << cut;
  }
  EXPECT_GT(exact, 100000);
}

TEST_F(MixerSplitTest, PartsThatHearNothingAreSilentInTheWhole)
{
  addTrack(1, 0.1, 0.2, 1.0f);
  for (const long long cut : {50LL, 99LL, 100LL, 101LL, 200LL, 201LL, 250LL}) {
    expectPartsEqualWhole({0, cut, 300});
    ASSERT_FALSE(HasFatalFailure()) << "cut at frame " << cut;
  }
}

TEST_F(MixerSplitTest, EverySingleFrameEqualsTheWhole)
{
  addTrack(1, 0.0105, 0.0805, 1.0f);
  addTrack(2, -1.0, 0.05, 0.5f);
  std::vector<long long> frames;
  for (long long frame = 0; frame <= 100; ++frame)
    frames.push_back(frame);
  expectPartsEqualWhole(frames);
}

TEST_F(MixerSplitTest, RandomPartsOfRandomMixesEqualTheWhole)
{
  std::mt19937 random(80);
  const auto between = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  for (int round = 0; round < 250; ++round) {
    const std::vector<int> rates = {1000, 8000, 11025, 22050, 44100, 48000, 96000, 192000};
    rate = rates[random() % rates.size()];
    removeTracks();
    const double origin = between(-20.0, 20.0);
    const int tracks = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < tracks; ++i) {
      const double start = origin + between(-0.05, 0.08);
      addTrack(random(), start, random() % 3 ? start + between(0.001, 0.1) : start,
               static_cast<float>(between(0.1, 2.0)));
    }
    const long long first = mixer->getSampleIndex(context(), origin);
    const long long length = 1 + static_cast<long long>(0.1 * rate);
    std::vector<long long> frames = {first, first + length};
    for (int i = 0; i < 4; ++i)
      frames.push_back(first +
                       static_cast<long long>(random() % static_cast<unsigned int>(length)));
    std::sort(frames.begin(), frames.end());
    expectPartsEqualWhole(frames);
    ASSERT_FALSE(HasFatalFailure()) << "round " << round << " rate " << rate;
  }
  EXPECT_GT(exact, 100000);
}

} // namespace
