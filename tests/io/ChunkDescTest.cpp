#include <cstring>
#include <gtest/gtest.h>
#include <vector>

#include "io/TovAiffFormat.h"
#include "io/TovWavFormat.h"
#include "tests/support/Bytes.h"

namespace {

using support::Bytes;

TEST(WavChunkDesc, ReadsItsSizeLeastSignificantByteFirst)
{
  const Bytes bytes = Bytes().text("fmt ").u8(0x12).u8(0x34).u8(0x56).u8(0xf8);
  TovWavChunkDesc desc = {};
  fillChunkDesc(desc, bytes.data().data());
  EXPECT_EQ(std::memcmp(desc.id, "fmt ", 4), 0);
  EXPECT_EQ(desc.size, 0xf8563412u);
}

TEST(WavChunkDesc, WritesItsSizeLeastSignificantByteFirst)
{
  std::vector<std::uint8_t> bytes(9, 0xee);
  fillMemWithDesc(bytes.data(), TovWavChunkDesc{{'d', 'a', 't', 'a'}, 0xf8563412u});
  EXPECT_EQ(bytes, Bytes().text("data").u8(0x12).u8(0x34).u8(0x56).u8(0xf8).u8(0xee).data());
}

TEST(AiffChunkDesc, ReadsItsSizeMostSignificantByteFirst)
{
  const Bytes bytes = Bytes().text("COMM").u8(0xf2).u8(0x34).u8(0x56).u8(0x78);
  TovAiffChunkDesc desc = {};
  fillChunkDesc(desc, bytes.data().data());
  EXPECT_EQ(std::memcmp(desc.id, "COMM", 4), 0);
  EXPECT_EQ(desc.size, 0xf2345678u);
}

TEST(AiffChunkDesc, WritesItsSizeMostSignificantByteFirst)
{
  std::vector<std::uint8_t> bytes(9, 0xee);
  fillMemWithDesc(bytes.data(), TovAiffChunkDesc{{'S', 'S', 'N', 'D'}, 0xf2345678u});
  EXPECT_EQ(bytes, Bytes().text("SSND").u8(0xf2).u8(0x34).u8(0x56).u8(0x78).u8(0xee).data());
}

TEST(ChunkDesc, CopiesAnyBytesAsTheId)
{
  const Bytes bytes = Bytes().u8(0).u8(0xff).u8(0x80).u8(0).u32le(0);
  std::vector<std::uint8_t> back(8);
  TovWavChunkDesc wav = {};
  fillChunkDesc(wav, bytes.data().data());
  fillMemWithDesc(back.data(), wav);
  EXPECT_EQ(back, bytes.data());
  back.assign(8, 1);
  TovAiffChunkDesc aiff = {};
  fillChunkDesc(aiff, bytes.data().data());
  fillMemWithDesc(back.data(), aiff);
  EXPECT_EQ(back, bytes.data());
}

} // namespace
