#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/FileFormats.h"
#include "tests/support/TempFolder.h"

// What the writers store for samples beyond full scale, infinite ones and
// those that are no numbers.

namespace {

using support::Bytes;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();

/** The sample bytes that a writer makes of mono samples. */
template <typename Format>
std::vector<std::uint8_t> stored(std::uint32_t bytes, const std::vector<float>& samples)
{
  const support::TempFolder folder;
  support::Signal signal = {samples};
  typename Format::Writer writer;
  EXPECT_EQ(writer.initialize(folder.path("out").c_str(), support::request(8000, bytes, 1)), 0);
  EXPECT_EQ(writer.writeChannels(support::pointers(signal), 0, static_cast<int>(samples.size())),
            0);
  writer.close();
  const std::vector<std::uint8_t> file = folder.read("out");
  return {file.begin() + Format::kHeaderBytes, file.end()};
}

TEST(OutOfRangeSample, BeyondFullScaleIsTheNearestCode)
{
  const std::vector<float> samples = {1.0f, -1.0f, 1.5f, -1.5f, 100.0f, -100.0f};
  EXPECT_EQ(stored<support::Wav>(1, samples),
            Bytes().u8(255).u8(0).u8(255).u8(0).u8(255).u8(0).data());
  EXPECT_EQ(stored<support::Aiff>(1, samples),
            Bytes().u8(0x7f).u8(0x80).u8(0x7f).u8(0x80).u8(0x7f).u8(0x80).data());
  EXPECT_EQ(stored<support::Wav>(2, samples), Bytes()
                                                  .u16le(0x7fff)
                                                  .u16le(0x8000)
                                                  .u16le(0x7fff)
                                                  .u16le(0x8000)
                                                  .u16le(0x7fff)
                                                  .u16le(0x8000)
                                                  .data());
  EXPECT_EQ(stored<support::Aiff>(3, samples),
            Bytes().u24be(0x7fffff).u24be(0x800000).u24be(0x7fffff).u24be(0x800000)
                .u24be(0x7fffff).u24be(0x800000).data());
}

TEST(OutOfRangeSample, BeyondA32BitIntegerIsTheLowestCodeOnBothSides)
{
  // 2^31 is reached at 2^24, 2^16 and 2^8 times full scale.
  for (const float huge : {0x1p24f, 0x1p30f, 3.0e38f, -0x1p25f, -3.0e38f}) {
    EXPECT_EQ(stored<support::Wav>(1, {huge}), Bytes().u8(0).data()) << huge;
    EXPECT_EQ(stored<support::Aiff>(1, {huge}), Bytes().u8(0x80).data()) << huge;
  }
  for (const float huge : {0x1p16f, 0x1p20f, 3.0e38f, -0x1p17f, -3.0e38f}) {
    EXPECT_EQ(stored<support::Wav>(2, {huge}), Bytes().u16le(0x8000).data()) << huge;
    EXPECT_EQ(stored<support::Aiff>(2, {huge}), Bytes().u16be(0x8000).data()) << huge;
  }
  for (const float huge : {0x1p8f, 0x1p20f, 3.0e38f, -0x1p9f, -3.0e38f}) {
    EXPECT_EQ(stored<support::Wav>(3, {huge}), Bytes().u24le(0x800000).data()) << huge;
    EXPECT_EQ(stored<support::Aiff>(3, {huge}), Bytes().u24be(0x800000).data()) << huge;
  }
}

TEST(OutOfRangeSample, JustBelowThatItIsStillTheNearestCode)
{
  EXPECT_EQ(stored<support::Wav>(1, {std::nextafter(0x1p24f, 0.0f)}), Bytes().u8(255).data());
  EXPECT_EQ(stored<support::Wav>(2, {std::nextafter(0x1p16f, 0.0f)}), Bytes().u16le(0x7fff).data());
  EXPECT_EQ(stored<support::Aiff>(3, {std::nextafter(0x1p8f, 0.0f)}),
            Bytes().u24be(0x7fffff).data());
}

TEST(OutOfRangeSample, InfinitiesAndNotANumberAreTheLowestCode)
{
  const std::vector<float> samples = {kInfinity, -kInfinity, kNotANumber, -kNotANumber};
  EXPECT_EQ(stored<support::Wav>(1, samples), Bytes().zeros(4).data());
  EXPECT_EQ(stored<support::Aiff>(1, samples), Bytes().u8(0x80).u8(0x80).u8(0x80).u8(0x80).data());
  EXPECT_EQ(stored<support::Wav>(2, samples),
            Bytes().u16le(0x8000).u16le(0x8000).u16le(0x8000).u16le(0x8000).data());
  EXPECT_EQ(stored<support::Aiff>(2, samples),
            Bytes().u16be(0x8000).u16be(0x8000).u16be(0x8000).u16be(0x8000).data());
  EXPECT_EQ(stored<support::Wav>(3, samples),
            Bytes().u24le(0x800000).u24le(0x800000).u24le(0x800000).u24le(0x800000).data());
  EXPECT_EQ(stored<support::Aiff>(3, samples),
            Bytes().u24be(0x800000).u24be(0x800000).u24be(0x800000).u24be(0x800000).data());
}

TEST(OutOfRangeSample, ThirtyTwoBitIntegersClampBeforeTheyScale)
{
  // 2147462144 is what 0.99999 gives in single precision.
  EXPECT_EQ(stored<support::Aiff>(4, {1.0f, 3.0e38f, kInfinity, -1.0f, -3.0e38f, -kInfinity}),
            Bytes().u32be(2147462144).u32be(2147462144).u32be(2147462144)
                .u32be(0x80000000).u32be(0x80000000).u32be(0x80000000).data());
  EXPECT_EQ(stored<support::Aiff>(4, {kNotANumber}), Bytes().u32be(0x80000000).data());
}

TEST(OutOfRangeSample, ThirtyTwoBitFloatsAreNotClamped)
{
  EXPECT_EQ(stored<support::Wav>(4, {16.0f, kInfinity, -kInfinity}),
            Bytes().u32le(0x49000000).u32le(0x7f800000).u32le(0xff800000).data());
  // Beyond the largest float.
  EXPECT_EQ(stored<support::Wav>(4, {3.0e38f}), Bytes().u32le(0x7f800000).data());
  const std::vector<std::uint8_t> bytes = stored<support::Wav>(4, {kNotANumber});
  ASSERT_EQ(bytes.size(), 4u);
  EXPECT_EQ(bytes[3] & 0x7f, 0x7f);
  EXPECT_EQ(bytes[2] & 0xc0, 0xc0);
}

TEST(OutOfRangeSample, ThirtyTwoBitFloatsComeBackAsTheyWere)
{
  const support::TempFolder folder;
  const std::string path = folder.path("out.wav");
  support::Signal signal = {
      {0.0f, 1.0f, -1.0f, 15.75f, kInfinity, -kInfinity, 0x1p-100f, kNotANumber}};
  TovWavWriter writer;
  ASSERT_EQ(writer.initialize(path.c_str(), support::request(8000, 4, 1)), 0);
  ASSERT_EQ(writer.writeChannels(support::pointers(signal), 0, 8), 0);
  writer.close();
  TovWavReader reader;
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  std::vector<float> back(8);
  ASSERT_EQ(reader.readChannel(back.data(), 0, 0, 8), 0);
  EXPECT_TRUE(std::isnan(back[7]));
  back[7] = signal[0][7] = 0.0f;
  EXPECT_EQ(back, signal[0]);
}

} // namespace
