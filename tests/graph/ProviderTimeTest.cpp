// Times to sample indices and back.

#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "tests/reference/FileSpan.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kTwo63 = 9223372036854775808.0;

TovAudioContext contextAt(int rate)
{
  return TovAudioContext(rate, 1, 24.0, 0.0);
}

/** Answers with the base's index plus a constant. */
class ShiftedIndexProvider : public support::RecordingProvider {
public:
  explicit ShiftedIndexProvider(long long shift) : indexShift(shift) {}
  long long getSampleIndex(const TovAudioContext& context, double time) const override
  {
    ++probes;
    return TovAudioProvider::getSampleIndex(context, time) + indexShift;
  }
  mutable int probes = 0;

protected:
  ~ShiftedIndexProvider() override = default;

private:
  long long indexShift;
};

class ProviderTimeTest : public ::testing::Test {
protected:
  long long indexOf(int rate, double time) const
  {
    return provider->getSampleIndex(contextAt(rate), time);
  }
  double timeOf(int rate, long long sample) const
  {
    return provider->getTimeOfSample(contextAt(rate), sample);
  }

  support::Owned<support::RecordingProvider> provider = support::make<support::RecordingProvider>();
};

TEST_F(ProviderTimeTest, IndexIsTheFloorOfRateTimesTime)
{
  EXPECT_EQ(0, indexOf(44100, 0.0));
  EXPECT_EQ(-1, indexOf(44100, -0.00001));
  EXPECT_EQ(0, indexOf(44100, 0.00001));
  EXPECT_EQ(44100, indexOf(44100, 1.0));
  EXPECT_EQ(-44100, indexOf(44100, -1.0));
  EXPECT_EQ(-44101, indexOf(44100, -1.00001));
  EXPECT_EQ(22049, indexOf(44100, 0.4999999));
}

TEST_F(ProviderTimeTest, IndexTakesTheProductInDoublePrecision)
{
  // In single precision the product would be 48000000.
  EXPECT_EQ(47999999, indexOf(48000, 999.99999));
  std::mt19937_64 random(20);
  std::uniform_real_distribution<double> times(-1e6, 1e6);
  std::uniform_int_distribution<int> rates(1, 400000);
  for (int i = 0; i < 20000; ++i) {
    const int rate = rates(random);
    const double time = times(random);
    ASSERT_EQ(static_cast<long long>(std::floor(static_cast<double>(rate) * time)),
              indexOf(rate, time))
        << rate << " " << time;
    ASSERT_EQ(reference::sampleIndex(rate, time), indexOf(rate, time));
  }
}

TEST_F(ProviderTimeTest, IndexReadsNothingButTheRateOfTheContext)
{
  const TovAudioContext context(48000, 3, 25.0, 123.5);
  EXPECT_EQ(24000, provider->getSampleIndex(context, 0.5));
  EXPECT_EQ(24000, provider->getNumSampleFrames(context, 0.5, 1.0));
  EXPECT_EQ(0.5, provider->getTimeOfSample(context, 24000));
}

TEST_F(ProviderTimeTest, IndexOfNaNIsZero)
{
  EXPECT_EQ(0, indexOf(44100, kNaN));
  EXPECT_EQ(0, indexOf(0, kInfinity)); // 0 times infinity
  EXPECT_EQ(0, indexOf(-1, kNaN));
}

TEST_F(ProviderTimeTest, IndexSaturatesAtBothEnds)
{
  EXPECT_EQ(LLONG_MAX, indexOf(44100, kInfinity));
  EXPECT_EQ(LLONG_MIN, indexOf(44100, -kInfinity));
  EXPECT_EQ(LLONG_MAX, indexOf(1, 1e300));
  EXPECT_EQ(LLONG_MIN, indexOf(1, -1e300));
  EXPECT_EQ(LLONG_MAX, indexOf(192000, 1e308)); // the product itself overflows
  EXPECT_EQ(LLONG_MAX, indexOf(1, kTwo63));
  EXPECT_EQ(LLONG_MIN, indexOf(1, -kTwo63));
  EXPECT_EQ(9223372036854774784LL, indexOf(1, std::nextafter(kTwo63, 0.0)));
  EXPECT_EQ(-9223372036854774784LL, indexOf(1, std::nextafter(-kTwo63, 0.0)));
  EXPECT_EQ(LLONG_MIN, indexOf(-1, kInfinity));
}

TEST_F(ProviderTimeTest, FramesAreTheDifferenceOfTheIndices)
{
  const TovAudioContext context = contextAt(44100);
  EXPECT_EQ(44100, provider->getNumSampleFrames(context, 0.0, 1.0));
  EXPECT_EQ(0, provider->getNumSampleFrames(context, 0.5, 0.5));
  EXPECT_EQ(-44100, provider->getNumSampleFrames(context, 1.0, 0.0));
  // Both ends are floored by themselves: 0.00002 s at 44100 is 0.88 frames.
  EXPECT_EQ(1, provider->getNumSampleFrames(context, 0.00001, 0.00003));
  EXPECT_EQ(0, provider->getNumSampleFrames(context, 0.0, 0.00002));
  EXPECT_EQ(1, provider->getNumSampleFrames(context, -0.00001, 0.00001));
  EXPECT_EQ(0, provider->getNumSampleFrames(context, kNaN, 0.00001));
}

TEST_F(ProviderTimeTest, FramesSaturateInsteadOfOverflowing)
{
  const TovAudioContext context = contextAt(1);
  EXPECT_EQ(LLONG_MAX, provider->getNumSampleFrames(context, -kInfinity, kInfinity));
  EXPECT_EQ(LLONG_MIN, provider->getNumSampleFrames(context, kInfinity, -kInfinity));
  EXPECT_EQ(LLONG_MAX, provider->getNumSampleFrames(context, -kInfinity, 0.0));
  EXPECT_EQ(LLONG_MAX, provider->getNumSampleFrames(context, -1.0, kInfinity));
  EXPECT_EQ(LLONG_MIN, provider->getNumSampleFrames(context, 1.0, -kInfinity));
  EXPECT_EQ(LLONG_MAX - 1, provider->getNumSampleFrames(context, 1.0, kInfinity));
  EXPECT_EQ(LLONG_MAX, provider->getNumSampleFrames(context, -kTwo63 / 2, kTwo63 / 2));
}

TEST_F(ProviderTimeTest, FramesAskTheVirtualIndex)
{
  const support::Owned<ShiftedIndexProvider> shifted = support::make<ShiftedIndexProvider>(5);
  EXPECT_EQ(44100, shifted->getNumSampleFrames(contextAt(44100), 0.0, 1.0));
  EXPECT_EQ(2, shifted->probes);
}

TEST_F(ProviderTimeTest, TimeIsTheQuotientWhereThatGivesTheSample)
{
  EXPECT_EQ(0.0, timeOf(44100, 0));
  EXPECT_EQ(1.0, timeOf(44100, 44100));
  EXPECT_EQ(-0.5, timeOf(48000, -24000));
  EXPECT_EQ(1.0 / 48000.0, timeOf(48000, 1));
}

TEST_F(ProviderTimeTest, TimeGoesForwardInHalfFramesToTheFirstIndexNotBelowTheSample)
{
  const int rate = 44100;
  const support::Owned<ShiftedIndexProvider> behind = support::make<ShiftedIndexProvider>(-3);
  double expected = 1000.0 / rate;
  while (reference::sampleIndex(rate, expected) - 3 < 1000)
    expected += 0.5 / rate;
  EXPECT_EQ(expected, behind->getTimeOfSample(contextAt(rate), 1000));
  EXPECT_NEAR(1003.0 / rate, expected, 0.6 / rate);
  EXPECT_GE(behind->probes, 7); // the quotient and six half frames
  EXPECT_LE(behind->probes, 8);
}

TEST_F(ProviderTimeTest, TimeGoesBackOneHalfFrameOnlyWhereTheQuotientLiesAbove)
{
  const int rate = 48000;
  const support::Owned<ShiftedIndexProvider> ahead = support::make<ShiftedIndexProvider>(3);
  EXPECT_EQ(1000.0 / rate - 0.5 / rate, ahead->getTimeOfSample(contextAt(rate), 1000));
  EXPECT_EQ(2, ahead->probes);
}

TEST_F(ProviderTimeTest, TimeOfAnyExactSampleLeadsBackToIt)
{
  std::mt19937_64 random(21);
  std::uniform_int_distribution<long long> samples(-(1LL << 40), 1LL << 40);
  for (int i = 0; i < 5000; ++i) {
    const long long sample = samples(random);
    for (const int rate : {1, 2, 1024, 65536}) // the quotients are exact
      ASSERT_EQ(sample, indexOf(rate, timeOf(rate, sample))) << rate << " " << sample;
  }
}

TEST_F(ProviderTimeTest, TimeOfRandomSamplesEqualsTheReferenceAndIsNeverBelowTheSample)
{
  std::mt19937_64 random(22);
  std::uniform_int_distribution<int> rates(1, 400000);
  for (int i = 0; i < 50000; ++i) {
    const int rate = rates(random);
    const long long sample = static_cast<long long>(random()) >> (random() % 63);
    const double time = timeOf(rate, sample);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(reference::timeOfSample(rate, sample)),
              std::bit_cast<std::uint64_t>(time))
        << rate << " " << sample;
    if (std::llabs(sample) < 1LL << 45) {
      ASSERT_GE(indexOf(rate, time), sample) << rate << " " << sample;
      ASSERT_LE(indexOf(rate, time), sample + 1) << rate << " " << sample;
    }
  }
}

TEST_F(ProviderTimeTest, TimeOfHugeSamplesEnds)
{
  for (const int rate : {1, 3, 7, 44100, 48000, 192000, INT_MAX}) {
    for (const long long sample :
         {LLONG_MAX, LLONG_MAX - 1, LLONG_MIN, LLONG_MIN + 1, (1LL << 53) + 1, (1LL << 62) + 1,
          -(1LL << 53) - 1, -(1LL << 62) - 1}) {
      const double quotient = static_cast<double>(sample) / rate;
      EXPECT_NEAR(quotient, timeOf(rate, sample), std::abs(quotient) * 1e-15 + 1.0 / rate)
          << rate << " " << sample;
    }
  }
}

TEST_F(ProviderTimeTest, TimeIsTheQuotientWhereAStepNoLongerMovesIt)
{
  // The quotient rounds to 2^62, below the sample, and half a second is far
  // below the distance of neighbouring doubles.
  EXPECT_EQ(4611686018427387904.0, timeOf(1, (1LL << 62) + 1));
}

TEST_F(ProviderTimeTest, TimeAtRatesBelowOneIsTheQuotient)
{
  EXPECT_EQ(0.0, timeOf(0, 0));
  EXPECT_EQ(0.0, timeOf(0, 1000));
  EXPECT_EQ(0.0, timeOf(0, LLONG_MIN));
  EXPECT_EQ(-250.0, timeOf(-4, 1000));
  EXPECT_EQ(1001.0 / -44100.0, timeOf(-44100, 1001));
  EXPECT_EQ(static_cast<double>(LLONG_MAX) / INT_MIN, timeOf(INT_MIN, LLONG_MAX));
}

} // namespace
