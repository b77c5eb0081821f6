// The numbers of blobs: most significant byte first, whatever the processor.

#include <bit>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioProvider.h"
#include "tests/support/Bytes.h"

namespace {

using support::Bytes;

template <typename Value>
std::vector<std::uint8_t> written(Value value)
{
  std::vector<std::uint8_t> bytes(16, 0xcc);
  unsigned char* cursor = bytes.data();
  TovAudioProvider::writeVal(&cursor, value);
  const std::ptrdiff_t moved = cursor - bytes.data();
  for (std::size_t i = static_cast<std::size_t>(moved); i < bytes.size(); ++i)
    EXPECT_EQ(0xcc, bytes[i]) << "written behind the value";
  bytes.resize(static_cast<std::size_t>(moved));
  return bytes;
}

template <typename Value>
Value readBack(const Bytes& bytes, Value (*read)(unsigned char**))
{
  std::vector<std::uint8_t> copy = bytes.data();
  unsigned char* cursor = copy.data();
  const Value value = read(&cursor);
  EXPECT_EQ(copy.data() + copy.size(), cursor);
  EXPECT_EQ(bytes.data(), copy);
  return value;
}

TEST(BlobPrimitivesTest, WritesTheMostSignificantByteFirst)
{
  EXPECT_EQ(Bytes().u16be(0x1234).data(), written(static_cast<unsigned short>(0x1234)));
  EXPECT_EQ(Bytes().u8(0).u8(0).u8(0).u8(1).data(), written(1u));
  EXPECT_EQ(Bytes().u32be(0x89abcdef).data(), written(0x89abcdefu));
  EXPECT_EQ(Bytes().u8(0x3f).u8(0x80).u8(0).u8(0).data(), written(1.0f));
  EXPECT_EQ(Bytes().u8(0x3f).u8(0xf0).zeros(6).data(), written(1.0));
  EXPECT_EQ(Bytes().u32be(0x40091eb8).u32be(0x51eb851f).data(), written(3.14));
}

TEST(BlobPrimitivesTest, ReadsTheMostSignificantByteFirst)
{
  EXPECT_EQ(0x1234, readBack(Bytes().u8(0x12).u8(0x34), TovAudioProvider::readUShort));
  EXPECT_EQ(0x89abcdefu,
            readBack(Bytes().u8(0x89).u8(0xab).u8(0xcd).u8(0xef), TovAudioProvider::readUInt));
  EXPECT_EQ(-2.0f, readBack(Bytes().u8(0xc0).zeros(3), TovAudioProvider::readFloat));
  EXPECT_EQ(1.0, readBack(Bytes().u8(0x3f).u8(0xf0).zeros(6), TovAudioProvider::readDouble));
}

TEST(BlobPrimitivesTest, ReadsExtremeValues)
{
  EXPECT_EQ(0xffff, readBack(Bytes().u16be(0xffff), TovAudioProvider::readUShort));
  EXPECT_EQ(0x8000, readBack(Bytes().u16be(0x8000), TovAudioProvider::readUShort));
  EXPECT_EQ(0xffffffffu, readBack(Bytes().u32be(0xffffffff), TovAudioProvider::readUInt));
  EXPECT_EQ(std::numeric_limits<double>::denorm_min(),
            readBack(Bytes().zeros(7).u8(1), TovAudioProvider::readDouble));
  EXPECT_EQ(std::numeric_limits<float>::denorm_min(),
            readBack(Bytes().zeros(3).u8(1), TovAudioProvider::readFloat));
}

TEST(BlobPrimitivesTest, ValuesFollowEachOtherAtAnyAlignment)
{
  unsigned char bytes[32] = {};
  unsigned char* cursor = bytes + 1;
  TovAudioProvider::writeVal(&cursor, 0.1);
  TovAudioProvider::writeVal(&cursor, 0.1f);
  TovAudioProvider::writeVal(&cursor, static_cast<unsigned short>(65535));
  TovAudioProvider::writeVal(&cursor, 4000000000u);
  EXPECT_EQ(bytes + 1 + 8 + 4 + 2 + 4, cursor);
  cursor = bytes + 1;
  EXPECT_EQ(0.1, TovAudioProvider::readDouble(&cursor));
  EXPECT_EQ(0.1f, TovAudioProvider::readFloat(&cursor));
  EXPECT_EQ(65535, TovAudioProvider::readUShort(&cursor));
  EXPECT_EQ(4000000000u, TovAudioProvider::readUInt(&cursor));
  EXPECT_EQ(bytes + 1 + 8 + 4 + 2 + 4, cursor);
}

TEST(BlobPrimitivesTest, EveryBitPatternGoesThrough)
{
  std::mt19937_64 random(30);
  for (int i = 0; i < 20000; ++i) {
    const std::uint64_t pattern = random();
    const std::uint32_t half = static_cast<std::uint32_t>(pattern);
    const std::vector<std::uint8_t> wide =
        Bytes().u32be(pattern >> 32).u32be(pattern & 0xffffffff).data();
    ASSERT_EQ(wide, written(std::bit_cast<double>(pattern)));
    ASSERT_EQ(pattern, std::bit_cast<std::uint64_t>(
                           readBack(Bytes().append(wide), TovAudioProvider::readDouble)));
    ASSERT_EQ(Bytes().u32be(half).data(), written(std::bit_cast<float>(half)));
    ASSERT_EQ(half, std::bit_cast<std::uint32_t>(
                        readBack(Bytes().u32be(half), TovAudioProvider::readFloat)));
    ASSERT_EQ(half, readBack(Bytes().u32be(half), TovAudioProvider::readUInt));
  }
}

TEST(BlobPrimitivesTest, NaNsAndSignedZerosKeepTheirBits)
{
  for (const std::uint32_t pattern : {0x7fc00000u, 0x7f800001u, 0xffbfffffu, 0x80000000u})
    EXPECT_EQ(Bytes().u32be(pattern).data(), written(std::bit_cast<float>(pattern)));
  for (const std::uint64_t pattern :
       {0x7ff0000000000001u, 0xfff8000000000000u, 0x8000000000000000u})
    EXPECT_EQ(Bytes().u32be(pattern >> 32).u32be(pattern & 0xffffffff).data(),
              written(std::bit_cast<double>(pattern)));
}

TEST(BlobPrimitivesTest, SwabReversesTheBytesOfADouble)
{
  EXPECT_EQ(0x000000000000f03fu, std::bit_cast<std::uint64_t>(TovSwab(1.0)));
  EXPECT_EQ(0x0807060504030201u,
            std::bit_cast<std::uint64_t>(TovSwab(std::bit_cast<double>(0x0102030405060708u))));
}

TEST(BlobPrimitivesTest, SwabTwiceIsTheSameDouble)
{
  std::mt19937_64 random(31);
  for (int i = 0; i < 10000; ++i) {
    const std::uint64_t pattern = random();
    ASSERT_EQ(pattern,
              std::bit_cast<std::uint64_t>(TovSwab(TovSwab(std::bit_cast<double>(pattern)))));
  }
}

} // namespace
