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

constexpr int kSamplesPerCrossing[4] = {0, 512, 512, 2048};
constexpr int kLength[4] = {0, 1536, 3584, 26624};

/** The first @p terms terms behind the constant, each from the one before. */
long double besselSeries(long double x, int terms)
{
  long double sum = 1.0L;
  long double term = 1.0L;
  for (int k = 1; k <= terms; ++k) {
    term *= 0.5L * x / static_cast<long double>(k);
    sum += term * term;
  }
  return sum;
}

std::vector<float> tableOf(float* const (&tables)[4], int quality)
{
  return {tables[quality], tables[quality] + TovPcm::filterTableLength[quality]};
}

} // namespace

TEST(FilterTableTest, QualitiesHaveNames)
{
  EXPECT_STREQ(TovPcm::getFilterQualityString(0), "Proxy");
  EXPECT_STREQ(TovPcm::getFilterQualityString(1), "Medium");
  EXPECT_STREQ(TovPcm::getFilterQualityString(2), "High");
  EXPECT_STREQ(TovPcm::getFilterQualityString(3), "Highest");
}

TEST(FilterTableTest, NamesOfQualitiesOutsideTheRangeAreTheNearest)
{
  EXPECT_STREQ(TovPcm::getFilterQualityString(-1), "Proxy");
  EXPECT_STREQ(TovPcm::getFilterQualityString(std::numeric_limits<int>::min()), "Proxy");
  EXPECT_STREQ(TovPcm::getFilterQualityString(4), "Highest");
  EXPECT_STREQ(TovPcm::getFilterQualityString(std::numeric_limits<int>::max()), "Highest");
}

TEST(FilterTableTest, BesselFunctionHasItsKnownValues)
{
  EXPECT_EQ(TovPcm::filterI0(0.0), 1.0);
  EXPECT_NEAR(TovPcm::filterI0(1.0), 1.2660658777520084, 1e-15);
  EXPECT_NEAR(TovPcm::filterI0(2.0), 2.2795853023360673, 2e-15);
  EXPECT_NEAR(TovPcm::filterI0(9.0), 1093.5883545113747, 1e-9);
}

TEST(FilterTableTest, BesselFunctionIsEven)
{
  for (double x = 0.0; x < 50.0; x += 0.37)
    EXPECT_EQ(TovPcm::filterI0(-x), TovPcm::filterI0(x)) << x;
}

TEST(FilterTableTest, BesselSeriesHasExactly29TermsBehindTheConstant)
{
  for (const double x : {0.5, 5.0, 9.0, 20.0, 60.0, 200.0, 1000.0}) {
    const double exact = static_cast<double>(besselSeries(x, 29));
    EXPECT_NEAR(TovPcm::filterI0(x) / exact, 1.0, 1e-13) << x;
  }
  // So far from convergence, one term more or less shows.
  for (const int terms : {28, 30})
    EXPECT_GT(
        std::fabs(TovPcm::filterI0(60.0) / static_cast<double>(besselSeries(60.0, terms)) - 1.0),
        0.01);
}

TEST(FilterTableTest, BesselFunctionEqualsTheReference)
{
  for (int i = -4000; i <= 4000; ++i) {
    const double x = static_cast<double>(i) * 0.01;
    ASSERT_EQ(TovPcm::filterI0(x), reference::besselI0(x)) << x;
  }
}

TEST(FilterTableTest, TablesHaveTheirLengths)
{
  for (int quality = 1; quality <= 3; ++quality) {
    TovPcm::createFilterTable(quality);
    EXPECT_EQ(TovPcm::filterTableLength[quality], kLength[quality]);
    EXPECT_NE(TovPcm::filterTable[quality], nullptr);
    EXPECT_NE(TovPcm::filterTableDelta[quality], nullptr);
  }
}

TEST(FilterTableTest, TablesEqualTheReference)
{
  for (int quality = 1; quality <= 3; ++quality) {
    TovPcm::createFilterTable(quality);
    const reference::FilterTable expected = reference::makeFilterTable(quality);
    EXPECT_EQ(support::bits(tableOf(TovPcm::filterTable, quality)), support::bits(expected.value));
    EXPECT_EQ(support::bits(tableOf(TovPcm::filterTableDelta, quality)),
              support::bits(expected.delta));
  }
}

TEST(FilterTableTest, TablesAreAKaiserWindowedSinc)
{
  const long double pi = 3.141592653589793238462643383279502884L;
  for (int quality = 1; quality <= 3; ++quality) {
    TovPcm::createFilterTable(quality);
    const std::vector<float> table = tableOf(TovPcm::filterTable, quality);
    const int perCrossing = kSamplesPerCrossing[quality];
    EXPECT_EQ(table[0], 1.0f);
    for (int i = 1; i < kLength[quality]; ++i) {
      const long double t = static_cast<long double>(i) / perCrossing;
      const long double u = static_cast<long double>(i) / kLength[quality];
      const long double window =
          besselSeries(9.0L * std::sqrt(1.0L - u * u), 29) / besselSeries(9.0L, 29);
      const long double exact = window * std::sin(pi * t) / (pi * t);
      ASSERT_NEAR(table[static_cast<std::size_t>(i)], static_cast<double>(exact),
                  1e-16 + 6e-8 * std::fabs(static_cast<double>(exact)))
          << "quality " << quality << ", entry " << i;
    }
  }
}

TEST(FilterTableTest, TheFilterIsZeroAtTheCrossings)
{
  for (int quality = 1; quality <= 3; ++quality) {
    TovPcm::createFilterTable(quality);
    const int perCrossing = kSamplesPerCrossing[quality];
    for (int i = perCrossing; i < kLength[quality]; i += perCrossing) {
      EXPECT_LT(std::fabs(TovPcm::filterTable[quality][i]), 1e-15f);
      EXPECT_LT(TovPcm::filterTable[quality][i - 1] * TovPcm::filterTable[quality][i + 1], 0.0f)
          << "quality " << quality << ": no change of sign at " << i;
    }
  }
}

TEST(FilterTableTest, DeltasAreTheDifferencesToTheNextEntry)
{
  for (int quality = 1; quality <= 3; ++quality) {
    TovPcm::createFilterTable(quality);
    const float* const table = TovPcm::filterTable[quality];
    const float* const delta = TovPcm::filterTableDelta[quality];
    for (int i = 0; i + 1 < kLength[quality]; ++i)
      ASSERT_EQ(delta[i], table[i + 1] - table[i]) << "quality " << quality << ", entry " << i;
  }
}

TEST(FilterTableTest, TheLastDeltaIsCountedFromTheEntryBeforeTheLast)
{
  for (int quality = 1; quality <= 3; ++quality) {
    TovPcm::createFilterTable(quality);
    const int last = kLength[quality] - 1;
    const float* const table = TovPcm::filterTable[quality];
    EXPECT_EQ(TovPcm::filterTableDelta[quality][last], -table[last - 1]);
    EXPECT_NE(TovPcm::filterTableDelta[quality][last], -table[last]);
  }
}

TEST(FilterTableTest, QualityZeroHasNoTable)
{
  for (const int quality : {0, -1, std::numeric_limits<int>::min()}) {
    TovPcm::createFilterTable(quality);
    EXPECT_EQ(TovPcm::filterTable[0], nullptr);
    EXPECT_EQ(TovPcm::filterTableDelta[0], nullptr);
    EXPECT_EQ(TovPcm::filterTableLength[0], 0);
  }
}

TEST(FilterTableTest, BuildingQualityZeroLeavesTheOthers)
{
  TovPcm::createFilterTable(1);
  const float* const table = TovPcm::filterTable[1];
  TovPcm::createFilterTable(0);
  TovPcm::createFilterTable(-7);
  EXPECT_EQ(TovPcm::filterTable[1], table);
  EXPECT_EQ(TovPcm::filterTableLength[1], kLength[1]);
}

TEST(FilterTableTest, QualitiesAboveTheRangeBuildTheHighest)
{
  for (const int quality : {4, 1000, std::numeric_limits<int>::max()}) {
    TovPcm::createFilterTable(3);
    TovPcm::filterTable[3][100] = 42.0f;
    TovPcm::createFilterTable(quality);
    EXPECT_EQ(TovPcm::filterTable[3][100], reference::makeFilterTable(3).value[100]);
  }
}

TEST(FilterTableTest, CreateBuildsAnew)
{
  for (int quality = 1; quality <= 3; ++quality) {
    TovPcm::createFilterTable(quality);
    const std::vector<float> table = tableOf(TovPcm::filterTable, quality);
    const std::vector<float> delta = tableOf(TovPcm::filterTableDelta, quality);
    TovPcm::filterTable[quality][5] = 42.0f;
    TovPcm::filterTableDelta[quality][5] = -42.0f;
    TovPcm::createFilterTable(quality);
    EXPECT_EQ(tableOf(TovPcm::filterTable, quality), table);
    EXPECT_EQ(tableOf(TovPcm::filterTableDelta, quality), delta);
  }
}

TEST(FilterTableTest, ResamplingGoesByThePublicTableAndKeepsIt)
{
  const std::vector<float> in(64, 1.0f);
  for (int quality = 1; quality <= 3; ++quality) {
    TovPcm::createFilterTable(quality);
    const float* const table = TovPcm::filterTable[quality];
    TovPcm::filterTable[quality][0] = 3.0f;
    float out = 0.0f;
    TovPcm::resample(quality, &out, in.data() + 32, 48000, 48000, 1, 64, 0.0f);
    EXPECT_NEAR(out, 3.0f, 1e-6f);
    EXPECT_EQ(TovPcm::filterTable[quality], table);
    EXPECT_EQ(TovPcm::filterTable[quality][0], 3.0f);
    TovPcm::createFilterTable(quality);
    TovPcm::resample(quality, &out, in.data() + 32, 48000, 48000, 1, 64, 0.0f);
    EXPECT_NEAR(out, 1.0f, 1e-6f);
  }
}
