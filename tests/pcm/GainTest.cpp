#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "tests/pcm/Noise.h"
#include "tests/reference/Gain.h"
#include "tests/support/Buffers.h"

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

void fill(support::Buffers& buffers, int channel, const std::vector<float>& values)
{
  for (std::size_t i = 0; i < values.size(); ++i)
    buffers.channel(channel)[i] = values[i];
}

} // namespace

TEST(GainTest, SilenceIsMinus90Decibels)
{
  EXPECT_EQ(TovPcm::kSilenceDB, -90.0f);
}

TEST(GainTest, DecibelsBecomeFactors)
{
  EXPECT_EQ(TovPcm::dBToFactor(0.0f), 1.0f);
  EXPECT_EQ(TovPcm::dBToFactor(-0.0f), 1.0f);
  EXPECT_EQ(TovPcm::dBToFactor(20.0f), 10.0f);
  EXPECT_EQ(TovPcm::dBToFactor(40.0f), 100.0f);
  EXPECT_EQ(TovPcm::dBToFactor(-20.0f), 0.1f);
  EXPECT_NEAR(TovPcm::dBToFactor(-6.0206f), 0.5f, 1e-6f);
  EXPECT_NEAR(TovPcm::dBToFactor(6.0f), 1.9952623f, 1e-6f);
  EXPECT_NEAR(TovPcm::dBToFactor(-82.0f), 7.9433e-05f, 1e-9f);
  EXPECT_NEAR(TovPcm::dBToFactor(-90.0f), 3.1623e-05f, 1e-9f);
}

TEST(GainTest, DecibelsAtTheEndsOfTheRange)
{
  EXPECT_EQ(TovPcm::dBToFactor(-kInfinity), 0.0f);
  EXPECT_EQ(TovPcm::dBToFactor(-10000.0f), 0.0f);
  EXPECT_EQ(TovPcm::dBToFactor(kInfinity), kInfinity);
  EXPECT_EQ(TovPcm::dBToFactor(10000.0f), kInfinity);
  EXPECT_TRUE(std::isnan(TovPcm::dBToFactor(std::numeric_limits<float>::quiet_NaN())));
}

TEST(GainTest, FactorsAreComputedInDoublePrecision)
{
  Noise noise(110);
  for (int round = 0; round < 20000; ++round) {
    const float dB = 200.0f * noise.sample();
    ASSERT_EQ(TovPcm::dBToFactor(dB),
              static_cast<float>(std::pow(10.0, static_cast<double>(dB) / 20.0)))
        << dB;
    ASSERT_EQ(TovPcm::dBToFactor(dB), reference::decibelsToFactor(dB)) << dB;
  }
}

TEST(GainTest, AmplifiesEveryLengthLikeTheReference)
{
  Noise noise(111);
  for (int frames = 0; frames < 70; ++frames) {
    for (const float dB : {-90.0f, -3.0f, 0.0f, 6.0f, 30.0f}) {
      const std::vector<float> in = noise.samples(frames);
      support::Buffers out(1, frames);
      TovPcm::amplifyDB(out.channel(0), in.data(), frames, dB);
      EXPECT_EQ(support::bits(out.samples(0)), support::bits(reference::amplify(in, dB))) << frames;
      EXPECT_TRUE(out.guardsIntact());
    }
  }
}

TEST(GainTest, AmplifiesInPlace)
{
  Noise noise(112);
  for (int frames = 0; frames < 70; ++frames) {
    const std::vector<float> in = noise.samples(frames);
    support::Buffers buffer(1, frames);
    fill(buffer, 0, in);
    TovPcm::amplifyDB(buffer.channel(0), buffer.channel(0), frames, -7.5f);
    EXPECT_EQ(support::bits(buffer.samples(0)), support::bits(reference::amplify(in, -7.5f)));
    EXPECT_TRUE(buffer.guardsIntact());
  }
}

TEST(GainTest, AmplifyingDoesNotClip)
{
  const float in = 0.8f;
  float out = 0.0f;
  TovPcm::amplifyDB(&out, &in, 1, 6.0f);
  EXPECT_NEAR(out, 1.596f, 5e-4f);
  TovPcm::amplifyDB(&out, &in, 1, 60.0f);
  EXPECT_NEAR(out, 800.0f, 1e-3f);
  const float negative = -0.8f;
  TovPcm::amplifyDB(&out, &negative, 1, 60.0f);
  EXPECT_NEAR(out, -800.0f, 1e-3f);
}

TEST(GainTest, ZeroDecibelsCopyAndMinusInfinitySilences)
{
  Noise noise(113);
  const std::vector<float> in = noise.samples(100);
  std::vector<float> out(100, 9.0f);
  TovPcm::amplifyDB(out.data(), in.data(), 100, 0.0f);
  EXPECT_EQ(out, in);
  TovPcm::amplifyDB(out.data(), in.data(), 100, -kInfinity);
  EXPECT_EQ(out, std::vector<float>(100, 0.0f));
}

TEST(GainTest, AmplifyingInPiecesEqualsTheWhole)
{
  Noise noise(114);
  const std::vector<float> in = noise.samples(509);
  const std::vector<float> whole = reference::amplify(in, 4.5f);
  for (const long long cut : {0LL, 1LL, 7LL, 8LL, 9LL, 255LL, 508LL, 509LL}) {
    std::vector<float> out(509);
    TovPcm::amplifyDB(out.data(), in.data(), cut, 4.5f);
    TovPcm::amplifyDB(out.data() + cut, in.data() + cut, 509 - cut, 4.5f);
    EXPECT_EQ(support::bits(out), support::bits(whole));
  }
}

TEST(GainTest, OnlyTheLow32BitsOfACountMatter)
{
  const std::vector<float> in(40, 0.25f);
  const std::vector<float> other(40, 1.0f);
  for (const long long frames : {0LL, 1LL, 7LL, 8LL, 13LL, 40LL}) {
    for (const long long high : {1LL << 32, -1LL << 32, 5LL << 40}) {
      support::Buffers out(2, 40);
      TovPcm::amplifyDB(out.channel(0), in.data(), high + frames, 0.0f);
      for (long long i = 0; i < 40; ++i)
        EXPECT_EQ(out.channel(0)[i], i < frames ? 0.25f : support::Buffers::kUntouched)
            << high + frames;
      TovPcm::removeCenterChannel(out.channel(0), out.channel(1), in.data(), other.data(),
                                  high + frames);
      for (long long i = 0; i < 40; ++i)
        EXPECT_EQ(out.channel(1)[i], i < frames ? -0.75f : support::Buffers::kUntouched)
            << high + frames;
      EXPECT_TRUE(out.guardsIntact());
    }
  }
}

TEST(GainTest, NegativeCountsWriteNothing)
{
  const std::vector<float> in(16, 0.25f);
  support::Buffers out(2, 16);
  for (const long long frames : {0LL, -1LL, -16LL}) {
    TovPcm::amplifyDB(out.channel(0), in.data(), frames, 6.0f);
    TovPcm::removeCenterChannel(out.channel(0), out.channel(1), in.data(), in.data(), frames);
  }
  EXPECT_TRUE(out.untouched());
}

TEST(GainTest, RemovingTheCentreGivesTheDifferenceOnBothSides)
{
  const float left[3] = {0.5f, 0.25f, -1.0f};
  const float right[3] = {-0.5f, 0.25f, 1.0f};
  float outLeft[3] = {};
  float outRight[3] = {};
  TovPcm::removeCenterChannel(outLeft, outRight, left, right, 3);
  EXPECT_EQ(outLeft[0], 1.0f);
  EXPECT_EQ(outRight[0], 1.0f);
  EXPECT_EQ(outLeft[1], 0.0f);
  EXPECT_EQ(outRight[1], 0.0f);
  EXPECT_EQ(outLeft[2], -2.0f);
  EXPECT_EQ(outRight[2], -2.0f);
}

TEST(GainTest, RemovingTheCentreOfEqualSidesIsSilence)
{
  Noise noise(115);
  const std::vector<float> same = noise.samples(509);
  support::Buffers out(2, 509);
  TovPcm::removeCenterChannel(out.channel(0), out.channel(1), same.data(), same.data(), 509);
  EXPECT_EQ(out.samples(0), std::vector<float>(509, 0.0f));
  EXPECT_EQ(out.samples(1), std::vector<float>(509, 0.0f));
}

TEST(GainTest, RemovesTheCentreOfEveryLengthLikeTheReference)
{
  Noise noise(116);
  for (int frames = 0; frames < 70; ++frames) {
    const std::vector<float> left = noise.samples(frames);
    const std::vector<float> right = noise.samples(frames);
    const reference::Stereo expected = reference::removeCentre(left, right);
    support::Buffers out(2, frames);
    TovPcm::removeCenterChannel(out.channel(0), out.channel(1), left.data(), right.data(), frames);
    EXPECT_EQ(support::bits(out.samples(0)), support::bits(expected.left));
    EXPECT_EQ(support::bits(out.samples(1)), support::bits(expected.right));
    EXPECT_TRUE(out.guardsIntact());
  }
}

TEST(GainTest, TheCentreMayBeRemovedInPlace)
{
  Noise noise(117);
  for (int frames = 0; frames < 40; ++frames) {
    const std::vector<float> left = noise.samples(frames);
    const std::vector<float> right = noise.samples(frames);
    const std::vector<unsigned int> expected =
        support::bits(reference::removeCentre(left, right).left);
    // Which input buffer each output is; 2 is a buffer of its own.
    for (int outLeft = 0; outLeft <= 2; ++outLeft) {
      for (int outRight = 0; outRight <= 2; ++outRight) {
        support::Buffers buffers(3, frames);
        fill(buffers, 0, left);
        fill(buffers, 1, right);
        TovPcm::removeCenterChannel(buffers.channel(outLeft), buffers.channel(outRight),
                                    buffers.channel(0), buffers.channel(1), frames);
        EXPECT_EQ(support::bits(buffers.samples(outLeft)), expected)
            << outLeft << outRight << frames;
        EXPECT_EQ(support::bits(buffers.samples(outRight)), expected)
            << outLeft << outRight << frames;
        EXPECT_TRUE(buffers.guardsIntact());
      }
    }
  }
}
