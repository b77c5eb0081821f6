// The fades of 20 ms at both ends of a track, and the silence around it.

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioMixer.h"
#include "tests/graph/GeneratedFile.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::Buffers;
using support::Owned;
using support::RecordingProvider;

constexpr int kRate = 1024; // 20 ms are 20.48 frames

double at(double frames)
{
  return frames / kRate;
}

std::vector<float> constant(float value, int count)
{
  return std::vector<float>(static_cast<std::size_t>(count), value);
}

/** Factors from @p first steps on, each one step of a whole fade more. */
std::vector<float> rising(int first, int count, int whole)
{
  const float step = 1.0f / static_cast<float>(whole);
  float factor = static_cast<float>(first) * step;
  std::vector<float> factors;
  for (int i = 0; i < count; ++i) {
    factors.push_back(factor);
    factor += step;
  }
  return factors;
}

std::vector<float> falling(int first, int count, int whole)
{
  const float step = 1.0f / static_cast<float>(whole);
  float factor = 1.0f - static_cast<float>(first) * step;
  std::vector<float> factors;
  for (int i = 0; i < count; ++i) {
    factors.push_back(factor);
    factor -= step;
  }
  return factors;
}

class MixerFadeTest : public ::testing::Test {
protected:
  MixerFadeTest()
  {
    mixer->addProvider(input.get()); // 1.0 on both sides
  }

  void place(double start, double end)
  {
    mixer->setStartTime(input.get(), start);
    mixer->setEndTime(input.get(), end);
  }

  /** What the request hears on both sides, as factors of the input. */
  std::vector<float> factors(double t0, double t1, int rate = kRate)
  {
    const TovAudioContext context(rate, 1, 24.0, 0.0);
    Buffers buffers(2, mixer->getNumSampleFrames(context, t0, t1));
    EXPECT_EQ(0, mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}), context, t0, t1));
    EXPECT_TRUE(buffers.guardsIntact());
    EXPECT_EQ(support::bits(buffers.samples(0)), support::bits(buffers.samples(1)));
    return buffers.samples(0);
  }

  Owned<RecordingProvider> input = support::make<RecordingProvider>();
  Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
};

TEST_F(MixerFadeTest, TrackStartsWithExactSilenceAndThenRisesFromZero)
{
  place(at(256), 0.0);
  EXPECT_EQ(joined({constant(0.0f, 256), rising(0, 20, 20), constant(1.0f, 748)}),
            factors(0.0, 1.0));
}

TEST_F(MixerFadeTest, RequestFromTheStartOnRisesFromZero)
{
  place(at(256), 0.0);
  EXPECT_EQ(joined({rising(0, 20, 20), constant(1.0f, 100)}), factors(at(256), at(376)));
}

TEST_F(MixerFadeTest, RequestInsideTheRiseGoesOnFromTheFactorReached)
{
  place(at(256), 0.0);
  EXPECT_EQ(joined({rising(8, 12, 20), constant(1.0f, 88)}), factors(at(264), at(364)));
  EXPECT_EQ(rising(8, 5, 20), factors(at(264), at(269)));
  EXPECT_EQ(rising(0, 5, 20), factors(at(256), at(261)));
}

TEST_F(MixerFadeTest, HalfAFadeAfterTheStartTheFactorIsOneHalf)
{
  place(1.0, 0.0);
  const std::vector<float> heard = factors(1.01, 1.1, 48000); // whole: 960 frames
  EXPECT_NEAR(0.5f, heard.front(), 0.0015f);
  EXPECT_NEAR(1.0f, heard[479], 0.003f);
  EXPECT_EQ(1.0f, heard[481]);
}

TEST_F(MixerFadeTest, RequestAfterTheRiseHearsTheTrackAsItIs)
{
  place(at(256), 0.0);
  EXPECT_EQ(constant(1.0f, 64), factors(at(277), at(341)));
}

TEST_F(MixerFadeTest, TrackFallsToItsEndAndThenIsExactlySilent)
{
  place(-10.0, at(768));
  EXPECT_EQ(joined({constant(1.0f, 236), falling(0, 20, 20), constant(0.0f, 256)}),
            factors(at(512), at(1024)));
}

TEST_F(MixerFadeTest, RequestUpToTheEndFallsToo)
{
  place(-10.0, at(768));
  EXPECT_EQ(joined({constant(1.0f, 236), falling(0, 20, 20)}), factors(at(512), at(768)));
}

TEST_F(MixerFadeTest, RequestThatEndsInsideTheFallHearsItsBeginning)
{
  place(-10.0, at(768));
  // The fall starts 20.48 frames before the end, at 747.52; 10.48 frames of it.
  EXPECT_EQ(joined({constant(1.0f, 48), falling(0, 10, 20)}), factors(at(700), at(758)));
}

TEST_F(MixerFadeTest, RequestThatStartsInsideTheFallGoesOnFromTheFactorReached)
{
  place(-10.0, at(768));
  EXPECT_EQ(falling(4, 16, 20), factors(at(752), at(768)));
  EXPECT_EQ(joined({falling(4, 16, 20), constant(0.0f, 32)}), factors(at(752), at(800)));
  EXPECT_EQ(falling(4, 8, 20), factors(at(752), at(760)));
}

TEST_F(MixerFadeTest, TrackWithoutAnEndDoesNotFall)
{
  for (const double end : {-20.0, -10.0, -10.0 + 0.00005}) {
    place(-10.0, end);
    for (const double t1 : {0.5, 0.3, 1e3, 12345.678})
      EXPECT_EQ(constant(1.0f, 64).front(), factors(t1 - 0.0625, t1).back()) << t1;
  }
}

TEST_F(MixerFadeTest, LeadAndTrailAreSilentInOneRequest)
{
  place(at(100), at(200));
  EXPECT_EQ(joined({constant(0.0f, 100), rising(0, 20, 20), constant(1.0f, 60), falling(0, 20, 20),
                    constant(0.0f, 56)}),
            factors(0.0, at(256)));
}

TEST_F(MixerFadeTest, FadesOfAShortTrackMultiply)
{
  place(at(100), at(130)); // the fades overlap by ten frames
  const std::vector<float> up = rising(0, 20, 20);
  const std::vector<float> down = falling(0, 20, 20);
  std::vector<float> expected;
  for (std::size_t i = 0; i < 30; ++i)
    expected.push_back((i < 20 ? up[i] : 1.0f) * (i < 10 ? 1.0f : down[i - 10]));
  EXPECT_EQ(joined({constant(0.0f, 100), expected, constant(0.0f, 26)}), factors(0.0, at(156)));
}

TEST_F(MixerFadeTest, TrackShorterThanAFadeStartsInsideTheFall)
{
  place(at(100), at(110));
  // 10.48 frames before the start the fall began: ten steps are behind.
  const std::vector<float> up = rising(0, 10, 20);
  const std::vector<float> down = falling(10, 10, 20);
  std::vector<float> expected;
  for (std::size_t i = 0; i < 10; ++i)
    expected.push_back(up[i] * down[i]);
  EXPECT_EQ(joined({constant(0.0f, 100), expected, constant(0.0f, 40)}), factors(0.0, at(150)));
}

TEST_F(MixerFadeTest, RatesWithoutAWholeFrameInAFadeHaveNoFade)
{
  place(2.0, 6.0);
  for (const float factor : factors(2.0, 6.0, 49))
    ASSERT_EQ(1.0f, factor);
  for (const float factor : factors(2.0, 6.0, 1))
    ASSERT_EQ(1.0f, factor);
  EXPECT_EQ((std::vector<float>{0.0f, 0.0f, 1.0f, 1.0f, 1.0f, 1.0f, 0.0f}), factors(0.0, 7.0, 1));
  // One whole frame: the first is silent.
  EXPECT_EQ(0.0f, factors(2.0, 5.0, 50).front());
  EXPECT_EQ(1.0f, factors(2.0, 5.0, 50)[1]);
}

TEST_F(MixerFadeTest, FallIsNeverLongerThanAWholeOne)
{
  // Times this far out are 1/128 s apart: 20 ms before the end is 3/128 s.
  const double end = 35184372088832.0 + 1.0; // 2^45 and a second
  place(-10.0, end);
  EXPECT_EQ(joined({constant(1.0f, 44), falling(0, 20, 20)}), factors(end - 0.0625, end));
}

TEST_F(MixerFadeTest, GainDoesNotChangeTheFades)
{
  place(at(256), 0.0);
  mixer->setGain(input.get(), 0.5f);
  std::vector<float> expected = rising(0, 20, 20);
  for (float& factor : expected)
    factor *= 0.5f;
  EXPECT_EQ(joined({expected, constant(0.5f, 12)}), factors(at(256), at(288)));
}

TEST_F(MixerFadeTest, EveryTrackHasItsOwnFades)
{
  const Owned<RecordingProvider> second = support::make<RecordingProvider>();
  mixer->addProvider(second.get());
  place(at(10), 0.0);
  mixer->setStartTime(second.get(), at(50));
  const std::vector<float> heard = factors(0.0, at(100));
  EXPECT_EQ(constant(0.0f, 10), std::vector<float>(heard.begin(), heard.begin() + 10));
  EXPECT_EQ(constant(1.0f, 20), std::vector<float>(heard.begin() + 31, heard.begin() + 51));
  EXPECT_EQ(1.0f + rising(0, 20, 20)[7], heard[57]);
  EXPECT_EQ(2.0f, heard[99]);
}

TEST_F(MixerFadeTest, ReinitializedMixerHasTheSameFades)
{
  mixer->initialize();
  mixer->addProvider(input.get());
  place(at(256), 0.0);
  EXPECT_EQ(joined({rising(0, 20, 20), constant(1.0f, 12)}), factors(at(256), at(288)));
}

TEST_F(MixerFadeTest, CloneHasTheSameFades)
{
  place(at(256), 0.0);
  const std::vector<float> expected = factors(0.0, 1.0);
  const Owned<TovAudioProvider> clone(mixer->clone());
  Buffers buffers(2, 1024);
  EXPECT_EQ(0, clone->getAudio(buffers.pointers(), support::channelMap({0, 1}),
                               TovAudioContext(kRate, 1, 24.0, 0.0), 0.0, 1.0));
  EXPECT_EQ(expected, buffers.samples(0));
}

} // namespace
