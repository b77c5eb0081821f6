#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "tests/pcm/FormatRecord.h"
#include "tests/support/Buffers.h"

namespace {

using ByteBlock = std::vector<std::uint8_t>;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kLargest = std::numeric_limits<float>::max();
constexpr float kSmallest = std::numeric_limits<float>::denorm_min();
constexpr std::uint8_t kFill = 0xA5;

/** A sample and the integer whose low bytes are stored for it. */
struct Row {
  float x;
  std::int64_t stored;
};

std::size_t sampleSize(int encoding)
{
  return encoding < EncS16 ? 1 : encoding < EncS24 ? 2 : encoding < EncS32 ? 3 : 4;
}

/** The stored sample as an unsigned number. */
std::uint32_t writeOne(float x, int encoding, bool bigEndian)
{
  ByteBlock block(8, kFill);
  EXPECT_EQ(TovPcm::fromFloat(block.data() + 2, &x, formatRecord(encoding, 1, bigEndian), 1), 0);
  const std::size_t size = sampleSize(encoding);
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < size; ++i)
    value = value << 8 | block[2 + (bigEndian ? i : size - 1 - i)];
  for (const std::size_t outside : {std::size_t{0}, std::size_t{1}, 2 + size, 3 + size})
    EXPECT_EQ(block[outside], kFill);
  return value;
}

void expectRows(int encoding, const std::vector<Row>& rows)
{
  const int bitCount = static_cast<int>(8 * sampleSize(encoding));
  const std::uint32_t mask = static_cast<std::uint32_t>((std::uint64_t{1} << bitCount) - 1);
  for (const Row& row : rows) {
    for (const bool bigEndian : {false, true}) {
      EXPECT_EQ(writeOne(row.x, encoding, bigEndian), static_cast<std::uint32_t>(row.stored) & mask)
          << "encoding " << encoding << ", x " << std::hexfloat << row.x << ", big-endian "
          << bigEndian;
    }
  }
}

float below(float x)
{
  return std::nextafter(x, -kInfinity);
}

float above(float x)
{
  return std::nextafter(x, kInfinity);
}

const std::vector<Row> kRows8 = {{0.0f, 0},
                                 {-0.0f, 0},
                                 {kSmallest, 0},
                                 {-kSmallest, 0},
                                 {0x1p-7f, 1},
                                 {below(0x1p-7f), 0},
                                 {-0x1p-7f, -1},
                                 {above(-0x1p-7f), 0},
                                 {-0.0155f, -1},
                                 {0.5f, 64},
                                 {-0.5f, -64},
                                 {126.999f / 128.0f, 126},
                                 {0.99999f, 127},
                                 {1.0f, 127},
                                 {1.5f, 127},
                                 {-127.9f / 128.0f, -127},
                                 {-1.0f, -128},
                                 {-128.9f / 128.0f, -128},
                                 {-1.5f, -128},
                                 {1000.0f, 127},
                                 {below(0x1p24f), 127},
                                 {0x1p24f, -128},
                                 {above(-0x1p24f), -128},
                                 {-0x1p24f, -128},
                                 {below(-0x1p24f), -128},
                                 {kLargest, -128},
                                 {-kLargest, -128},
                                 {kInfinity, -128},
                                 {-kInfinity, -128},
                                 {kNaN, -128},
                                 {-kNaN, -128}};

const std::vector<Row> kRows16 = {{0.0f, 0},
                                  {-0.0f, 0},
                                  {kSmallest, 0},
                                  {-kSmallest, 0},
                                  {-0.00001f, 0},
                                  {0.00001f, 0},
                                  {0x1p-15f, 1},
                                  {below(0x1p-15f), 0},
                                  {-0x1p-15f, -1},
                                  {above(-0x1p-15f), 0},
                                  {0.5f, 16384},
                                  {-0.5f, -16384},
                                  {32766.75f / 32768.0f, 32766},
                                  {32767.75f / 32768.0f, 32767},
                                  {1.0f, 32767},
                                  {above(1.0f), 32767},
                                  {-32767.75f / 32768.0f, -32767},
                                  {-1.0f, -32768},
                                  {below(-1.0f), -32768},
                                  {-32769.5f / 32768.0f, -32768},
                                  {100.0f, 32767},
                                  {-100.0f, -32768},
                                  {below(0x1p16f), 32767},
                                  {0x1p16f, -32768},
                                  {-0x1p16f, -32768},
                                  {below(-0x1p16f), -32768},
                                  {kLargest, -32768},
                                  {kInfinity, -32768},
                                  {-kInfinity, -32768},
                                  {kNaN, -32768},
                                  {-kNaN, -32768}};

const std::vector<Row> kRows24 = {{0.0f, 0},
                                  {-0.0f, 0},
                                  {kSmallest, 0},
                                  {-kSmallest, 0},
                                  {0x1p-23f, 1},
                                  {below(0x1p-23f), 0},
                                  {-0x1p-23f, -1},
                                  {above(-0x1p-23f), 0},
                                  {0.5f, 4194304},
                                  {-0.5f, -4194304},
                                  {66051.0f / 8388608.0f, 66051},
                                  {below(1.0f), 8388607},
                                  {1.0f, 8388607},
                                  {above(1.0f), 8388607},
                                  {-1.0f, -8388608},
                                  {above(-1.0f), -8388607},
                                  {below(-1.0f), -8388608},
                                  {10.0f, 8388607},
                                  {-10.0f, -8388608},
                                  {below(0x1p8f), 8388607},
                                  {0x1p8f, -8388608},
                                  {-0x1p8f, -8388608},
                                  {below(-0x1p8f), -8388608},
                                  {kLargest, -8388608},
                                  {kInfinity, -8388608},
                                  {-kInfinity, -8388608},
                                  {kNaN, -8388608},
                                  {-kNaN, -8388608}};

std::vector<Row> shifted(std::vector<Row> rows, std::int64_t offset)
{
  for (Row& row : rows)
    row.stored += offset;
  return rows;
}

} // namespace

TEST(FromFloatTest, Signed8BitTruncatesThenClamps)
{
  expectRows(EncS8, kRows8);
}

TEST(FromFloatTest, Unsigned8BitIsTheSignedValuePlus128)
{
  expectRows(EncU8, shifted(kRows8, 128));
  EXPECT_EQ(writeOne(1.0f, EncU8, false), 255u);
  EXPECT_EQ(writeOne(-1.0f, EncU8, false), 0u);
}

TEST(FromFloatTest, Signed16BitTruncatesThenClamps)
{
  expectRows(EncS16, kRows16);
}

TEST(FromFloatTest, Unsigned16BitIsTheSignedValuePlus32768)
{
  expectRows(EncU16, shifted(kRows16, 32768));
}

TEST(FromFloatTest, Signed24BitTruncatesThenClamps)
{
  expectRows(EncS24, kRows24);
}

TEST(FromFloatTest, Unsigned24BitIsTheSignedValuePlus8388608)
{
  expectRows(EncU24, shifted(kRows24, 8388608));
}

TEST(FromFloatTest, Signed32BitClampsTheFloatBeforeScaling)
{
  expectRows(EncS32, {{0.0f, 0},
                      {-0.0f, 0},
                      {kSmallest, 0},
                      {0x1p-32f, 0},
                      {-0x1p-32f, 0},
                      {0x1p-31f, 1},
                      {-0x1p-31f, -1},
                      {-0x1.8p-31f, -1},
                      {0.5f, 1073741824},
                      {-0.5f, -1073741824},
                      {below(0.99999f), 2147462144 - 128},
                      {0.99999f, 2147462144},
                      {above(0.99999f), 2147462144},
                      {1.0f, 2147462144},
                      {1.5f, 2147462144},
                      {0x1p31f, 2147462144},
                      {kLargest, 2147462144},
                      {kInfinity, 2147462144},
                      {above(-1.0f), -2147483648LL + 128},
                      {-1.0f, -2147483648LL},
                      {below(-1.0f), -2147483648LL},
                      {-1.5f, -2147483648LL},
                      {-kLargest, -2147483648LL},
                      {-kInfinity, -2147483648LL},
                      {kNaN, -2147483648LL},
                      {-kNaN, -2147483648LL}});
}

TEST(FromFloatTest, Unsigned32BitIsOffsetInSinglePrecision)
{
  // Floats stand 128 apart below 2^31 and 256 apart above; ties go to the even
  // one.
  expectRows(EncU32, {{0.0f, 0x80000000},
                      {-0.0f, 0x80000000},
                      {0x1p-31f, 0x80000000},
                      {-0x1p-31f, 0x80000000},
                      {0x1p-24f, 0x80000000},
                      {0x1.8p-23f, 0x80000200},
                      {0x1p-23f, 0x80000100},
                      {-0x1p-24f, 0x7FFFFF80},
                      {0.5f, 0xC0000000},
                      {-0.5f, 0x40000000},
                      {0.99999f, 0xFFFFAC00},
                      {1.0f, 0xFFFFAC00},
                      {1.5f, 0xFFFFAC00},
                      {kLargest, 0xFFFFAC00},
                      {kInfinity, 0xFFFFAC00},
                      {above(-1.0f), 128},
                      {-1.0f, 0},
                      {-1.5f, 0},
                      {-kLargest, 0},
                      {-kInfinity, 0},
                      {kNaN, 0},
                      {-kNaN, 0}});
}

TEST(FromFloatTest, FloatsKeepEveryBit)
{
  for (const std::uint32_t pattern :
       {0x00000000u, 0x80000000u, 0x3F800000u, 0xBF800001u, 0x42C80000u, 0x00000001u, 0x807FFFFFu,
        0x7F800000u, 0xFF800000u, 0x7FC00000u, 0x7F812345u, 0xFF812345u}) {
    EXPECT_EQ(writeOne(std::bit_cast<float>(pattern), EncFloat32, false), pattern);
    EXPECT_EQ(writeOne(std::bit_cast<float>(pattern), EncFloat32, true), pattern);
  }
}

TEST(FromFloatTest, ScaledFloatsAreMultipliedBy32768WithoutClamp)
{
  const std::vector<std::pair<float, float>> rows = {
      {1.0f, 32768.0f},        {-1.0f, -32768.0f},    {1.5f, 49152.0f},
      {-100.0f, -3276800.0f},  {0.0f, 0.0f},          {-0.0f, -0.0f},
      {kSmallest, 0x1p-134f},  {0x1p113f, kInfinity}, {below(0x1p113f), kLargest},
      {-kLargest, -kInfinity}, {kInfinity, kInfinity}};
  for (const auto& [x, stored] : rows) {
    EXPECT_EQ(writeOne(x, EncFloat32Scaled16, false), std::bit_cast<std::uint32_t>(stored)) << x;
    EXPECT_EQ(writeOne(x, EncFloat32Scaled16, true), std::bit_cast<std::uint32_t>(stored)) << x;
  }
  EXPECT_TRUE(std::isnan(std::bit_cast<float>(writeOne(kNaN, EncFloat32Scaled16, true))));
}

TEST(FromFloatTest, OnlyTheLowestByteOfTheByteOrderFlagCounts)
{
  const float x = 8256.0f / 32768.0f;
  TovAudioIOFormat format = formatRecord(EncS16, 1, false);
  for (const std::uint32_t flag : {0x00000100u, 0xFFFFFF00u, 0x80000000u}) {
    ByteBlock block(2);
    format.bigEndian = flag;
    EXPECT_EQ(TovPcm::fromFloat(block.data(), &x, format, 1), 0);
    EXPECT_EQ(block, (ByteBlock{0x40, 0x20})) << flag;
  }
  for (const std::uint32_t flag : {0x00000001u, 0x00000080u, 0xFFFFFFFFu, 0x000001F0u}) {
    ByteBlock block(2);
    format.bigEndian = flag;
    EXPECT_EQ(TovPcm::fromFloat(block.data(), &x, format, 1), 0);
    EXPECT_EQ(block, (ByteBlock{0x20, 0x40})) << flag;
  }
}

TEST(FromFloatTest, InputOrderIsChannelOrderWhateverTheMapHolds)
{
  support::Buffers in(2, 3);
  for (int i = 0; i < 3; ++i) {
    in.channel(0)[i] = static_cast<float>(i) / 128.0f;
    in.channel(1)[i] = static_cast<float>(16 + i) / 128.0f;
  }
  const ByteBlock expected = {0, 16, 1, 17, 2, 18};
  for (const auto& map : {support::channelMap({0, 1}), support::channelMap({1, 0}),
                          support::channelMap({1, 1}), support::channelMap({-9, 1000000})}) {
    ByteBlock block(6, kFill);
    EXPECT_EQ(TovPcm::fromFloat(block.data(), map, in.pointers(), formatRecord(EncS8, 2, false), 3),
              0);
    EXPECT_EQ(block, expected);
  }
}

TEST(FromFloatTest, SampleSizeRateAndLengthOfTheRecordAreNotRead)
{
  const float x[2] = {0.5f, -0.5f};
  for (const std::uint32_t size : {0u, 1u, 4u, 0xFFFFFFFFu}) {
    TovAudioIOFormat format = formatRecord(EncS16, 1, false);
    format.bytesPerSample = size;
    format.sampleRate = size;
    format.frameCount = size == 0 ? std::numeric_limits<std::int64_t>::min() : 0;
    ByteBlock block(6, kFill);
    EXPECT_EQ(TovPcm::fromFloat(block.data(), x, format, 2), 0);
    EXPECT_EQ(block, (ByteBlock{0x00, 0x40, 0x00, 0xC0, kFill, kFill}));
  }
}

TEST(FromFloatTest, AnUnusableFormatGivesOneBeforeAnythingElse)
{
  ByteBlock block(32, kFill);
  support::Buffers in(2, 4);
  for (const std::uint32_t state : {0u, 1u, 3u, 0xFFFFFFFFu}) {
    TovAudioIOFormat format = formatRecord(EncS16, 2, false);
    format.state = state;
    EXPECT_EQ(
        TovPcm::fromFloat(block.data(), support::channelMap({0, 1}), in.pointers(), format, 4), 1);
    EXPECT_EQ(TovPcm::fromFloat(block.data(), support::channelMap({}), in.pointers(), format, 4),
              1);
    EXPECT_EQ(TovPcm::fromFloat(block.data(), support::channelMap({0}), in.pointers(), format, 4),
              1);
    EXPECT_EQ(TovPcm::fromFloat(block.data(), in.channel(0), format, 4), 1);
    format.encoding = 10;
    EXPECT_EQ(
        TovPcm::fromFloat(block.data(), support::channelMap({0, 1}), in.pointers(), format, 4), 1);
  }
  EXPECT_EQ(block, ByteBlock(32, kFill));
}

TEST(FromFloatTest, CountsThatDisagreeGiveTwoAndWriteNothing)
{
  ByteBlock block(64, kFill);
  support::Buffers two(2, 4);
  const TovNLPArray<float> none;
  const auto convert = [&](const TovNLArray<int>& map, const TovNLPArray<float>& inputs,
                           int channels, int encoding = EncS16) {
    return TovPcm::fromFloat(block.data(), map, inputs, formatRecord(encoding, channels, false), 4);
  };
  EXPECT_EQ(convert(support::channelMap({}), none, 2), 2);
  EXPECT_EQ(convert(support::channelMap({}), none, 0), 2);
  EXPECT_EQ(convert(support::channelMap({}), two.pointers(), 2), 2);
  EXPECT_EQ(convert(support::channelMap({0}), two.pointers(), 2), 2);
  EXPECT_EQ(convert(support::channelMap({0, 1, 0}), two.pointers(), 2), 2);
  EXPECT_EQ(convert(support::channelMap({0, 1}), two.pointers(), 1), 2);
  EXPECT_EQ(convert(support::channelMap({0, 1}), two.pointers(), 3), 2);
  EXPECT_EQ(convert(support::channelMap({0, 1}), two.pointers(), 0), 2);
  EXPECT_EQ(convert(support::channelMap({0}), two.pointers(), 1), 2);
  EXPECT_EQ(convert(support::channelMap({0}), two.pointers(), 2, 10), 2);
  EXPECT_EQ(block, ByteBlock(64, kFill));
}

TEST(FromFloatTest, TheSingleBufferFormConvertsMonoOnly)
{
  ByteBlock block(8, kFill);
  const float x[2] = {0.5f, -0.25f};
  EXPECT_EQ(TovPcm::fromFloat(block.data(), x, formatRecord(EncS8, 2, false), 1), 2);
  EXPECT_EQ(TovPcm::fromFloat(block.data(), x, formatRecord(EncS8, 0, false), 1), 2);
  EXPECT_EQ(TovPcm::fromFloat(block.data(), x, formatRecord(10, 2, false), 1), 2);
  EXPECT_EQ(TovPcm::fromFloat(block.data(), x, formatRecord(10, 1, false), 1), 0);
  EXPECT_EQ(block, ByteBlock(8, kFill));
  EXPECT_EQ(TovPcm::fromFloat(block.data(), x, formatRecord(EncS8, 1, false), 2), 0);
  EXPECT_EQ(block, (ByteBlock{0x40, 0xE0, kFill, kFill, kFill, kFill, kFill, kFill}));
}

TEST(FromFloatTest, UnknownEncodingsGiveZeroAndWriteNothing)
{
  ByteBlock block(64, kFill);
  support::Buffers in(2, 4);
  for (const std::uint32_t encoding : {10u, 11u, 255u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    TovAudioIOFormat format = formatRecord(0, 2, false);
    format.encoding = encoding;
    EXPECT_EQ(
        TovPcm::fromFloat(block.data(), support::channelMap({0, 1}), in.pointers(), format, 4), 0)
        << encoding;
  }
  EXPECT_EQ(block, ByteBlock(64, kFill));
}

TEST(FromFloatTest, NoFramesOrFewerConvertNothing)
{
  ByteBlock block(64, kFill);
  support::Buffers in(2, 4);
  // Some of these are positive in their low 32 bits.
  for (const long long frames :
       {0LL, -1LL, -4LL, -4294967296LL + 3, std::numeric_limits<long long>::min(),
        std::numeric_limits<long long>::min() + 2}) {
    for (int encoding = 0; encoding < 10; ++encoding) {
      for (const bool bigEndian : {false, true}) {
        EXPECT_EQ(TovPcm::fromFloat(block.data(), support::channelMap({0, 1}), in.pointers(),
                                    formatRecord(encoding, 2, bigEndian), frames),
                  0);
        EXPECT_EQ(TovPcm::fromFloat(block.data(), in.channel(0),
                                    formatRecord(encoding, 1, bigEndian), frames),
                  0);
      }
    }
  }
  EXPECT_EQ(block, ByteBlock(64, kFill));
}

TEST(FromFloatTest, BufferPointersAreNotChecked)
{
  TovNLPArray<float> nulls;
  nulls.append(nullptr);
  nulls.append(nullptr);
  EXPECT_EQ(TovPcm::fromFloat(nullptr, support::channelMap({0, 1}), nulls,
                              formatRecord(EncS16, 2, false), 0),
            0);
}
