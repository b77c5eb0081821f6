#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/pcm/Noise.h"
#include "tests/support/Buffers.h"

namespace {

constexpr int kOrigin = 200; ///< where index 0 of the inputs below lies
constexpr int kSamplesPerCrossing[4] = {0, 512, 512, 2048};
constexpr int kCrossings[4] = {0, 3, 7, 13};

std::vector<float> convert(int quality, const std::vector<float>& in, int outRate, int inRate,
                           long long outFrames, float phase, int origin = kOrigin)
{
  support::Buffers out(1, outFrames);
  TovPcm::resample(quality, out.channel(0), in.data() + origin, outRate, inRate, outFrames,
                   static_cast<long long>(in.size()), phase);
  EXPECT_TRUE(out.guardsIntact());
  return out.samples(0);
}

/** The quality's table, which a first call has built. */
const float* builtTable(int quality)
{
  convert(quality, std::vector<float>(2 * kOrigin), 1, 1, 1, 0.0f);
  return TovPcm::filterTable[quality];
}

std::vector<float> impulseAt(int index)
{
  std::vector<float> in(2 * kOrigin, 0.0f);
  in[static_cast<std::size_t>(kOrigin + index)] = 1.0f;
  return in;
}

} // namespace

TEST(ResampleTest, EqualRatesReproduceTheInput)
{
  Noise noise(60);
  const std::vector<float> in = noise.samples(2 * kOrigin);
  for (int quality = 1; quality <= 3; ++quality) {
    for (const int rate : {1, 44100, 192000}) {
      const std::vector<float> out = convert(quality, in, rate, rate, 150, 0.0f);
      for (std::size_t n = 0; n < out.size(); ++n)
        ASSERT_NEAR(out[n], in[kOrigin + n], 1e-7f) << "quality " << quality << ", frame " << n;
    }
  }
}

TEST(ResampleTest, AWholePhaseIsADelay)
{
  Noise noise(61);
  const std::vector<float> in = noise.samples(2 * kOrigin);
  for (int quality = 1; quality <= 3; ++quality)
    EXPECT_EQ(support::bits(convert(quality, in, 48000, 48000, 100, 1.0f)),
              support::bits(convert(quality, in, 48000, 48000, 100, 0.0f, kOrigin + 1)));
}

TEST(ResampleTest, SilenceStaysSilent)
{
  const std::vector<float> in(2 * kOrigin, 0.0f);
  for (int quality = 0; quality <= 3; ++quality)
    for (const int inRate : {24000, 48000, 96000})
      EXPECT_EQ(convert(quality, in, 48000, inRate, 50, 0.3f), std::vector<float>(50, 0.0f));
}

TEST(ResampleTest, AnImpulseAtEqualRatesIsTheFilterItself)
{
  // A quarter of a frame is a whole number of table entries, so nothing is
  // interpolated.
  for (int quality = 1; quality <= 3; ++quality) {
    const int perCrossing = kSamplesPerCrossing[quality];
    const int length = perCrossing * kCrossings[quality];
    const std::vector<float> out = convert(quality, impulseAt(50), 44100, 44100, 101, 0.25f);
    for (int n = 0; n <= 100; ++n) {
      const int entry = std::abs((50 - n) * perCrossing - perCrossing / 4);
      const float expected = entry < length ? TovPcm::filterTable[quality][entry] : 0.0f;
      ASSERT_EQ(out[static_cast<std::size_t>(n)], expected)
          << "quality " << quality << ", frame " << n;
    }
  }
}

TEST(ResampleTest, AnImpulseAtHalfTheRateIsTheFilterStretchedAndHalved)
{
  for (int quality = 1; quality <= 3; ++quality) {
    const int perCrossing = kSamplesPerCrossing[quality];
    const int length = perCrossing * kCrossings[quality];
    for (const int index : {50, 51}) {
      const std::vector<float> out = convert(quality, impulseAt(index), 48000, 96000, 60, 0.25f);
      for (int n = 0; n < 60; ++n) {
        const int entry = std::abs((index - 2 * n) * perCrossing - perCrossing / 4) / 2;
        const float expected = entry < length ? TovPcm::filterTable[quality][entry] * 0.5f : 0.0f;
        ASSERT_EQ(out[static_cast<std::size_t>(n)], expected)
            << "quality " << quality << ", frame " << n;
      }
    }
  }
}

TEST(ResampleTest, AnImpulseAtTwiceTheRateIsTheFilterUnstretched)
{
  for (int quality = 1; quality <= 3; ++quality) {
    const int perCrossing = kSamplesPerCrossing[quality];
    const int length = perCrossing * kCrossings[quality];
    const std::vector<float> out = convert(quality, impulseAt(20), 96000, 48000, 80, 0.25f);
    for (int n = 0; n < 80; ++n) {
      const int entry = std::abs(20 * perCrossing - n * perCrossing / 2 - perCrossing / 4);
      const float expected = entry < length ? TovPcm::filterTable[quality][entry] : 0.0f;
      ASSERT_EQ(out[static_cast<std::size_t>(n)], expected)
          << "quality " << quality << ", frame " << n;
    }
  }
}

TEST(ResampleTest, EntriesAreInterpolatedToTheNext)
{
  for (int quality = 1; quality <= 3; ++quality) {
    const float halfEntry = 0.5f / static_cast<float>(kSamplesPerCrossing[quality]);
    const float* const table = builtTable(quality);
    // The sample just before the position, half an entry away.
    EXPECT_EQ(convert(quality, impulseAt(0), 44100, 44100, 1, halfEntry)[0],
              table[0] + 0.5f * (table[1] - table[0]));
  }
}

TEST(ResampleTest, TheFiltersLastEntryFallsTowardTheOneBeforeIt)
{
  // The far sample stands half an entry beyond the last entry, whose delta is
  // deliberately that of its predecessor.
  for (int quality = 1; quality <= 3; ++quality) {
    const float halfEntry = 0.5f / static_cast<float>(kSamplesPerCrossing[quality]);
    const int last = kSamplesPerCrossing[quality] * kCrossings[quality] - 1;
    const float* const table = builtTable(quality);
    EXPECT_EQ(convert(quality, impulseAt(kCrossings[quality]), 44100, 44100, 1, halfEntry)[0],
              table[last] + 0.5f * (0.0f - table[last - 1]));
  }
}

TEST(ResampleTest, QualitiesOutsideTheRangeAreTheNearest)
{
  Noise noise(62);
  const std::vector<float> in = noise.samples(2 * kOrigin);
  for (const int inRate : {30000, 48000, 70000}) {
    for (const int quality : {-1, -1000, std::numeric_limits<int>::min()})
      EXPECT_EQ(convert(quality, in, 48000, inRate, 60, 0.25f),
                convert(0, in, 48000, inRate, 60, 0.25f));
    for (const int quality : {4, 1000, std::numeric_limits<int>::max()})
      EXPECT_EQ(convert(quality, in, 48000, inRate, 60, 0.25f),
                convert(3, in, 48000, inRate, 60, 0.25f));
  }
  EXPECT_NE(convert(2, in, 48000, 30000, 60, 0.25f), convert(3, in, 48000, 30000, 60, 0.25f));
  EXPECT_NE(convert(0, in, 48000, 30000, 60, 0.25f), convert(1, in, 48000, 30000, 60, 0.25f));
}

TEST(ResampleTest, TheInputLengthIsNotUsed)
{
  Noise noise(63);
  const std::vector<float> in = noise.samples(2 * kOrigin);
  for (int quality = 0; quality <= 3; ++quality) {
    for (const int inRate : {24000, 48000, 96000}) {
      const std::vector<float> expected = convert(quality, in, 48000, inRate, 40, 0.25f);
      for (const long long inFrames : {0LL, 1LL, -1LL, std::numeric_limits<long long>::min(),
                                       std::numeric_limits<long long>::max()}) {
        std::vector<float> out(40);
        TovPcm::resample(quality, out.data(), in.data() + kOrigin, 48000, inRate, 40, inFrames,
                         0.25f);
        EXPECT_EQ(out, expected);
      }
    }
  }
}

TEST(ResampleTest, OnlyTheLow32BitsOfTheCountMatter)
{
  Noise noise(64);
  const std::vector<float> in = noise.samples(2 * kOrigin);
  for (int quality = 1; quality <= 3; ++quality) {
    for (const int inRate : {24000, 48000, 96000}) {
      const std::vector<float> expected = convert(quality, in, 48000, inRate, 5, 0.25f);
      for (const long long high : {1LL << 32, -1LL << 32, 7LL << 40}) {
        support::Buffers out(1, 5);
        TovPcm::resample(quality, out.channel(0), in.data() + kOrigin, 48000, inRate, high + 5, 0,
                         0.25f);
        EXPECT_EQ(out.samples(0), expected);
        EXPECT_TRUE(out.guardsIntact());
      }
    }
  }
}

TEST(ResampleTest, NoOutputFramesOrFewerWriteNothing)
{
  const std::vector<float> in(2 * kOrigin, 1.0f);
  support::Buffers out(1, 4);
  for (int quality = 0; quality <= 3; ++quality) {
    for (const long long frames : {0LL, -1LL, -5LL}) {
      TovPcm::resample(quality, out.channel(0), in.data() + kOrigin, 48000, 44100, frames, 0, 0.0f);
      TovPcm::resample(quality, out.channel(0), in.data() + kOrigin, 44100, 48000, frames, 0, 0.0f);
      TovPcm::resample(quality, out.channel(0), in.data() + kOrigin, 44100, 0, frames, 0, 0.0f);
    }
  }
  EXPECT_TRUE(out.untouched());
}

TEST(ResampleTest, RatesBelowOneWriteZerosAndReadNothing)
{
  for (int quality = -1; quality <= 4; ++quality) {
    for (const int bad : {0, -1, -44100, std::numeric_limits<int>::min()}) {
      for (const auto& [outRate, inRate] : {std::pair{bad, 48000}, {48000, bad}, {bad, bad}}) {
        support::Buffers out(1, 19);
        TovPcm::resample(quality, out.channel(0), nullptr, outRate, inRate, 19, 0, 0.5f);
        EXPECT_EQ(support::bits(out.samples(0)), std::vector<unsigned int>(19, 0u));
        EXPECT_TRUE(out.guardsIntact());
      }
    }
  }
}

TEST(ResampleTest, IsLinear)
{
  Noise noise(65);
  const std::vector<float> a = noise.samples(2 * kOrigin);
  const std::vector<float> b = noise.samples(2 * kOrigin);
  std::vector<float> negative, doubled, mixed;
  for (std::size_t i = 0; i < a.size(); ++i) {
    negative.push_back(-a[i]);
    doubled.push_back(2.0f * a[i]);
    mixed.push_back(0.75f * a[i] - 0.5f * b[i]);
  }
  for (int quality = 1; quality <= 3; ++quality) {
    for (const int inRate : {20000, 44100, 48000, 60000}) {
      const std::vector<float> ofA = convert(quality, a, 44100, inRate, 80, 0.37f);
      const std::vector<float> ofB = convert(quality, b, 44100, inRate, 80, 0.37f);
      const std::vector<float> ofNegative = convert(quality, negative, 44100, inRate, 80, 0.37f);
      const std::vector<float> ofDoubled = convert(quality, doubled, 44100, inRate, 80, 0.37f);
      const std::vector<float> ofMixed = convert(quality, mixed, 44100, inRate, 80, 0.37f);
      for (std::size_t n = 0; n < ofA.size(); ++n) {
        ASSERT_EQ(ofNegative[n], -ofA[n]);
        ASSERT_EQ(ofDoubled[n], 2.0f * ofA[n]);
        ASSERT_NEAR(ofMixed[n], 0.75f * ofA[n] - 0.5f * ofB[n], 2e-6f);
      }
    }
  }
}

TEST(ResampleTest, SplittingEqualsTheWholeWhereThePhaseCarriesExactly)
{
  struct Step {
    int outRate, inRate;
    double step;
  };
  Noise noise(66);
  const std::vector<float> in = noise.samples(1200);
  for (int quality = 1; quality <= 3; ++quality) {
    for (const Step& rates :
         {Step{44100, 44100, 1.0}, Step{96000, 48000, 0.5}, Step{192000, 48000, 0.25},
          Step{48000, 96000, 2.0}, Step{32000, 48000, 1.5}}) {
      for (const float phase : {0.0f, 0.25f, 0.625f}) {
        const std::vector<float> whole =
            convert(quality, in, rates.outRate, rates.inRate, 100, phase, kOrigin);
        for (const int cut : {0, 1, 2, 3, 8, 50, 99, 100}) {
          const double position = static_cast<double>(phase) + cut * rates.step;
          const double frame = std::floor(position);
          std::vector<float> pieces =
              convert(quality, in, rates.outRate, rates.inRate, cut, phase, kOrigin);
          const std::vector<float> rest =
              convert(quality, in, rates.outRate, rates.inRate, 100 - cut,
                      static_cast<float>(position - frame), kOrigin + static_cast<int>(frame));
          pieces.insert(pieces.end(), rest.begin(), rest.end());
          ASSERT_EQ(support::bits(pieces), support::bits(whole))
              << "quality " << quality << ", " << rates.inRate << " to " << rates.outRate
              << ", cut at " << cut;
        }
      }
    }
  }
}
