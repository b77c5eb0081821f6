#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "io/TovWavReader.h"
#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;

/** A reader of a file in a folder of its own. */
struct Opened {
  explicit Opened(const Bytes& content)
  {
    EXPECT_EQ(reader.initialize(folder.write("a.wav", content).c_str()), 0);
  }
  support::TempFolder folder;
  TovWavReader reader;
};

/** A file whose "data" size need not be that of the samples behind it. */
Bytes wavStating(unsigned int channels, unsigned int rate, unsigned int bits,
                 std::uint32_t dataSize, const Bytes& samples = Bytes())
{
  return Bytes().text("RIFF").u32le(0).text("WAVE").text("fmt ").u32le(16)
      .u16le(1).u16le(channels).u32le(rate)
      .u32le(0xdeadbeef).u16le(0xbeef) // wrong on purpose: nobody may go by them
      .u16le(bits).text("data").u32le(dataSize).append(samples);
}

std::vector<std::int64_t> specOf(const Bytes& content)
{
  Opened file(content);
  TovAudioIOFormat format = {9, 9, 9, 9, 9, 9, 9};
  EXPECT_EQ(file.reader.getFileSpec(&format), 0);
  return support::fields(format);
}

std::vector<float> samplesOf(const Bytes& content, long long frames)
{
  Opened file(content);
  std::vector<float> samples(static_cast<std::size_t>(frames), support::Buffers::kUntouched);
  EXPECT_EQ(file.reader.readChannel(samples.data(), 0, 0, frames), 0);
  return samples;
}

TEST(WavReader, DescribesEveryNumberOfBits)
{
  for (unsigned int bits = 1; bits <= 32; ++bits) {
    const std::int64_t bytes = bits <= 8 ? 1 : bits <= 16 ? 2 : bits <= 24 ? 3 : 4;
    const std::int64_t encoding = bits <= 8    ? EncU8
                                  : bits <= 16 ? EncS16
                                  : bits <= 24 ? EncS24
                                               : EncFloat32Scaled16;
    EXPECT_EQ(
        specOf(wavStating(3, 22050, bits, 360)),
        (std::vector<std::int64_t>{FormatValid, encoding, bytes, 0, 22050, 360 / bytes / 3, 3}))
        << bits;
  }
}

TEST(WavReader, DescribesAnyRate)
{
  for (const unsigned int rate : {0u, 1u, 8000u, 44100u, 192000u, 0x80000000u, 0xffffffffu})
    EXPECT_EQ(specOf(wavStating(1, rate, 8, 5)),
              (std::vector<std::int64_t>{FormatValid, EncU8, 1, 0, rate, 5, 1}));
}

TEST(WavReader, CountsWholeFramesOfTheStatedSize)
{
  EXPECT_EQ(specOf(wavStating(2, 8000, 16, 7))[5], 1);
  EXPECT_EQ(specOf(wavStating(2, 8000, 16, 3))[5], 0);
  EXPECT_EQ(specOf(wavStating(1, 8000, 24, 8))[5], 2);
  EXPECT_EQ(specOf(wavStating(1, 8000, 8, 0xffffffff))[5], 4294967295LL);
  EXPECT_EQ(specOf(wavStating(65535, 8000, 8, 65535 * 3 + 65534))[5], 3);
}

TEST(WavReader, DescribesTheSameEveryTime)
{
  Opened file(support::wavFile(2, 44100, 16, Bytes().zeros(40)));
  TovAudioIOFormat first = {}, next = {};
  ASSERT_EQ(file.reader.getFileSpec(&first), 0);
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(file.reader.getFileSpec(&next), 0);
    EXPECT_EQ(support::fields(next), support::fields(first));
  }
}

TEST(WavReader, WithoutAFileDescribesNone)
{
  TovWavReader reader;
  TovAudioIOFormat format = {9, 11, 12, 13, 14, 15, 16};
  EXPECT_EQ(reader.getFileSpec(&format), 1);
  EXPECT_EQ(support::fields(format), (std::vector<std::int64_t>{FormatNone, 11, 12, 13, 14, 0, 0}));
}

TEST(WavReader, EightBitsAreUnsigned)
{
  EXPECT_EQ(
      samplesOf(support::wavFile(1, 8000, 8, Bytes().u8(0).u8(1).u8(127).u8(128).u8(129).u8(255)),
                6),
      (std::vector<float>{-1.0f, -0.9921875f, -0.0078125f, 0.0f, 0.0078125f, 0.9921875f}));
}

TEST(WavReader, SixteenBitsAreSignedLeastSignificantByteFirst)
{
  EXPECT_EQ(samplesOf(support::wavFile(1, 8000, 16,
                                       Bytes().u8(0x00).u8(0x80).u8(0xff).u8(0x7f).u16le(0)
                                           .u16le(1).u16le(0xffff).u16le(0x4000)), 6),
            (std::vector<float>{-1.0f, 0.999969482421875f, 0.0f, 3.0517578125e-05f,
                                -3.0517578125e-05f, 0.5f}));
}

TEST(WavReader, TwentyFourBitsAreSignedLeastSignificantByteFirst)
{
  EXPECT_EQ(samplesOf(support::wavFile(1, 8000, 24,
                                       Bytes().u8(0).u8(0).u8(0x80).u24le(0x7fffff).u24le(0)
                                           .u24le(1).u24le(0xffffff).u24le(0x400000)), 6),
            (std::vector<float>{-1.0f, 8388607.0f / 8388608.0f, 0.0f, 0x1p-23f, -0x1p-23f, 0.5f}));
}

TEST(WavReader, ThirtyTwoBitsAreFloatsOf16BitFullScale)
{
  // 32768.0f, -16384.0f, 1.0f and the smallest denormal.
  EXPECT_EQ(samplesOf(support::wavFile(1, 8000, 32,
                                       Bytes().u32le(0x47000000).u32le(0xc6800000)
                                           .u32le(0x3f800000).u32le(0)), 4),
            (std::vector<float>{1.0f, -0.5f, 3.0517578125e-05f, 0.0f}));
}

TEST(WavReader, ThirtyTwoBitInfinitiesAndNotANumberStaySo)
{
  const std::vector<float> samples = samplesOf(
      support::wavFile(1, 8000, 32, Bytes().u32le(0x7f800000).u32le(0xff800000).u32le(0x7fc00000)),
      3);
  EXPECT_EQ(samples[0], std::numeric_limits<float>::infinity());
  EXPECT_EQ(samples[1], -std::numeric_limits<float>::infinity());
  EXPECT_TRUE(std::isnan(samples[2]));
}

TEST(WavReader, OddNumbersOfBitsAreReadAsTheNextWholeBytes)
{
  EXPECT_EQ(samplesOf(support::wavFile(1, 8000, 1, Bytes().u8(1)), 1),
            std::vector<float>{-0.9921875f});
  EXPECT_EQ(samplesOf(support::wavFile(1, 8000, 12, Bytes().u16le(0x4000)), 1),
            std::vector<float>{0.5f});
  EXPECT_EQ(samplesOf(support::wavFile(1, 8000, 20, Bytes().u24le(0xc00000)), 1),
            std::vector<float>{-0.5f});
  EXPECT_EQ(samplesOf(support::wavFile(1, 8000, 25, Bytes().u32le(0x47000000)), 1),
            std::vector<float>{1.0f});
}

TEST(WavReader, ReadsDataThatStandsInFrontOfTheFormat)
{
  Opened file(Bytes().text("RIFF").u32le(0).text("WAVE")
      .text("data").u32le(4).u16le(0x4000).u16le(0xc000)
      .text("fmt ").u32le(16).u16le(1).u16le(1).u32le(48000).u32le(0).u16le(0).u16le(16));
  TovAudioIOFormat format = {};
  ASSERT_EQ(file.reader.getFileSpec(&format), 0);
  EXPECT_EQ(support::fields(format),
            (std::vector<std::int64_t>{FormatValid, EncS16, 2, 0, 48000, 2, 1}));
  // The format chunk follows the samples, and is read as more of them.
  std::vector<float> samples(4);
  ASSERT_EQ(file.reader.readChannel(samples.data(), 0, 0, 4), 0);
  EXPECT_EQ(samples, (std::vector<float>{0.5f, -0.5f, 0x6d66 / 32768.0f, 0x2074 / 32768.0f}));
}

TEST(WavReader, ReadsBehindAllChunksThatWereSkipped)
{
  Opened file(Bytes().text("RIFF").u32le(0).text("WAVE")
      .text("note").u32le(3).text("abc")
      .text("fmt ").u32le(18).u16le(1).u16le(2).u32le(8000).u32le(0).u16le(0).u16le(8).u16le(0)
      .text("fact").u32le(4).u32le(3)
      .text("data").u32le(4).u8(0).u8(255).u8(64).u8(192));
  support::Buffers buffers(2, 2);
  ASSERT_EQ(file.reader.readChannels(buffers.pointers(), support::channelMap({0, 1}), 0, 2), 0);
  EXPECT_EQ(buffers.samples(0), (std::vector<float>{-1.0f, -0.5f}));
  EXPECT_EQ(buffers.samples(1), (std::vector<float>{0.9921875f, 0.5f}));
}

} // namespace
