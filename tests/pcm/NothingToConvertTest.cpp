// Requests without channels, and phases that are no number.

#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "pcm/TovPcm.h"
#include "tests/pcm/FormatRecord.h"
#include "tests/pcm/Noise.h"
#include "tests/support/Buffers.h"

namespace {

TEST(NothingToConvertTest, DataWithoutChannelsLeavesTheOutputsAlone)
{
  const std::vector<std::uint8_t> data(64, 0x41);
  support::Buffers outputs(2, 8);
  for (int encoding = EncS8; encoding <= EncFloat32Scaled16; ++encoding)
    EXPECT_EQ(0, TovPcm::toFloat(outputs.pointers(), support::channelMap({0, 1}), data.data(),
                                 formatRecord(encoding, 0, false), 8));
  EXPECT_TRUE(outputs.untouched());
}

TEST(NothingToConvertTest, PhaseThatIsNoNumberIsZero)
{
  constexpr long long kFrames = 50;
  constexpr int kOrigin = 200;
  Noise noise(61);
  const std::vector<float> in = noise.samples(2 * kOrigin + 200);
  const auto resampled = [&](int quality, int outRate, int inRate, float phase) {
    support::Buffers out(1, kFrames);
    TovPcm::resample(quality, out.channel(0), in.data() + kOrigin, outRate, inRate, kFrames,
                     2 * kOrigin, phase);
    return support::bits(out.samples(0));
  };
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (int quality = 1; quality <= 3; ++quality)
    for (const int outRate : {44100, 48000, 32000})
      for (const float phase : {std::numeric_limits<float>::quiet_NaN(), kInfinity, -kInfinity})
        EXPECT_EQ(resampled(quality, outRate, 44100, 0.0f),
                  resampled(quality, outRate, 44100, phase));
}

} // namespace
