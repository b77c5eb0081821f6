// --dither: the same in every run, and what triangular noise of two steps
// ought to be.
#include <algorithm>
#include <cmath>

#include "tests/app/MixTest.h"

namespace {

using support::IntegerSound;

class MixDither : public support::MixTest {
protected:
  static constexpr std::size_t kFrames = 200000;
  static constexpr std::size_t kFade = 960;

  /** The 16-bit codes behind the fade-in of a mix of a steady file, whose
   *  level is this many 16-bit steps, with dither. */
  IntegerSound dithered(double steps) const
  {
    writeSteady("steady.wav", {steps / 32768.0}, kFrames + 2 * kFade);
    IntegerSound mix = mixed({"steady.wav", "--bits", "16", "--dither"});
    for (std::vector<std::int32_t>& codes : mix.channels)
      codes.assign(codes.begin() + kFade, codes.begin() + kFade + kFrames);
    return mix;
  }

  static double mean(const std::vector<std::int32_t>& codes)
  {
    double sum = 0.0;
    for (const std::int32_t code : codes)
      sum += code;
    return sum / static_cast<double>(codes.size());
  }

  /** Mean product of two sequences' differences from a value, one moved. */
  static double covariance(const std::vector<std::int32_t>& a, const std::vector<std::int32_t>& b,
                           double value, std::size_t shift = 0)
  {
    double sum = 0.0;
    for (std::size_t i = 0; i + shift < a.size(); ++i)
      sum += (a[i] - value) * (b[i + shift] - value);
    return sum / static_cast<double>(a.size() - shift);
  }
};

TEST_F(MixDither, IsOffByDefault)
{
  writeSteady("steady.wav", {0.7 / 32768.0});
  const IntegerSound mix = mixed({"steady.wav", "--bits", "16"});
  EXPECT_TRUE(mix.channels[0] == std::vector<std::int32_t>(48000, 0));
}

TEST_F(MixDither, IsTheSameInEveryRun)
{
  dithered(0.3);
  const std::vector<std::uint8_t> first = folder.read("out.wav");
  dithered(0.3);
  EXPECT_EQ(folder.read("out.wav"), first);
}

// 200000 samples of deviation 0.5: the mean's own deviation is 0.0011, that of
// the power 0.0008.
TEST_F(MixDither, KeepsTheMeanAndHasTheSamePowerAtEveryLevel)
{
  for (const double steps : {0.0, 0.25, 0.5, 0.75, 0.90625, -0.375, 100.125}) {
    SCOPED_TRACE(steps);
    const IntegerSound mix = dithered(steps);
    for (const std::vector<std::int32_t>& codes : mix.channels) {
      EXPECT_NEAR(mean(codes), steps, 0.006);
      EXPECT_NEAR(covariance(codes, codes, steps), 0.25, 0.005);
    }
  }
}

TEST_F(MixDither, IsTriangular)
{
  // Around 0 the noise of -1 to 1 rounds to 0 with its inner half.
  const IntegerSound mix = dithered(0.0);
  for (const std::vector<std::int32_t>& codes : mix.channels) {
    double share[3] = {};
    for (const std::int32_t code : codes) {
      ASSERT_LE(std::abs(code), 1);
      share[code + 1] += 1.0 / static_cast<double>(kFrames);
    }
    EXPECT_NEAR(share[0], 0.125, 0.005);
    EXPECT_NEAR(share[1], 0.75, 0.006);
    EXPECT_NEAR(share[2], 0.125, 0.005);
  }
}

TEST_F(MixDither, OfSamplesAndChannelsIsIndependent)
{
  const IntegerSound mix = dithered(0.5);
  EXPECT_NE(mix.channels[0], mix.channels[1]);
  EXPECT_NEAR(covariance(mix.channels[0], mix.channels[1], 0.5), 0.0, 0.004);
  for (const std::size_t shift : {1u, 2u, 3u, 7u, 4096u})
    EXPECT_NEAR(covariance(mix.channels[0], mix.channels[0], 0.5, shift), 0.0, 0.004) << shift;
}

TEST_F(MixDither, IsThereInEverySizeButNotBeyondFullScale)
{
  for (const int bits : {8, 16, 24}) {
    const std::string size = std::to_string(bits);
    writeSteady("steady.wav", {0.0});
    const IntegerSound quiet = mixed({"steady.wav", "--bits", size, "--dither"});
    EXPECT_EQ(*std::max_element(quiet.channels[0].begin(), quiet.channels[0].end()), 1);
    EXPECT_EQ(*std::min_element(quiet.channels[0].begin(), quiet.channels[0].end()), -1);
    writeSteady("steady.wav", {-1.0});
    const IntegerSound loud = mixed({"steady.wav", "--bits", size, "--dither"});
    const int lowest = -(1 << (bits - 1));
    EXPECT_EQ(*std::min_element(loud.channels[0].begin(), loud.channels[0].end()), lowest);
    EXPECT_LE(loud.channels[0][kMiddle], lowest + 1);
  }
}

} // namespace
