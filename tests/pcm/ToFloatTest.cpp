#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/pcm/FormatRecord.h"
#include "tests/support/Buffers.h"

namespace {

using ByteBlock = std::vector<std::uint8_t>;

/** Big-endian bytes of one sample and the float that they stand for. */
struct Row {
  ByteBlock bigEndianBytes;
  float expected;
};

ByteBlock reversed(const ByteBlock& bytes)
{
  return {bytes.rbegin(), bytes.rend()};
}

float readOne(const ByteBlock& bytes, int encoding, bool bigEndian)
{
  float out = support::Buffers::kUntouched;
  EXPECT_EQ(TovPcm::toFloat(&out, bytes.data(), formatRecord(encoding, 1, bigEndian), 1), 0);
  return out;
}

void expectRows(int encoding, const std::vector<Row>& rows)
{
  for (const Row& row : rows) {
    SCOPED_TRACE("encoding " + std::to_string(encoding) + ", expected " +
                 std::to_string(row.expected));
    EXPECT_EQ(std::bit_cast<std::uint32_t>(readOne(row.bigEndianBytes, encoding, true)),
              std::bit_cast<std::uint32_t>(row.expected))
        << "most significant byte first";
    EXPECT_EQ(std::bit_cast<std::uint32_t>(readOne(reversed(row.bigEndianBytes), encoding, false)),
              std::bit_cast<std::uint32_t>(row.expected))
        << "least significant byte first";
  }
}

ByteBlock bytesOfWord(std::uint32_t value)
{
  return {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
          static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

} // namespace

TEST(ToFloatTest, Signed8BitIsScaledBy128)
{
  expectRows(EncS8, {{{0x80}, -1.0f},
                     {{0x81}, -127.0f / 128.0f},
                     {{0xFF}, -0.0078125f},
                     {{0x00}, 0.0f},
                     {{0x01}, 0.0078125f},
                     {{0x40}, 0.5f},
                     {{0x7F}, 0.9921875f}});
}

TEST(ToFloatTest, Unsigned8BitIsCentredAt128)
{
  expectRows(EncU8, {{{0x00}, -1.0f},
                     {{0x01}, -0.9921875f},
                     {{0x7F}, -0.0078125f},
                     {{0x80}, 0.0f},
                     {{0x81}, 0.0078125f},
                     {{0xFF}, 0.9921875f}});
}

TEST(ToFloatTest, Signed16BitIsScaledBy32768)
{
  expectRows(EncS16, {{{0x80, 0x00}, -1.0f},
                      {{0xFF, 0xFF}, -3.0517578125e-05f},
                      {{0x00, 0x00}, 0.0f},
                      {{0x00, 0x01}, 3.0517578125e-05f},
                      {{0x12, 0x34}, 4660.0f / 32768.0f},
                      {{0x7F, 0xFF}, 0.999969482421875f}});
}

TEST(ToFloatTest, Unsigned16BitIsCentredAt32768)
{
  expectRows(EncU16, {{{0x00, 0x00}, -1.0f},
                      {{0x00, 0x01}, -0.999969482421875f},
                      {{0x7F, 0xFF}, -3.0517578125e-05f},
                      {{0x80, 0x00}, 0.0f},
                      {{0x12, 0x34}, 4660.0f / 32768.0f - 1.0f},
                      {{0xFF, 0xFF}, 0.999969482421875f}});
}

TEST(ToFloatTest, Signed24BitTakesItsSignFromTheMostSignificantByte)
{
  expectRows(EncS24, {{{0x80, 0x00, 0x00}, -1.0f},
                      {{0xFF, 0xFF, 0xFF}, -1.1920928955078125e-07f},
                      {{0x00, 0x00, 0x00}, 0.0f},
                      {{0x00, 0x00, 0x01}, 1.1920928955078125e-07f},
                      {{0x00, 0x00, 0x80}, 128.0f / 8388608.0f},
                      {{0x00, 0x80, 0x00}, 32768.0f / 8388608.0f},
                      {{0x01, 0x02, 0x03}, 66051.0f / 8388608.0f},
                      {{0x7F, 0xFF, 0xFF}, 8388607.0f / 8388608.0f}});
}

TEST(ToFloatTest, Unsigned24BitIsCentredAt8388608)
{
  expectRows(EncU24, {{{0x00, 0x00, 0x00}, -1.0f},
                      {{0x00, 0x00, 0x01}, -8388607.0f / 8388608.0f},
                      {{0x7F, 0xFF, 0xFF}, -1.1920928955078125e-07f},
                      {{0x80, 0x00, 0x00}, 0.0f},
                      {{0x81, 0x02, 0x03}, 66051.0f / 8388608.0f},
                      {{0xFF, 0xFF, 0xFF}, 8388607.0f / 8388608.0f}});
}

TEST(ToFloatTest, Signed32BitIsRoundedToSinglePrecision)
{
  // Floats just below 2^31 stand 128 apart; ties go to the even one.
  expectRows(EncS32, {{{0x80, 0x00, 0x00, 0x00}, -1.0f},
                      {{0xFF, 0xFF, 0xFF, 0xFF}, -4.656612873077393e-10f},
                      {{0x00, 0x00, 0x00, 0x00}, 0.0f},
                      {{0x00, 0x00, 0x00, 0x01}, 4.656612873077393e-10f},
                      {{0x40, 0x00, 0x00, 0x00}, 0.5f},
                      {{0x7F, 0xFF, 0xFF, 0x80}, 0.99999994f},
                      {{0x7F, 0xFF, 0xFF, 0xBF}, 0.99999994f},
                      {{0x7F, 0xFF, 0xFF, 0xC0}, 1.0f},
                      {{0x7F, 0xFF, 0xFF, 0xFF}, 1.0f}});
}

TEST(ToFloatTest, Unsigned32BitIsConvertedAsUnsignedInSinglePrecision)
{
  expectRows(EncU32, {{{0x00, 0x00, 0x00, 0x00}, -1.0f},
                      {{0x00, 0x00, 0x00, 0x01}, -1.0f},
                      {{0x00, 0x00, 0x00, 0x80}, -0.99999994f},
                      {{0x40, 0x00, 0x00, 0x00}, -0.5f},
                      {{0x80, 0x00, 0x00, 0x00}, 0.0f},
                      {{0x80, 0x00, 0x00, 0x01}, 0.0f},
                      {{0x80, 0x00, 0x01, 0x00}, 1.1920929e-07f},
                      {{0xC0, 0x00, 0x00, 0x00}, 0.5f},
                      {{0xFF, 0xFF, 0xFF, 0xFF}, 1.0f}});
}

TEST(ToFloatTest, FloatsKeepEveryBit)
{
  for (const std::uint32_t pattern :
       {0x00000000u, 0x80000000u, 0x3F800000u, 0xBF800000u, 0x42C80000u, 0x00000001u, 0x807FFFFFu,
        0x7F800000u, 0xFF800000u, 0x7FC00000u, 0x7F812345u, 0xFF812345u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(pattern);
    expectRows(EncFloat32, {{bytesOfWord(pattern), std::bit_cast<float>(pattern)}});
  }
}

TEST(ToFloatTest, ScaledFloatsAreDividedBy32768)
{
  const float infinity = std::numeric_limits<float>::infinity();
  const std::vector<std::pair<float, float>> rows = {
      {32768.0f, 1.0f},          {-32768.0f, -1.0f},   {49152.0f, 1.5f},
      {1.0f, 3.0517578125e-05f}, {-0.0f, -0.0f},       {0x1p-126f, 0x1p-141f},
      {0x1p127f, 0x1p112f},      {infinity, infinity}, {-infinity, -infinity}};
  for (const auto& [stored, expected] : rows) {
    const ByteBlock bytes = reversed(bytesOfWord(std::bit_cast<std::uint32_t>(stored)));
    EXPECT_EQ(std::bit_cast<std::uint32_t>(readOne(bytes, EncFloat32Scaled16, false)),
              std::bit_cast<std::uint32_t>(expected))
        << stored;
  }
}

TEST(ToFloatTest, BigEndianScaledFloatsAreScaledAsTheyLieAndThenReversed)
{
  // 00 00 00 47 lies in memory as 32768.0; its product 1.0 is 3F800000.
  EXPECT_EQ(
      std::bit_cast<std::uint32_t>(readOne({0x00, 0x00, 0x00, 0x47}, EncFloat32Scaled16, true)),
      0x0000803Fu);
  EXPECT_EQ(
      std::bit_cast<std::uint32_t>(readOne({0x00, 0x00, 0x40, 0xC7}, EncFloat32Scaled16, true)),
      0x0000C0BFu);
  // 47 00 00 00, the properly ordered 32768.0, lies as 0x47 and is lost.
  EXPECT_EQ(
      std::bit_cast<std::uint32_t>(readOne({0x47, 0x00, 0x00, 0x00}, EncFloat32Scaled16, true)),
      0u);
}

TEST(ToFloatTest, OnlyTheLowestByteOfTheByteOrderFlagCounts)
{
  const ByteBlock bytes = {0x40, 0x20};
  TovAudioIOFormat format = formatRecord(EncS16, 1, false);
  for (const std::uint32_t flag : {0x00000100u, 0xFFFFFF00u, 0x80000000u}) {
    float out = 0.0f;
    format.bigEndian = flag;
    EXPECT_EQ(TovPcm::toFloat(&out, bytes.data(), format, 1), 0);
    EXPECT_EQ(out, 8256.0f / 32768.0f) << flag;
  }
  for (const std::uint32_t flag : {0x00000001u, 0x00000080u, 0xFFFFFFFFu, 0x000001F0u}) {
    float out = 0.0f;
    format.bigEndian = flag;
    EXPECT_EQ(TovPcm::toFloat(&out, bytes.data(), format, 1), 0);
    EXPECT_EQ(out, 0.5f + 32.0f / 32768.0f) << flag;
  }
}

TEST(ToFloatTest, SampleSizeRateAndLengthOfTheRecordAreNotRead)
{
  const ByteBlock bytes = {0x00, 0x40, 0x00, 0xC0};
  for (const std::uint32_t size : {0u, 1u, 4u, 0xFFFFFFFFu}) {
    TovAudioIOFormat format = formatRecord(EncS16, 1, false);
    format.bytesPerSample = size;
    format.sampleRate = size;
    format.frameCount = size == 0 ? std::numeric_limits<std::int64_t>::min() : 0;
    float out[2] = {};
    EXPECT_EQ(TovPcm::toFloat(out, bytes.data(), format, 2), 0);
    EXPECT_EQ(out[0], 0.5f);
    EXPECT_EQ(out[1], -0.5f);
  }
}

TEST(ToFloatTest, TheSameFileChannelMayFeedSeveralOutputs)
{
  const ByteBlock stereo = {0x10, 0x20, 0x30, 0x40};
  support::Buffers out(2, 2);
  EXPECT_EQ(TovPcm::toFloat(out.pointers(), support::channelMap({1, 1}), stereo.data(),
                            formatRecord(EncS8, 2, false), 2),
            0);
  EXPECT_EQ(out.samples(0), (std::vector<float>{0.25f, 0.5f}));
  EXPECT_EQ(out.samples(1), out.samples(0));
  EXPECT_TRUE(out.guardsIntact());
}

TEST(ToFloatTest, ChannelsTheFileLacksAreTheNearestOnes)
{
  const ByteBlock mono = {0x10, 0x20};
  support::Buffers sides(2, 2);
  EXPECT_EQ(TovPcm::toFloat(sides.pointers(), support::channelMap({0, 1}), mono.data(),
                            formatRecord(EncS8, 1, false), 2),
            0);
  EXPECT_EQ(sides.samples(0), (std::vector<float>{0.125f, 0.25f}));
  EXPECT_EQ(sides.samples(1), sides.samples(0));

  const ByteBlock three = {0x10, 0x20, 0x30};
  support::Buffers out(5, 1);
  EXPECT_EQ(TovPcm::toFloat(out.pointers(),
                            support::channelMap({-1, std::numeric_limits<int>::min(), 3,
                                                 std::numeric_limits<int>::max(), 1}),
                            three.data(), formatRecord(EncS8, 3, false), 1),
            0);
  EXPECT_EQ(out.samples(0)[0], 0.125f);
  EXPECT_EQ(out.samples(1)[0], 0.125f);
  EXPECT_EQ(out.samples(2)[0], 0.375f);
  EXPECT_EQ(out.samples(3)[0], 0.375f);
  EXPECT_EQ(out.samples(4)[0], 0.25f);
}

TEST(ToFloatTest, TheSingleBufferFormTakesTheFirstChannel)
{
  const ByteBlock stereo = {0x10, 0x70, 0x20, 0x70, 0x30, 0x70};
  support::Buffers out(1, 3);
  EXPECT_EQ(TovPcm::toFloat(out.channel(0), stereo.data(), formatRecord(EncS8, 2, false), 3), 0);
  EXPECT_EQ(out.samples(0), (std::vector<float>{0.125f, 0.25f, 0.375f}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST(ToFloatTest, TheSingleBufferFormReturnsTheGeneralFormsCodes)
{
  const ByteBlock bytes(16, 0x11);
  support::Buffers out(1, 4);
  TovAudioIOFormat format = formatRecord(EncS16, 1, false);
  EXPECT_EQ(TovPcm::toFloat(nullptr, bytes.data(), format, 4), 2);
  EXPECT_EQ(TovPcm::toFloat(out.channel(0), nullptr, format, 4), 1);
  EXPECT_EQ(TovPcm::toFloat(nullptr, nullptr, format, 4), 1);
  format.encoding = 10;
  EXPECT_EQ(TovPcm::toFloat(out.channel(0), bytes.data(), format, 4), 0);
  EXPECT_EQ(TovPcm::toFloat(nullptr, bytes.data(), format, 4), 2);
  format.state = FormatUnsupported;
  EXPECT_EQ(TovPcm::toFloat(out.channel(0), bytes.data(), format, 4), 1);
  EXPECT_TRUE(out.untouched());
}

TEST(ToFloatTest, UnusableArgumentsGiveOneAndWriteNothing)
{
  const ByteBlock bytes(64, 0x11);
  const TovAudioIOFormat format = formatRecord(EncS16, 2, false);
  support::Buffers out(2, 4);
  const TovNLPArray<float> none;
  EXPECT_EQ(TovPcm::toFloat(none, support::channelMap({}), bytes.data(), format, 4), 1);
  EXPECT_EQ(TovPcm::toFloat(none, support::channelMap({0}), bytes.data(), format, 4), 1);
  EXPECT_EQ(TovPcm::toFloat(out.pointers(), support::channelMap({}), bytes.data(), format, 4), 1);
  EXPECT_EQ(TovPcm::toFloat(out.pointers(), support::channelMap({0}), bytes.data(), format, 4), 1);
  EXPECT_EQ(
      TovPcm::toFloat(out.pointers(), support::channelMap({0, 1, 0}), bytes.data(), format, 4), 1);
  EXPECT_EQ(TovPcm::toFloat(out.pointers(), support::channelMap({0, 1}), nullptr, format, 4), 1);
  for (const std::uint32_t state : {0u, 1u, 3u, 0xFFFFFFFFu}) {
    TovAudioIOFormat unusable = format;
    unusable.state = state;
    EXPECT_EQ(
        TovPcm::toFloat(out.pointers(), support::channelMap({0, 1}), bytes.data(), unusable, 4), 1)
        << state;
  }
  EXPECT_TRUE(out.untouched());
}

TEST(ToFloatTest, ANullFirstBufferGivesTwoAfterTheOtherArguments)
{
  const ByteBlock bytes(64, 0x11);
  TovAudioIOFormat format = formatRecord(EncS16, 2, false);
  support::Buffers spare(1, 4);
  TovNLPArray<float> outputs;
  outputs.append(nullptr);
  outputs.append(spare.channel(0));
  const TovNLArray<int> map = support::channelMap({0, 1});

  EXPECT_EQ(TovPcm::toFloat(outputs, map, bytes.data(), format, 4), 2);
  EXPECT_EQ(TovPcm::toFloat(outputs, map, bytes.data(), format, 0), 2);
  EXPECT_EQ(TovPcm::toFloat(outputs, support::channelMap({0}), bytes.data(), format, 4), 1);
  EXPECT_EQ(TovPcm::toFloat(outputs, map, nullptr, format, 4), 1);
  format.encoding = 10;
  EXPECT_EQ(TovPcm::toFloat(outputs, map, bytes.data(), format, 4), 2);
  format.state = FormatNone;
  EXPECT_EQ(TovPcm::toFloat(outputs, map, bytes.data(), format, 4), 1);
  EXPECT_TRUE(spare.untouched());
}

TEST(ToFloatTest, LaterNullBuffersAreNotChecked)
{
  const ByteBlock bytes(64, 0x11);
  support::Buffers spare(1, 4);
  TovNLPArray<float> outputs;
  outputs.append(spare.channel(0));
  outputs.append(nullptr);
  EXPECT_EQ(TovPcm::toFloat(outputs, support::channelMap({0, 1}), bytes.data(),
                            formatRecord(EncS16, 2, false), 0),
            0);
  EXPECT_TRUE(spare.untouched());
}

TEST(ToFloatTest, UnknownEncodingsGiveZeroAndWriteNothing)
{
  const ByteBlock bytes(64, 0x11);
  support::Buffers out(2, 4);
  for (const std::uint32_t encoding : {10u, 11u, 255u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    TovAudioIOFormat format = formatRecord(0, 2, false);
    format.encoding = encoding;
    EXPECT_EQ(TovPcm::toFloat(out.pointers(), support::channelMap({0, 1}), bytes.data(), format, 4),
              0)
        << encoding;
  }
  EXPECT_TRUE(out.untouched());
}

TEST(ToFloatTest, NoFramesOrFewerConvertNothing)
{
  const ByteBlock bytes(64, 0x11);
  support::Buffers out(2, 4);
  // Some of these are positive in their low 32 bits.
  for (const long long frames :
       {0LL, -1LL, -4LL, -4294967296LL + 3, std::numeric_limits<long long>::min(),
        std::numeric_limits<long long>::min() + 2}) {
    for (int encoding = 0; encoding < 10; ++encoding) {
      for (const bool bigEndian : {false, true}) {
        const TovAudioIOFormat format = formatRecord(encoding, 2, bigEndian);
        EXPECT_EQ(TovPcm::toFloat(out.pointers(), support::channelMap({0, 1}), bytes.data(), format,
                                  frames),
                  0);
        EXPECT_EQ(TovPcm::toFloat(out.channel(0), bytes.data(),
                                  formatRecord(encoding, 1, bigEndian), frames),
                  0);
        EXPECT_EQ(
            TovPcm::toFloat(out.pointers(), support::channelMap({0, 1}), nullptr, format, frames),
            1);
      }
    }
  }
  EXPECT_TRUE(out.untouched());
}
