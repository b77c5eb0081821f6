#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "tests/pcm/Noise.h"
#include "tests/reference/Resampling.h"

namespace {

constexpr int kIntMax = std::numeric_limits<int>::max();
constexpr int kIntMin = std::numeric_limits<int>::min();

struct Row {
  int quality, outRate, inRate, expected;
};

} // namespace

TEST(HandlesTest, FollowTheTable)
{
  // Zero crossings are 3, 7 and 13.
  const std::vector<Row> rows = {
      {0, 44100, 44100, 1},  {0, 48000, 96000, 1},   {0, 96000, 48000, 1},
      {0, 1, kIntMax, 1},    {1, 44100, 44100, 4},   {2, 44100, 44100, 8},
      {3, 44100, 44100, 14}, {1, 192000, 200, 4},    {2, 48000, 44100, 8},
      {3, kIntMax, 1, 14},   {1, 48000, 96000, 7},   {2, 48000, 96000, 15},
      {3, 48000, 96000, 27}, {1, 44100, 48000, 5},   {2, 44100, 48000, 9},
      {3, 44100, 48000, 16}, {3, 12000, 96000, 105}, {1, 1, 1 << 20, 3 * (1 << 20) + 1},
      {1, 47999, 48000, 5}};
  for (const Row& row : rows)
    EXPECT_EQ(TovPcm::resamplerHandles(row.quality, row.outRate, row.inRate), row.expected)
        << "quality " << row.quality << ", " << row.inRate << " to " << row.outRate;
}

TEST(HandlesTest, AreRoundedUpFromTheRoundedRatio)
{
  // The exact widths are whole, 47, 55 and 45; dividing by the ratio in double
  // precision comes out just above.
  EXPECT_EQ(TovPcm::resamplerHandles(1, 3, 47), 49);
  EXPECT_EQ(TovPcm::resamplerHandles(2, 7, 55), 57);
  EXPECT_EQ(TovPcm::resamplerHandles(3, 13, 45), 47);
}

TEST(HandlesTest, RatesBelowOneGiveOne)
{
  for (int quality = -1; quality <= 4; ++quality) {
    for (const int rate : {0, -1, -44100, kIntMin}) {
      EXPECT_EQ(TovPcm::resamplerHandles(quality, rate, 44100), 1);
      EXPECT_EQ(TovPcm::resamplerHandles(quality, 44100, rate), 1);
      EXPECT_EQ(TovPcm::resamplerHandles(quality, rate, rate), 1);
    }
  }
}

TEST(HandlesTest, SaturateAtTheLargestInt)
{
  EXPECT_EQ(TovPcm::resamplerHandles(1, 1, kIntMax), kIntMax);
  EXPECT_EQ(TovPcm::resamplerHandles(2, 1, kIntMax), kIntMax);
  EXPECT_EQ(TovPcm::resamplerHandles(3, 1, kIntMax), kIntMax);
  EXPECT_EQ(TovPcm::resamplerHandles(3, 2, kIntMax), kIntMax);
  EXPECT_EQ(TovPcm::resamplerHandles(1, 1, 1 << 30), kIntMax);
  EXPECT_EQ(TovPcm::resamplerHandles(1, 1, 1 << 29), 3 * (1 << 29) + 1);
  EXPECT_EQ(TovPcm::resamplerHandles(3, kIntMax, kIntMax), 14);
}

TEST(HandlesTest, QualitiesOutsideTheRangeAreTheNearest)
{
  for (const int quality : {-1, -100, kIntMin})
    EXPECT_EQ(TovPcm::resamplerHandles(quality, 48000, 96000), 1);
  for (const int quality : {4, 100, kIntMax})
    EXPECT_EQ(TovPcm::resamplerHandles(quality, 48000, 96000), 27);
}

TEST(HandlesTest, EqualTheReferenceForAllRates)
{
  Noise noise(40);
  for (int round = 0; round < 20000; ++round) {
    const int quality = noise.between(-1, 4);
    const int top = round % 2 == 0 ? 200000 : kIntMax;
    const int outRate = noise.between(1, top);
    const int inRate = noise.between(1, top);
    ASSERT_EQ(TovPcm::resamplerHandles(quality, outRate, inRate),
              reference::handles(quality, outRate, inRate))
        << "quality " << quality << ", " << inRate << " to " << outRate;
  }
  for (int quality = 0; quality < 4; ++quality)
    for (int outRate = 1; outRate < 200; ++outRate)
      for (int inRate = 1; inRate < 200; ++inRate)
        ASSERT_EQ(TovPcm::resamplerHandles(quality, outRate, inRate),
                  reference::handles(quality, outRate, inRate))
            << "quality " << quality << ", " << inRate << " to " << outRate;
  for (const int outRate : {1, 2, 3, 200, 8000, 44100, 48000, 192000, kIntMax - 1, kIntMax})
    for (const int inRate :
         {1, 2, 3, 200, 8000, 44100, 48000, 192000, 165191049, 165191050, 306783378, 306783379,
          715827881, 715827882, 715827883, kIntMax - 1, kIntMax})
      for (int quality = 0; quality < 4; ++quality)
        EXPECT_EQ(TovPcm::resamplerHandles(quality, outRate, inRate),
                  reference::handles(quality, outRate, inRate))
            << "quality " << quality << ", " << inRate << " to " << outRate;
}

TEST(HandlesTest, WidenInProportionToDownsampling)
{
  for (int inRate = 48000; inRate <= 480000; inRate += 997) {
    const double stretched = 13.0 * inRate / 48000.0;
    const int handles = TovPcm::resamplerHandles(3, 48000, inRate);
    EXPECT_GE(handles, stretched + 1.0);
    EXPECT_LT(handles, stretched + 2.0 + 1e-6);
  }
}
