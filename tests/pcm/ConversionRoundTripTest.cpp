#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "tests/pcm/FormatRecord.h"
#include "tests/pcm/Noise.h"
#include "tests/support/Buffers.h"

namespace {

std::vector<float> throughFile(const std::vector<float>& in, int encoding, bool bigEndian)
{
  const TovAudioIOFormat format = formatRecord(encoding, 1, bigEndian);
  const auto frames = static_cast<long long>(in.size());
  std::vector<std::uint8_t> block(4 * in.size());
  std::vector<float> out(in.size(), support::Buffers::kUntouched);
  EXPECT_EQ(TovPcm::fromFloat(block.data(), in.data(), format, frames), 0);
  EXPECT_EQ(TovPcm::toFloat(out.data(), block.data(), format, frames), 0);
  return out;
}

std::vector<float> fullScale(std::uint32_t seed)
{
  Noise noise(seed);
  std::vector<float> values = noise.samples(20000);
  for (const float edge : {-1.0f, -0.0f, 0.0f, std::nextafter(1.0f, 0.0f),
                           std::nextafter(-1.0f, 0.0f), 0.99999f, 0x1p-126f, -0x1p-30f})
    values.push_back(edge);
  return values;
}

} // namespace

TEST(ConversionRoundTripTest, IntegersComeBackWithinOneStepAndNeverFurtherFromZero)
{
  const std::vector<std::pair<int, float>> steps = {{EncS8, 0x1p-7f},   {EncU8, 0x1p-7f},
                                                    {EncS16, 0x1p-15f}, {EncU16, 0x1p-15f},
                                                    {EncS24, 0x1p-23f}, {EncU24, 0x1p-23f}};
  for (const auto& [encoding, step] : steps) {
    for (const bool bigEndian : {false, true}) {
      const std::vector<float> in = fullScale(30);
      const std::vector<float> out = throughFile(in, encoding, bigEndian);
      for (std::size_t i = 0; i < in.size(); ++i) {
        ASSERT_LT(std::fabs(out[i] - in[i]), step) << "encoding " << encoding << ", " << in[i];
        ASSERT_LE(std::fabs(out[i]), std::fabs(in[i])) << "encoding " << encoding << ", " << in[i];
      }
    }
  }
}

TEST(ConversionRoundTripTest, Signed32BitComesBackExactlyBelowItsClamp)
{
  for (const bool bigEndian : {false, true}) {
    const std::vector<float> in = fullScale(31);
    const std::vector<float> out = throughFile(in, EncS32, bigEndian);
    for (std::size_t i = 0; i < in.size(); ++i) {
      // Steps of 2^-31 hold every float above 2^-8 in magnitude.
      const float expected = in[i] > 0.99999f ? 0.99999f : std::trunc(in[i] * 0x1p31f) * 0x1p-31f;
      ASSERT_EQ(out[i], expected) << in[i];
      if (std::fabs(in[i]) >= 0x1p-8f && in[i] <= 0.99999f) {
        ASSERT_EQ(out[i], in[i]);
      }
    }
  }
}

TEST(ConversionRoundTripTest, ValuesAboveTheClampComeBackAsTheClamp)
{
  for (const bool bigEndian : {false, true})
    for (const float sample : throughFile({0.999995f, 1.0f, 2.0f, 1.0e30f}, EncS32, bigEndian))
      EXPECT_EQ(sample, 0.99999f);
}

TEST(ConversionRoundTripTest, FloatsComeBackBitForBit)
{
  Noise noise(32);
  const std::vector<float> in = noise.wildSamples(20000);
  for (const bool bigEndian : {false, true})
    EXPECT_EQ(support::bits(throughFile(in, EncFloat32, bigEndian)), support::bits(in));
}

TEST(ConversionRoundTripTest, ScaledFloatsComeBackExactlyInLittleEndian)
{
  const std::vector<float> in = fullScale(33);
  EXPECT_EQ(support::bits(throughFile(in, EncFloat32Scaled16, false)), support::bits(in));
}

TEST(ConversionRoundTripTest, BigEndianScaledFloatsDoNotComeBack)
{
  // Written reversed after the scaling, but scaled before they are reversed
  // when read.
  const float out = throughFile({1.0f}, EncFloat32Scaled16, true)[0];
  EXPECT_EQ(std::bit_cast<std::uint32_t>(out), 0u);
}

TEST(ConversionRoundTripTest, EveryIntegerCodeSurvivesReadingAndWriting)
{
  for (int encoding = EncS8; encoding <= EncU24; ++encoding) {
    const int size = encoding / 2 + 1;
    for (const bool bigEndian : {false, true}) {
      Noise noise(34);
      const long long frames = 65536;
      std::vector<std::uint8_t> codes = noise.bytes(static_cast<std::size_t>(frames * size));
      for (std::size_t i = 0; i < 256; ++i)
        codes[i] = static_cast<std::uint8_t>(i);
      std::vector<std::uint8_t> back(codes.size());
      std::vector<float> values(static_cast<std::size_t>(frames));
      const TovAudioIOFormat format = formatRecord(encoding, 1, bigEndian);
      ASSERT_EQ(TovPcm::toFloat(values.data(), codes.data(), format, frames), 0);
      ASSERT_EQ(TovPcm::fromFloat(back.data(), values.data(), format, frames), 0);
      ASSERT_EQ(back, codes) << "encoding " << encoding;
    }
  }
}
