#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "io/TovAiffReader.h"
#include "tests/support/Bytes.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;

struct Details {
  int status = -1;
  TovAiffFmtChunk fmt = {};
  long long dataOffset = -1;
  long long dataSize = -1;
};

/** The walk's result; it must have said nothing. */
Details detailsOf(const Bytes& content)
{
  const support::TempFolder folder;
  support::Messages messages;
  TovFile file;
  EXPECT_EQ(file.open(folder.write("a.aiff", content).c_str(), "r"), 0);
  Details details;
  details.status =
      TovAiffReader::getAiffDetails(file, &details.fmt, &details.dataOffset, &details.dataSize);
  EXPECT_EQ(messages.take(), std::vector<std::string>());
  return details;
}

Bytes form(std::uint32_t statedSize = 0)
{
  return Bytes().text("FORM").u32be(statedSize).text("AIFF");
}

Bytes commOf(unsigned int channels, std::uint32_t frames, unsigned int bits,
             std::uint32_t size = 18)
{
  return Bytes().text("COMM").u32be(size)
      .u16be(channels).u32be(frames).u16be(bits).append(support::extendedRate(44100))
      .append(std::vector<std::uint8_t>(size > 18 && size < 1000 ? size - 18 : 0, 0xcc));
}

Bytes comm(std::uint32_t size = 18) { return commOf(2, 3, 16, size); }

/** The header of a "SSND" chunk, its offset and its block size. */
Bytes ssnd(std::uint32_t size, std::uint32_t offset = 0)
{
  return Bytes().text("SSND").u32be(size).u32be(offset).u32be(0x01020304);
}

Bytes other(const char* id, std::size_t size)
{
  return Bytes().text(id).u32be(size).append(std::vector<std::uint8_t>(size, 'x'));
}

TEST(AiffHeader, GivesTheCommonChunkFieldByField)
{
  const Details details = detailsOf(form().text("COMM").u32be(18)
      .u16be(0x0102).u32be(0x03040506).u16be(0x0708)
      .u8(1).u8(2).u8(3).u8(4).u8(5).u8(6).u8(7).u8(8).u8(9).u8(10)
      .append(ssnd(8)));
  ASSERT_EQ(details.status, 0);
  EXPECT_EQ(details.fmt.numChannels, 0x0102);
  EXPECT_EQ(details.fmt.numSampleFrames, 0x03040506u);
  EXPECT_EQ(details.fmt.sampleSize, 0x0708);
  for (int i = 0; i < 10; ++i)
    EXPECT_EQ(details.fmt.sampleRate[i], i + 1) << "the rate is kept as stored";
  EXPECT_EQ(details.dataOffset, 54);
}

TEST(AiffHeader, TheSizeOfTheSamplesFollowsFromTheCommonChunk)
{
  EXPECT_EQ(detailsOf(form().append(commOf(2, 3, 16)).append(ssnd(8))).dataSize, 12);
  EXPECT_EQ(detailsOf(form().append(commOf(2, 3, 16)).append(ssnd(5000))).dataSize, 12);
  EXPECT_EQ(detailsOf(form().append(commOf(3, 5, 1)).append(ssnd(8))).dataSize, 15);
  EXPECT_EQ(detailsOf(form().append(commOf(3, 5, 8)).append(ssnd(8))).dataSize, 15);
  EXPECT_EQ(detailsOf(form().append(commOf(3, 5, 9)).append(ssnd(8))).dataSize, 30);
  EXPECT_EQ(detailsOf(form().append(commOf(3, 5, 17)).append(ssnd(8))).dataSize, 45);
  EXPECT_EQ(detailsOf(form().append(commOf(3, 5, 32)).append(ssnd(8))).dataSize, 60);
  EXPECT_EQ(detailsOf(form().append(commOf(3, 5, 33)).append(ssnd(8))).dataSize, 75);
  EXPECT_EQ(detailsOf(form().append(commOf(3, 5, 65535)).append(ssnd(8))).dataSize, 8192 * 15);
  EXPECT_EQ(detailsOf(form().append(commOf(3, 5, 0)).append(ssnd(8))).dataSize, 0);
  EXPECT_EQ(detailsOf(form().append(commOf(0, 5, 16)).append(ssnd(8))).dataSize, 0);
}

TEST(AiffHeader, TheSizeOfTheSamplesHas32Bits)
{
  EXPECT_EQ(detailsOf(form().append(commOf(1, 0x40000000, 16)).append(ssnd(8))).dataSize,
            0x80000000LL);
  EXPECT_EQ(detailsOf(form().append(commOf(1, 0xffffffff, 8)).append(ssnd(8))).dataSize,
            0xffffffffLL);
  EXPECT_EQ(detailsOf(form().append(commOf(2, 0x40000001, 16)).append(ssnd(8))).dataSize, 4);
  EXPECT_EQ(detailsOf(form().append(commOf(65535, 0xffffffff, 16)).append(ssnd(8))).dataSize,
            (65535LL * 0xffffffffLL * 2) & 0xffffffffLL);
}

TEST(AiffHeader, TheStatedFileSizeIsNotExamined)
{
  for (const std::uint32_t size : {0u, 1u, 46u, 0x80000000u, 0xffffffffu})
    EXPECT_EQ(detailsOf(form(size).append(comm()).append(ssnd(8))).status, 0) << size;
}

TEST(AiffHeader, TheOffsetMovesTheSamples)
{
  const Details details = detailsOf(form().append(comm()).append(ssnd(12, 4)));
  ASSERT_EQ(details.status, 0);
  EXPECT_EQ(details.dataOffset, 58);
  EXPECT_EQ(detailsOf(form().append(comm()).append(ssnd(12, 0x10000))).dataOffset, 54 + 0x10000);
}

TEST(AiffHeader, TheOffsetIsAddedIn32Bits)
{
  EXPECT_EQ(detailsOf(form().append(comm()).append(ssnd(12, 0xfffffffc))).dataOffset, 50);
}

TEST(AiffHeader, SamplesMayStandInFrontOfTheCommonChunk)
{
  const Details details =
      detailsOf(form().append(ssnd(8 + 5, 2)).text("12345").append(commOf(1, 3, 8)));
  ASSERT_EQ(details.status, 0);
  EXPECT_EQ(details.dataOffset, 12 + 16 + 2);
  EXPECT_EQ(details.dataSize, 3);
  EXPECT_EQ(details.fmt.numSampleFrames, 3u);
}

TEST(AiffHeader, ASamplesChunkOf8BytesOrLessSkipsNothing)
{
  for (const std::uint32_t size : {0u, 1u, 7u, 8u})
    EXPECT_EQ(detailsOf(form().append(ssnd(size)).append(comm())).status, 0) << size;
  EXPECT_EQ(detailsOf(form().append(ssnd(9)).append(comm())).status, 1);
  EXPECT_EQ(detailsOf(form().append(ssnd(9)).u8(0).append(comm())).status, 0);
}

TEST(AiffHeader, TheOffsetDoesNotChangeWhatIsSkipped)
{
  EXPECT_EQ(detailsOf(form().append(ssnd(8 + 6, 4)).zeros(6).append(comm())).status, 0);
  EXPECT_EQ(detailsOf(form().append(ssnd(8 + 6, 1000)).zeros(6).append(comm())).status, 0);
}

TEST(AiffHeader, UnknownChunksAreSkippedAnywhere)
{
  const Details details = detailsOf(form().append(other("NAME", 4)).append(comm())
      .append(other("ANNO", 0)).append(other("MARK", 11)).append(ssnd(8)));
  ASSERT_EQ(details.status, 0);
  EXPECT_EQ(details.dataOffset, 12 + 12 + 26 + 8 + 19 + 16);
  EXPECT_EQ(detailsOf(form().append(ssnd(8)).append(other("FVER", 4)).append(comm())).status, 0);
}

TEST(AiffHeader, IdsAreComparedExactly)
{
  EXPECT_EQ(detailsOf(form().append(other("comm", 18)).append(other("ssnd", 8)).append(comm())
                .append(ssnd(8))).status, 0);
}

TEST(AiffHeader, AnOddChunkIsSkippedByItsStatedSizeOnly)
{
  EXPECT_EQ(detailsOf(form().append(other("NAME", 3)).append(comm(19)).append(ssnd(8))).status, 0);
  EXPECT_EQ(detailsOf(form().append(ssnd(11)).zeros(3).append(comm())).status, 0);
}

TEST(AiffHeader, APadByteBehindAnOddChunkIsRejected)
{
  EXPECT_EQ(detailsOf(form().append(other("NAME", 3)).u8(0).append(comm()).append(ssnd(8))).status,
            1);
  EXPECT_EQ(detailsOf(form().append(comm(19)).u8(0).append(ssnd(8))).status, 1);
  EXPECT_EQ(detailsOf(form().append(ssnd(11)).zeros(3).u8(0).append(comm())).status, 1);
}

TEST(AiffHeader, LongerCommonChunksAreAccepted)
{
  for (const std::uint32_t size : {19u, 22u, 40u, 400u}) {
    const Details details = detailsOf(form().append(comm(size)).append(ssnd(8)));
    ASSERT_EQ(details.status, 0) << size;
    EXPECT_EQ(details.dataOffset, 12 + 8 + size + 16) << size;
  }
}

TEST(AiffHeader, ACommonChunkBehindTheSamplesNeedsItsFirst18BytesOnly)
{
  EXPECT_EQ(detailsOf(form().append(ssnd(8)).text("COMM").u32be(40).u16be(1).u32be(0).u16be(16)
                .append(support::extendedRate(8000))).status, 0);
}

TEST(AiffHeader, NothingIsReadBehindTheSecondOfBothChunks)
{
  EXPECT_EQ(detailsOf(form().append(comm()).append(ssnd(8)).append(comm()).append(ssnd(8))).status,
            0);
  EXPECT_EQ(detailsOf(form().append(ssnd(8)).append(comm()).append(comm(2))).status, 0);
  EXPECT_EQ(detailsOf(form().append(comm()).append(ssnd(5000))).status, 0);
}

TEST(AiffHeader, ASizeWithItsTopBitSetIsNotSkipped)
{
  for (const std::uint32_t size : {0x80000000u, 0x80000012u, 0xffffffffu})
    EXPECT_EQ(detailsOf(form().text("NAME").u32be(size).append(comm()).append(ssnd(8))).status, 0)
        << size;
  for (const std::uint32_t size : {0x80000008u, 0xffffffffu})
    EXPECT_EQ(detailsOf(form().append(ssnd(size)).append(comm())).status, 0) << size;
  for (const std::uint32_t size : {0x80000012u, 0xffffffffu})
    EXPECT_EQ(detailsOf(form().append(comm(size)).append(ssnd(8))).status, 0) << size;
}

TEST(AiffHeader, TheLargestPositiveSizeIsSkipped)
{
  // Part of the chunk is read already, so these leave 0x7fffffff to skip,
  // which ends beyond the file.
  EXPECT_EQ(detailsOf(form().append(comm(0x80000011)).append(ssnd(8))).status, 1);
  EXPECT_EQ(detailsOf(form().append(ssnd(0x80000007)).append(comm())).status, 1);
  EXPECT_EQ(detailsOf(form().text("NAME").u32be(0x7fffffff).append(comm()).append(ssnd(8))).status,
            1);
}

TEST(AiffHeader, IsReadFromWhereTheFileStands)
{
  const support::TempFolder folder;
  TovFile file;
  ASSERT_EQ(file.open(folder.write("a", Bytes().text("abc").append(form()).append(comm())
                .append(ssnd(8, 1))).c_str(), "r"), 0);
  ASSERT_NE(file.seek(3, 0), 0);
  Details details;
  EXPECT_EQ(
      TovAiffReader::getAiffDetails(file, &details.fmt, &details.dataOffset, &details.dataSize), 0);
  EXPECT_EQ(details.dataOffset, 58);
  EXPECT_EQ(file.tell(), 57);
}

} // namespace
