#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "io/TovWavReader.h"
#include "tests/support/Bytes.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;

struct Details {
  int status = -1;
  TovWavFmtChunk fmt = {};
  long long dataOffset = -1;
  long long dataSize = -1;
};

Details detailsAt(const std::string& path)
{
  TovFile file;
  EXPECT_EQ(file.open(path.c_str(), "r"), 0);
  Details details;
  details.status =
      TovWavReader::getWavDetails(file, &details.fmt, &details.dataOffset, &details.dataSize);
  return details;
}

/** The walk's result; it must have said nothing. */
Details detailsOf(const Bytes& content)
{
  const support::TempFolder folder;
  support::Messages messages;
  const Details details = detailsAt(folder.write("a.wav", content));
  EXPECT_EQ(messages.take(), std::vector<std::string>());
  return details;
}

Bytes riff(std::uint32_t statedSize = 0)
{
  return Bytes().text("RIFF").u32le(statedSize).text("WAVE");
}

/** A "fmt " chunk of @p size bytes: 16-bit stereo, each field with a value of
 *  its own. */
Bytes fmt(std::uint32_t size = 16)
{
  return Bytes().text("fmt ").u32le(size)
      .u16le(1).u16le(2).u32le(44100).u32le(0x11223344).u16le(0x5566).u16le(16)
      .append(std::vector<std::uint8_t>(size > 16 && size < 1000 ? size - 16 : 0, 0xcc));
}

Bytes data(std::uint32_t size) { return Bytes().text("data").u32le(size); }

Bytes other(const char* id, std::size_t size)
{
  return Bytes().text(id).u32le(size).append(std::vector<std::uint8_t>(size, 'x'));
}

TEST(WavHeader, GivesTheFormatChunkFieldByField)
{
  const Details details = detailsOf(riff().append(fmt()).append(data(8)).zeros(8));
  ASSERT_EQ(details.status, 0);
  EXPECT_EQ(details.fmt.formatTag, 1);
  EXPECT_EQ(details.fmt.channels, 2);
  EXPECT_EQ(details.fmt.sampleRate, 44100u);
  EXPECT_EQ(details.fmt.byteRate, 0x11223344u);
  EXPECT_EQ(details.fmt.blockAlign, 0x5566);
  EXPECT_EQ(details.fmt.bitsPerSample, 16);
  EXPECT_EQ(details.dataOffset, 44);
  EXPECT_EQ(details.dataSize, 8);
}

TEST(WavHeader, AnyFormatTagIsAccepted)
{
  const Details details = detailsOf(riff().text("fmt ").u32le(16).u16le(0xfffe).u16le(0xffff)
      .u32le(0xffffffff).u32le(0).u16le(0).u16le(0xabcd).append(data(0)));
  ASSERT_EQ(details.status, 0);
  EXPECT_EQ(details.fmt.formatTag, 0xfffe);
  EXPECT_EQ(details.fmt.channels, 0xffff);
  EXPECT_EQ(details.fmt.sampleRate, 0xffffffffu);
  EXPECT_EQ(details.fmt.bitsPerSample, 0xabcd);
}

TEST(WavHeader, TheStatedFileSizeIsNotExamined)
{
  for (const std::uint32_t size : {0u, 1u, 36u, 0x80000000u, 0xffffffffu})
    EXPECT_EQ(detailsOf(riff(size).append(fmt()).append(data(0))).status, 0) << size;
}

TEST(WavHeader, DataMayStandInFrontOfTheFormat)
{
  const Details details = detailsOf(riff().append(data(6)).text("sample").append(fmt()));
  ASSERT_EQ(details.status, 0);
  EXPECT_EQ(details.dataOffset, 20);
  EXPECT_EQ(details.dataSize, 6);
  EXPECT_EQ(details.fmt.sampleRate, 44100u);
}

TEST(WavHeader, UnknownChunksAreSkippedAnywhere)
{
  const Details details = detailsOf(riff().append(other("LIST", 10)).append(fmt())
      .append(other("fact", 4)).append(other("JUNK", 0)).append(data(2)).zeros(2));
  ASSERT_EQ(details.status, 0);
  EXPECT_EQ(details.dataOffset, 12 + 18 + 24 + 12 + 8 + 8);
  EXPECT_EQ(
      detailsOf(riff().append(data(2)).zeros(2).append(other("LIST", 7)).append(fmt())).status, 0);
}

TEST(WavHeader, IdsAreComparedExactly)
{
  // Such chunks are unknown ones: skipped, and no duplicates.
  const Details details = detailsOf(riff().append(other("FMT ", 16)).append(other("Data", 2))
      .append(other("fmt_", 16)).append(fmt()).append(other("datA", 1)).append(data(5)));
  ASSERT_EQ(details.status, 0);
  EXPECT_EQ(details.dataSize, 5);
}

TEST(WavHeader, AnOddChunkIsSkippedByItsStatedSizeOnly)
{
  const Details details =
      detailsOf(riff().append(other("note", 3)).append(fmt(17)).append(data(1)).u8(0x80));
  ASSERT_EQ(details.status, 0);
  EXPECT_EQ(details.dataOffset, 12 + 11 + 25 + 8);
}

TEST(WavHeader, OddDataInFrontOfTheFormatIsSkippedByItsStatedSizeOnly)
{
  EXPECT_EQ(detailsOf(riff().append(data(3)).zeros(3).append(fmt())).status, 0);
}

TEST(WavHeader, APadByteBehindAnOddChunkIsRejected)
{
  EXPECT_EQ(detailsOf(riff().append(other("note", 3)).u8(0).append(fmt()).append(data(0))).status,
            1);
  EXPECT_EQ(detailsOf(riff().append(fmt(17)).u8(0).append(data(0))).status, 1);
  EXPECT_EQ(detailsOf(riff().append(data(3)).zeros(3).u8(0).append(fmt())).status, 1);
}

TEST(WavHeader, LongerFormatChunksAreAccepted)
{
  for (const std::uint32_t size : {17u, 18u, 40u, 400u}) {
    const Details details = detailsOf(riff().append(fmt(size)).append(data(4)).zeros(4));
    ASSERT_EQ(details.status, 0) << size;
    EXPECT_EQ(details.dataOffset, 12 + 8 + size + 8) << size;
    EXPECT_EQ(details.fmt.bitsPerSample, 16) << size;
  }
}

TEST(WavHeader, AFormatBehindTheDataNeedsItsFirst16BytesOnly)
{
  EXPECT_EQ(detailsOf(riff().append(data(0)).text("fmt ").u32le(40).u16le(1).u16le(2).u32le(8000)
                .u32le(0).u16le(0).u16le(16)).status, 0);
}

TEST(WavHeader, NothingIsReadBehindTheSecondOfBothChunks)
{
  EXPECT_EQ(detailsOf(riff().append(fmt()).append(data(0)).append(fmt()).append(data(0))).status,
            0);
  EXPECT_EQ(detailsOf(riff().append(fmt()).append(data(1000))).status, 0);
  EXPECT_EQ(detailsOf(riff().append(data(0)).append(fmt()).append(fmt(2))).status, 0);
}

TEST(WavHeader, TheDataSizeIsUnsigned)
{
  for (const std::uint32_t size : {0x7fffffffu, 0x80000000u, 0xffffffffu}) {
    const Details details = detailsOf(riff().append(fmt()).append(data(size)));
    ASSERT_EQ(details.status, 0) << size;
    EXPECT_EQ(details.dataSize, static_cast<long long>(size));
  }
}

TEST(WavHeader, ASizeWithItsTopBitSetIsNotSkipped)
{
  // The next header follows at once: unknown chunk, data and format alike.
  for (const std::uint32_t size : {0x80000000u, 0x80000010u, 0xffffffffu}) {
    EXPECT_EQ(detailsOf(riff().text("LIST").u32le(size).append(fmt()).append(data(0))).status, 0)
        << size;
    const Details details = detailsOf(riff().append(data(size)).append(fmt()));
    ASSERT_EQ(details.status, 0) << size;
    EXPECT_EQ(details.dataOffset, 20);
    EXPECT_EQ(details.dataSize, static_cast<long long>(size));
  }
  for (const std::uint32_t size : {0x80000010u, 0xffffffffu})
    EXPECT_EQ(detailsOf(riff().append(fmt(size)).append(data(0))).status, 0) << size;
}

TEST(WavHeader, TheLargestPositiveSizeIsSkipped)
{
  // 16 bytes of the format are read already, so these leave 0x7fffffff and
  // less to skip, which ends beyond the file.
  EXPECT_EQ(detailsOf(riff().append(fmt(0x8000000f)).append(data(0))).status, 1);
  EXPECT_EQ(detailsOf(riff().text("LIST").u32le(0x7fffffff).append(fmt()).append(data(0))).status,
            1);
  EXPECT_EQ(detailsOf(riff().append(data(0x7fffffff)).append(fmt())).status, 1);
}

TEST(WavHeader, ThePositionOfTheDataIsA32BitSignedNumber)
{
  const support::TempFolder folder;
  const std::string path =
      folder.write("big.wav", riff().append(fmt()).text("LIST").u32le(0x7fffffff));
  std::ofstream stream(path, std::ios::in | std::ios::out | std::ios::binary);
  const std::vector<std::uint8_t> header = data(4).zeros(4).data();
  stream.seekp(12 + 24 + 8 + 0x7fffffffLL);
  stream.write(reinterpret_cast<const char*>(header.data()),
               static_cast<std::streamsize>(header.size()));
  stream.close();
  ASSERT_TRUE(stream);
  const Details details = detailsAt(path);
  ASSERT_EQ(details.status, 0);
  EXPECT_EQ(details.dataOffset, 12 + 24 + 8 + 0x7fffffffLL + 8 - 0x100000000LL);
  EXPECT_EQ(details.dataSize, 4);
}

TEST(WavHeader, IsReadFromWhereTheFileStands)
{
  const support::TempFolder folder;
  TovFile file;
  ASSERT_EQ(file.open(folder.write("a", Bytes().text("abc").append(riff()).append(fmt())
                .append(data(5))).c_str(), "r"), 0);
  ASSERT_NE(file.seek(3, 0), 0);
  Details details;
  EXPECT_EQ(TovWavReader::getWavDetails(file, &details.fmt, &details.dataOffset, &details.dataSize),
            0);
  EXPECT_EQ(details.dataOffset, 47);
  EXPECT_EQ(file.tell(), 47);
}

} // namespace
