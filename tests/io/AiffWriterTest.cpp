#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "io/TovAiffWriter.h"
#include "tests/support/FileFormats.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;
using support::request;
using support::Signal;

/** The file that a writer makes of a signal. */
std::vector<std::uint8_t> written(const TovAudioIOFormat& format, Signal signal)
{
  const support::TempFolder folder;
  support::Messages messages;
  TovAiffWriter writer;
  EXPECT_EQ(writer.initialize(folder.path("out.aiff").c_str(), format), 0);
  EXPECT_EQ(writer.writeChannels(support::pointers(signal), 0, static_cast<int>(signal[0].size())),
            0);
  writer.close();
  return folder.read("out.aiff");
}

/** The 54 bytes in front of the samples, with a rate of 44100. */
Bytes header(std::uint32_t sampleBytes, unsigned int channels, std::uint32_t frames,
             unsigned int bits)
{
  return Bytes()
      .text("FORM").u32be(sampleBytes + 46)
      .text("AIFF")
      .text("COMM").u32be(18)
      .u16be(channels)
      .u32be(frames)
      .u16be(bits)
      .u16be(0x400e).u32be(0xac440000).u32be(0) // 44100
      .text("SSND").u32be(sampleBytes + 8)
      .u32be(0) // offset
      .u32be(0); // block size
}

TEST(AiffWriter, WritesEightBitMonoSignedWithoutAPadByte)
{
  const std::vector<std::uint8_t> file = written(request(44100, 1, 1), {{-1.0f, 0.5f, 1.0f}});
  EXPECT_EQ(file, header(3, 1, 3, 8).u8(0x80).u8(0x40).u8(0x7f).data());
  EXPECT_EQ(file.size(), 57u);
}

TEST(AiffWriter, WritesSixteenBitStereoInterleaved)
{
  EXPECT_EQ(written(request(44100, 2, 2), {{-1.0f, 0.5f}, {1.0f, -0.00001f}}),
            header(8, 2, 2, 16).u16be(0x8000).u16be(0x7fff).u16be(0x4000).u16be(0).data());
}

TEST(AiffWriter, WritesTwentyFourBitPacked)
{
  EXPECT_EQ(written(request(44100, 3, 3), {{-1.0f}, {1.0f}, {0x1p-23f}}),
            header(9, 3, 1, 24).u24be(0x800000).u24be(0x7fffff).u24be(1).data());
}

TEST(AiffWriter, WritesThirtyTwoBitIntegersClampedBelowFullScale)
{
  EXPECT_EQ(written(request(44100, 4, 1), {{-1.0f, 0.5f, 1.5f, -1.5f}}), header(16, 1, 4, 32)
                                                                             .u32be(0x80000000)
                                                                             .u32be(0x40000000)
                                                                             .u32be(2147462144)
                                                                             .u32be(0x80000000)
                                                                             .data());
}

TEST(AiffWriter, TenFramesOf24BitStereoHaveTheStatedSizes)
{
  const std::vector<std::uint8_t> file =
      written(request(44100, 3, 2), {std::vector<float>(10), std::vector<float>(10)});
  EXPECT_EQ(file, header(60, 2, 10, 24).zeros(60).data());
  EXPECT_EQ(file[7], 106);
  EXPECT_EQ(file[25], 10);
  EXPECT_EQ(file[45], 68);
}

TEST(AiffWriter, AFileWithoutSamplesIsItsHeader)
{
  EXPECT_EQ(written(request(44100, 2, 2), {{}, {}}), header(0, 2, 0, 16).data());
}

TEST(AiffWriter, CountsTheFramesOfAllCalls)
{
  const support::TempFolder folder;
  Signal signal = {std::vector<float>(9000)};
  TovAiffWriter writer;
  ASSERT_EQ(writer.initialize(folder.path("out.aiff").c_str(), request(44100, 1, 1)), 0);
  for (const int frames : {1, 0, 8500, 99})
    ASSERT_EQ(writer.writeChannels(support::pointers(signal), 0, frames), 0);
  EXPECT_EQ(writer.writeChannels(TovNLPArray<float>(), 0, 40), 2);
  writer.close();
  EXPECT_EQ(folder.read("out.aiff"), header(8600, 1, 8600, 8).zeros(8600).data());
}

TEST(AiffWriter, CountsTheFramesOfEachFileAnew)
{
  const support::TempFolder folder;
  Signal signal = {std::vector<float>(9)};
  TovAiffWriter writer;
  for (const int frames : {9, 4, 0}) {
    ASSERT_EQ(writer.initialize(folder.path("out.aiff").c_str(), request(44100, 1, 1)), 0);
    ASSERT_EQ(writer.writeChannels(support::pointers(signal), 0, frames), 0);
    if (frames == 4)
      writer.close();
  }
  writer.close();
  EXPECT_EQ(folder.read("out.aiff"), header(0, 1, 0, 8).data());
}

} // namespace
