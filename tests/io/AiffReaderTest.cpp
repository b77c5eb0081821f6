#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "io/TovAiffReader.h"
#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;

/** A reader of a file in a folder of its own. */
struct Opened {
  explicit Opened(const Bytes& content)
  {
    EXPECT_EQ(reader.initialize(folder.write("a.aiff", content).c_str()), 0);
  }
  support::TempFolder folder;
  TovAiffReader reader;
};

std::vector<std::int64_t> specOf(const Bytes& content)
{
  Opened file(content);
  TovAudioIOFormat format = {9, 9, 9, 9, 9, 9, 9};
  EXPECT_EQ(file.reader.getFileSpec(&format), 0);
  return support::fields(format);
}

std::vector<float> samplesOf(unsigned int bits, const Bytes& samples, long long frames)
{
  Opened file(support::aiffFile(1, static_cast<std::uint32_t>(frames), 8000, bits, samples));
  std::vector<float> floats(static_cast<std::size_t>(frames), support::Buffers::kUntouched);
  EXPECT_EQ(file.reader.readChannel(floats.data(), 0, 0, frames), 0);
  return floats;
}

TEST(AiffReader, DescribesEveryNumberOfBits)
{
  for (unsigned int bits = 1; bits <= 32; ++bits) {
    const std::int64_t bytes = bits <= 8 ? 1 : bits <= 16 ? 2 : bits <= 24 ? 3 : 4;
    const std::int64_t encoding = bits <= 8    ? EncS8
                                  : bits <= 16 ? EncS16
                                  : bits <= 24 ? EncS24
                                               : EncS32;
    EXPECT_EQ(specOf(support::aiffFile(3, 77, 22050, bits, Bytes())),
              (std::vector<std::int64_t>{FormatValid, encoding, bytes, 1, 22050, 77, 3}))
        << bits;
  }
}

TEST(AiffReader, CountsTheFramesThatTheCommonChunkStates)
{
  // Whatever the samples chunk holds.
  EXPECT_EQ(specOf(support::aiffFile(2, 1000, 8000, 16, Bytes().zeros(8)))[5], 1000);
  EXPECT_EQ(specOf(support::aiffFile(2, 1, 8000, 16, Bytes().zeros(8)))[5], 1);
  EXPECT_EQ(specOf(support::aiffFile(2, 0, 8000, 16, Bytes().zeros(8)))[5], 0);
  EXPECT_EQ(specOf(support::aiffFile(1, 0xffffffff, 8000, 8, Bytes()))[5], 4294967295LL);
}

TEST(AiffReader, MoreThan4GigabytesOfSamplesLoseTheirHighBits)
{
  EXPECT_EQ(specOf(support::aiffFile(2, 0x40000001, 8000, 16, Bytes()))[5], 1);
  EXPECT_EQ(specOf(support::aiffFile(1, 0x40000000, 8000, 16, Bytes()))[5], 0x40000000);
}

TEST(AiffReader, EightBitsAreSigned)
{
  EXPECT_EQ(samplesOf(8, Bytes().u8(0x80).u8(0xff).u8(0).u8(1).u8(0x40).u8(0x7f), 6),
            (std::vector<float>{-1.0f, -0.0078125f, 0.0f, 0.0078125f, 0.5f, 0.9921875f}));
}

TEST(AiffReader, SixteenBitsAreSignedMostSignificantByteFirst)
{
  EXPECT_EQ(
      samplesOf(16, Bytes().u8(0x80).u8(0).u8(0x7f).u8(0xff).u16be(0).u16be(1).u16be(0xc000), 5),
      (std::vector<float>{-1.0f, 0.999969482421875f, 0.0f, 3.0517578125e-05f, -0.5f}));
}

TEST(AiffReader, TwentyFourBitsAreSignedMostSignificantByteFirst)
{
  EXPECT_EQ(
      samplesOf(
          24, Bytes().u8(0x80).u8(0).u8(0).u24be(0x7fffff).u24be(1).u24be(0xffffff).u24be(0x400000),
          5),
      (std::vector<float>{-1.0f, 8388607.0f / 8388608.0f, 0x1p-23f, -0x1p-23f, 0.5f}));
}

TEST(AiffReader, ThirtyTwoBitsAreSignedIntegers)
{
  EXPECT_EQ(samplesOf(32,
                      Bytes()
                          .u32be(0x80000000)
                          .u32be(0x40000000)
                          .u32be(0)
                          .u32be(1)
                          .u32be(0xffffffff)
                          .u32be(0x7fffffff),
                      6),
            (std::vector<float>{-1.0f, 0.5f, 0.0f, 0x1p-31f, -0x1p-31f, 1.0f}));
}

TEST(AiffReader, OddNumbersOfBitsAreReadAsTheNextWholeBytes)
{
  EXPECT_EQ(samplesOf(1, Bytes().u8(0x80), 1), std::vector<float>{-1.0f});
  EXPECT_EQ(samplesOf(12, Bytes().u16be(0x4000), 1), std::vector<float>{0.5f});
  EXPECT_EQ(samplesOf(20, Bytes().u24be(0xc00000), 1), std::vector<float>{-0.5f});
  EXPECT_EQ(samplesOf(25, Bytes().u32be(0x20000000), 1), std::vector<float>{0.25f});
}

TEST(AiffReader, ReadsFromBehindTheOffset)
{
  Opened file(Bytes().text("FORM").u32be(0).text("AIFF")
      .text("COMM").u32be(18).u16be(1).u32be(2).u16be(8).append(support::extendedRate(8000))
      .text("SSND").u32be(14).u32be(4).u32be(0)
      .u8(1).u8(2).u8(3).u8(4) // in front of the samples
      .u8(0x40).u8(0xc0));
  std::vector<float> samples(2);
  ASSERT_EQ(file.reader.readChannel(samples.data(), 0, 0, 2), 0);
  EXPECT_EQ(samples, (std::vector<float>{0.5f, -0.5f}));
}

TEST(AiffReader, ReadsSamplesThatStandInFrontOfTheCommonChunk)
{
  Opened file(Bytes().text("FORM").u32be(0).text("AIFF")
      .text("SSND").u32be(12).u32be(0).u32be(0).u16be(0x4000).u16be(0xc000)
      .text("COMM").u32be(18).u16be(1).u32be(2).u16be(16).append(support::extendedRate(48000)));
  TovAudioIOFormat format = {};
  ASSERT_EQ(file.reader.getFileSpec(&format), 0);
  EXPECT_EQ(support::fields(format),
            (std::vector<std::int64_t>{FormatValid, EncS16, 2, 1, 48000, 2, 1}));
  // The other chunk follows the samples, and is read as more of them.
  std::vector<float> samples(3);
  ASSERT_EQ(file.reader.readChannel(samples.data(), 0, 0, 3), 0);
  EXPECT_EQ(samples, (std::vector<float>{0.5f, -0.5f, 0x434f / 32768.0f}));
}

TEST(AiffReader, FramesThatAFileStatesButDoesNotHoldAreLeftUntouchedInSilence)
{
  Opened file(support::aiffFile(2, 100, 8000, 16, Bytes().u16be(0x4000).u16be(0xc000)));
  support::Buffers buffers(2, 5);
  EXPECT_EQ(file.reader.readChannels(buffers.pointers(), support::channelMap({0, 1}), 0, 5), 0);
  const float none = support::Buffers::kUntouched;
  EXPECT_EQ(buffers.samples(0), (std::vector<float>{0.5f, none, none, none, none}));
  EXPECT_EQ(buffers.samples(1), (std::vector<float>{-0.5f, none, none, none, none}));
}

} // namespace
