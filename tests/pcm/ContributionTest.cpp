#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "tests/pcm/Noise.h"
#include "tests/reference/Gain.h"

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

struct Matrix {
  float leftToLeft, leftToRight, rightToLeft, rightToRight;
  int audible;
};

Matrix contribution(float gain, float pan, float wide)
{
  Matrix m{};
  m.audible = TovPcm::getContribution(&m.leftToLeft, &m.leftToRight, &m.rightToLeft,
                                      &m.rightToRight, gain, pan, wide);
  return m;
}

void expectMatrix(const Matrix& actual, const Matrix& expected)
{
  EXPECT_EQ(actual.leftToLeft, expected.leftToLeft);
  EXPECT_EQ(actual.leftToRight, expected.leftToRight);
  EXPECT_EQ(actual.rightToLeft, expected.rightToLeft);
  EXPECT_EQ(actual.rightToRight, expected.rightToRight);
  EXPECT_EQ(actual.audible, expected.audible);
}

/** Equal to the last bit; which NaN it is does not count. */
bool same(float a, float b)
{
  return (std::isnan(a) && std::isnan(b)) ||
         std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

void expectLikeReference(float gain, float pan, float wide)
{
  const Matrix actual = contribution(gain, pan, wide);
  const reference::Matrix expected = reference::panMatrix(gain, pan, wide);
  ASSERT_TRUE(same(actual.leftToLeft, expected.ll) && same(actual.leftToRight, expected.lr) &&
              same(actual.rightToLeft, expected.rl) && same(actual.rightToRight, expected.rr))
      << "gain " << gain << ", pan " << pan << ", width " << wide << ": " << actual.leftToLeft
      << ' ' << actual.leftToRight << ' ' << actual.rightToLeft << ' ' << actual.rightToRight;
  ASSERT_EQ(actual.audible, expected.audible)
      << "gain " << gain << ", pan " << pan << ", width " << wide;
}

} // namespace

TEST(ContributionTest, ACentredWideTrackPassesThrough)
{
  expectMatrix(contribution(1.0f, 0.0f, 1.0f), {1.0f, 0.0f, 0.0f, 1.0f, 3});
  expectMatrix(contribution(0.5f, 0.0f, 1.0f), {0.5f, 0.0f, 0.0f, 0.5f, 3});
  expectMatrix(contribution(8.0f, 0.0f, 1.0f), {8.0f, 0.0f, 0.0f, 8.0f, 3});
}

TEST(ContributionTest, WidthZeroFoldsBothChannelsOntoThePan)
{
  expectMatrix(contribution(1.0f, 0.0f, 0.0f), {0.5f, 0.5f, 0.5f, 0.5f, 3});
  expectMatrix(contribution(3.0f, 0.0f, 0.0f), {1.5f, 1.5f, 1.5f, 1.5f, 3});
  expectMatrix(contribution(1.0f, 0.5f, 0.0f), {0.25f, 0.75f, 0.25f, 0.75f, 3});
  expectMatrix(contribution(1.0f, -0.5f, 0.0f), {0.75f, 0.25f, 0.75f, 0.25f, 3});
}

TEST(ContributionTest, AtTheEdgesTheWidthDoesNotCount)
{
  for (const float wide : {-1.0f, -0.3f, 0.0f, 0.3f, 1.0f, 100.0f}) {
    expectMatrix(contribution(0.75f, 1.0f, wide), {0.0f, 0.75f, 0.0f, 0.75f, 1});
    expectMatrix(contribution(0.75f, -1.0f, wide), {0.75f, 0.0f, 0.75f, 0.0f, 2});
  }
}

TEST(ContributionTest, TheSpreadShrinksAsThePanMovesOffCentre)
{
  // Half right: the left channel stands at 0, the right one at the edge.
  expectMatrix(contribution(1.0f, 0.5f, 1.0f), {0.5f, 0.5f, 0.0f, 1.0f, 3});
  expectMatrix(contribution(1.0f, -0.5f, 1.0f), {1.0f, 0.0f, 0.5f, 0.5f, 3});
  expectMatrix(contribution(1.0f, 0.0f, 0.5f), {0.75f, 0.25f, 0.25f, 0.75f, 3});
  expectMatrix(contribution(1.0f, 0.5f, 0.5f), {0.375f, 0.625f, 0.125f, 0.875f, 3});
}

TEST(ContributionTest, ANegativeWidthSwapsTheSides)
{
  expectMatrix(contribution(1.0f, 0.0f, -1.0f), {0.0f, 1.0f, 1.0f, 0.0f, 3});
  expectMatrix(contribution(1.0f, 0.0f, -0.5f), {0.25f, 0.75f, 0.75f, 0.25f, 3});
}

TEST(ContributionTest, PositionsAreClampedToTheEdges)
{
  // A width above 1 would stand the channels outside.
  expectMatrix(contribution(1.0f, 0.0f, 3.0f), {1.0f, 0.0f, 0.0f, 1.0f, 3});
  expectMatrix(contribution(1.0f, 0.0f, -3.0f), {0.0f, 1.0f, 1.0f, 0.0f, 3});
  // So would a pan outside, whose spread is negative.
  expectMatrix(contribution(1.0f, 3.0f, 0.0f), {0.0f, 1.0f, 0.0f, 1.0f, 1});
  expectMatrix(contribution(1.0f, -3.0f, 0.0f), {1.0f, 0.0f, 1.0f, 0.0f, 2});
  expectMatrix(contribution(1.0f, 2.0f, 1.5f), {0.0f, 1.0f, 0.25f, 0.75f, 3});
  expectMatrix(contribution(1.0f, -2.0f, 1.5f), {0.75f, 0.25f, 1.0f, 0.0f, 3});
}

TEST(ContributionTest, TheLawIsLinear)
{
  for (int pan = -32; pan <= 32; ++pan) {
    for (int wide = -4; wide <= 4; ++wide) {
      const Matrix m =
          contribution(1.0f, static_cast<float>(pan) / 32.0f, static_cast<float>(wide) / 4.0f);
      EXPECT_EQ(m.leftToLeft + m.leftToRight, 1.0f);
      EXPECT_EQ(m.rightToLeft + m.rightToRight, 1.0f);
    }
  }
}

TEST(ContributionTest, OppositePansMirrorEachOther)
{
  for (int pan = 0; pan <= 32; ++pan) {
    for (int wide = -4; wide <= 4; ++wide) {
      const Matrix right =
          contribution(2.0f, static_cast<float>(pan) / 32.0f, static_cast<float>(wide) / 4.0f);
      const Matrix left =
          contribution(2.0f, static_cast<float>(-pan) / 32.0f, static_cast<float>(wide) / 4.0f);
      const int mirrored = (right.audible & 1) << 1 | right.audible >> 1;
      expectMatrix(left, {right.rightToRight, right.rightToLeft, right.leftToRight,
                          right.leftToLeft, mirrored});
    }
  }
}

TEST(ContributionTest, NoGainIsInaudible)
{
  for (const float pan : {-1.0f, -0.5f, 0.0f, 0.5f, 1.0f})
    EXPECT_EQ(contribution(0.0f, pan, 1.0f).audible, 0);
  EXPECT_EQ(contribution(-1.0f, 0.0f, 1.0f).audible, 0);
}

TEST(ContributionTest, AudibleIsAboveMinus90Decibels)
{
  const float silent = TovPcm::dBToFactor(TovPcm::kSilenceDB);
  EXPECT_EQ(contribution(silent, 0.0f, 1.0f).audible, 0);
  EXPECT_EQ(contribution(silent, 1.0f, 1.0f).audible, 0);
  EXPECT_EQ(contribution(silent, -1.0f, 1.0f).audible, 0);
  const float audible = std::nextafter(silent, 1.0f);
  EXPECT_EQ(contribution(audible, 0.0f, 1.0f).audible, 3);
  EXPECT_EQ(contribution(audible, 1.0f, 1.0f).audible, 1);
  EXPECT_EQ(contribution(audible, -1.0f, 1.0f).audible, 2);
  // Folded onto the centre each side gets only half of it.
  EXPECT_EQ(contribution(audible, 0.0f, 0.0f).audible, 0);
  EXPECT_EQ(contribution(2.0f * audible, 0.0f, 0.0f).audible, 3);
}

TEST(ContributionTest, EitherChannelMakesAnOutputAudible)
{
  // At half pan the left output gets the track's left channel alone, the right
  // output both; mirrored for the other side.
  EXPECT_EQ(contribution(1.0f, 0.5f, 1.0f).rightToLeft, 0.0f);
  EXPECT_EQ(contribution(1.0f, 0.5f, 1.0f).audible, 3);
  EXPECT_EQ(contribution(1.0f, -0.5f, 1.0f).leftToRight, 0.0f);
  EXPECT_EQ(contribution(1.0f, -0.5f, 1.0f).audible, 3);
  EXPECT_EQ(contribution(1.0f, 0.5f, -1.0f).leftToLeft, 0.0f);
  EXPECT_EQ(contribution(1.0f, 0.5f, -1.0f).audible, 3);
  EXPECT_EQ(contribution(1.0f, -0.5f, -1.0f).rightToRight, 0.0f);
  EXPECT_EQ(contribution(1.0f, -0.5f, -1.0f).audible, 3);
}

TEST(ContributionTest, EqualsTheReferenceOnAGrid)
{
  for (int gain = 0; gain <= 16; ++gain)
    for (int pan = -50; pan <= 50; ++pan)
      for (int wide = -25; wide <= 25; ++wide)
        expectLikeReference(static_cast<float>(gain) / 2.0f, static_cast<float>(pan) / 25.0f,
                            static_cast<float>(wide) / 12.5f);
}

TEST(ContributionTest, EqualsTheReferenceForAnyValues)
{
  Noise noise(120);
  for (int round = 0; round < 50000; ++round)
    expectLikeReference(8.0f * std::fabs(noise.sample()), 1.5f * noise.sample(),
                        1.5f * noise.sample());
  for (int round = 0; round < 50000; ++round)
    expectLikeReference(noise.wildSample(), noise.wildSample(), noise.wildSample());
}

TEST(ContributionTest, EqualsTheReferenceForValuesThatAreNoNumbers)
{
  const std::vector<float> values = {kNaN,
                                     -kNaN,
                                     kInfinity,
                                     -kInfinity,
                                     -1.0f,
                                     -0.0f,
                                     0.0f,
                                     0.5f,
                                     1.0f,
                                     std::numeric_limits<float>::max(),
                                     -std::numeric_limits<float>::max()};
  for (const float gain : values)
    for (const float pan : values)
      for (const float wide : values)
        expectLikeReference(gain, pan, wide);
}

TEST(ContributionTest, APanThatIsNoNumberIsInaudible)
{
  EXPECT_EQ(contribution(1.0f, kNaN, 1.0f).audible, 0);
  EXPECT_EQ(contribution(kNaN, 0.0f, 1.0f).audible, 0);
}
