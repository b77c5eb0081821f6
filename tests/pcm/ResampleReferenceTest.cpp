#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "tests/pcm/Noise.h"
#include "tests/reference/Resampling.h"
#include "tests/support/Buffers.h"

namespace {

struct Case {
  int quality, outRate, inRate;
  long long frames;
  float phase;
};

std::string describe(const Case& c)
{
  return "quality " + std::to_string(c.quality) + ", " + std::to_string(c.inRate) + " to " +
         std::to_string(c.outRate) + ", " + std::to_string(c.frames) + " frames, phase " +
         std::to_string(c.phase);
}

/** The case's block, with the handles on both sides of the positions. */
std::vector<float> blockFor(const Case& c, Noise& noise, int handles)
{
  const double furthest =
      static_cast<double>(c.phase) + static_cast<double>(c.frames) * c.inRate / c.outRate;
  return noise.samples(static_cast<long long>(std::ceil(furthest)) + 1 + 2LL * handles);
}

void expectLikeReference(const Case& c, const std::vector<float>& block, int handles)
{
  support::Buffers out(1, c.frames);
  TovPcm::resample(c.quality, out.channel(0), block.data() + handles, c.outRate, c.inRate, c.frames,
                   static_cast<long long>(block.size()), c.phase);
  const std::vector<float> expected =
      reference::resample(c.quality, block, handles, c.outRate, c.inRate, c.frames, c.phase);
  ASSERT_EQ(support::bits(out.samples(0)), support::bits(expected)) << describe(c);
  ASSERT_TRUE(out.guardsIntact());
}

void expectLikeReference(const Case& c, Noise& noise)
{
  const int handles = TovPcm::resamplerHandles(c.quality, c.outRate, c.inRate);
  expectLikeReference(c, blockFor(c, noise, handles), handles);
}

const std::vector<int> kRates = {8000,  11025, 16000, 22050, 32000, 44100,
                                 47999, 48000, 88200, 96000, 192000};
const std::vector<float> kPhases = {0.0f, 1e-30f, 1e-20f, 1e-9f,   0x1p-24f,    0.25f,
                                    0.3f, 0.5f,   0.75f,  0.9999f, 0.99999994f, 1.0f};

} // namespace

TEST(ResampleReferenceTest, UsualRatesAtEveryQualityAndPhase)
{
  Noise noise(70);
  for (int quality = 0; quality <= 3; ++quality)
    for (const int outRate : kRates)
      for (const int inRate : kRates)
        for (const float phase : kPhases)
          expectLikeReference({quality, outRate, inRate, noise.between(1, 12), phase}, noise);
}

TEST(ResampleReferenceTest, AnyRatesLengthsAndPhases)
{
  Noise noise(71);
  for (int round = 0; round < 2500; ++round) {
    const float phase = std::fabs(noise.sample());
    expectLikeReference({noise.between(-1, 4), noise.between(4000, 192000),
                         noise.between(4000, 192000), noise.between(0, 60), phase},
                        noise);
  }
}

TEST(ResampleReferenceTest, AlmostEqualRates)
{
  Noise noise(72);
  for (int quality = 1; quality <= 3; ++quality)
    for (const int difference : {-100, -2, -1, 1, 2, 100})
      for (const float phase : kPhases)
        expectLikeReference({quality, 48000 + difference, 48000, 60, phase}, noise);
}

TEST(ResampleReferenceTest, LongBlocksKeepTheirPosition)
{
  Noise noise(73);
  expectLikeReference({1, 48000, 44100, 50000, 0.1f}, noise);
  expectLikeReference({1, 44100, 48000, 50000, 0.1f}, noise);
  expectLikeReference({2, 96000, 44100, 20000, 0.7f}, noise);
  expectLikeReference({3, 44100, 96000, 8000, 0.7f}, noise);
}

TEST(ResampleReferenceTest, SmallRates)
{
  Noise noise(74);
  for (int round = 0; round < 1500; ++round)
    expectLikeReference({noise.between(1, 3), noise.between(1, 60), noise.between(1, 60),
                         noise.between(0, 40), std::fabs(noise.sample())},
                        noise);
}

TEST(ResampleReferenceTest, HugeRates)
{
  // Rates that single precision cannot hold: the ratio's two forms disagree.
  Noise noise(75);
  const int top = std::numeric_limits<int>::max();
  for (int round = 0; round < 1500; ++round) {
    const int outRate = noise.between(1 << 26, top);
    const int inRate = noise.between(1 << 26, top);
    expectLikeReference({noise.between(1, 3), outRate, inRate, noise.between(1, 8),
                         round % 3 == 0 ? 1e-20f : std::fabs(noise.sample())},
                        noise);
  }
}

TEST(ResampleReferenceTest, ExtremeUpsampling)
{
  Noise noise(76);
  for (int quality = 0; quality <= 3; ++quality)
    for (const float phase : kPhases) {
      expectLikeReference({quality, 192000, 200, 100, phase}, noise);
      expectLikeReference({quality, 192000, 1, 100, phase}, noise);
      expectLikeReference({quality, std::numeric_limits<int>::max(), 1, 100, phase}, noise);
    }
}

TEST(ResampleReferenceTest, StrongDownsampling)
{
  Noise noise(77);
  for (int quality = 0; quality <= 3; ++quality)
    for (const int outRate : {200, 1000, 4000})
      for (const float phase : kPhases)
        expectLikeReference({quality, outRate, 192000, 3, phase}, noise);
}

TEST(ResampleReferenceTest, JustAboveAnInputSampleTheLeftWingStartsAtItsCentre)
{
  // The distance to the next sample rounds to 1 there; the tap on the sample
  // just passed must get the filter's first entry.
  for (int quality = 1; quality <= 3; ++quality) {
    for (const int outRate : kRates) {
      for (const int inRate : kRates) {
        if (inRate <= outRate)
          continue;
        const int handles = TovPcm::resamplerHandles(quality, outRate, inRate);
        std::vector<float> block(static_cast<std::size_t>(2 * handles + 2), 0.0f);
        block[static_cast<std::size_t>(handles)] = 1.0f;
        float out = 0.0f;
        TovPcm::resample(quality, &out, block.data() + handles, outRate, inRate, 1, 0, 1e-30f);
        EXPECT_EQ(out, static_cast<float>(outRate) / static_cast<float>(inRate))
            << "quality " << quality << ", " << inRate << " to " << outRate;
      }
    }
  }
}

TEST(ResampleReferenceTest, ALeftWingPositionBelowZeroIsTakenAsZero)
{
  // Here the single-precision ratio is below the rounded double one.
  const int outRate = 16777219;
  const int inRate = 2147483647;
  Noise noise(78);
  int found = 0;
  for (int candidate = outRate; candidate < outRate + 64; ++candidate) {
    const float single = static_cast<float>(candidate) / static_cast<float>(inRate);
    const double exact = static_cast<double>(candidate) / inRate;
    if (single - static_cast<float>(exact) >= 0.0f)
      continue;
    ++found;
    for (int quality = 1; quality <= 3; ++quality) {
      const int handles = TovPcm::resamplerHandles(quality, candidate, inRate);
      std::vector<float> block(static_cast<std::size_t>(2 * handles + 2), 0.0f);
      block[static_cast<std::size_t>(handles)] = 1.0f;
      float out = 0.0f;
      TovPcm::resample(quality, &out, block.data() + handles, candidate, inRate, 1, 0, 1e-30f);
      EXPECT_EQ(out, single);
      expectLikeReference({quality, candidate, inRate, 1, 1e-30f}, noise);
    }
  }
  EXPECT_GT(found, 0);
}

TEST(ResampleReferenceTest, FollowsTheContinuousFilter)
{
  Noise noise(79);
  for (int quality = 1; quality <= 3; ++quality) {
    for (const int inRate : {8000, 44100, 48000, 96000}) {
      const Case c{quality, 48000, inRate, 60, 0.3f};
      const int handles = TovPcm::resamplerHandles(quality, c.outRate, inRate);
      const std::vector<float> block = blockFor(c, noise, handles + 2);
      std::vector<float> out(60);
      TovPcm::resample(quality, out.data(), block.data() + handles + 2, c.outRate, inRate, 60, 0,
                       c.phase);
      for (int n = 0; n < 60; ++n) {
        const double position =
            static_cast<double>(c.phase) + static_cast<double>(n) * inRate / c.outRate;
        ASSERT_NEAR(
            out[static_cast<std::size_t>(n)],
            reference::idealResampleAt(quality, block, handles + 2, c.outRate, inRate, position),
            1e-5)
            << describe(c) << ", frame " << n;
      }
    }
  }
}
