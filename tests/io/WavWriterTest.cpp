#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "io/TovWavWriter.h"
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
  TovWavWriter writer;
  EXPECT_EQ(writer.initialize(folder.path("out.wav").c_str(), format), 0);
  EXPECT_EQ(writer.writeChannels(support::pointers(signal), 0, static_cast<int>(signal[0].size())),
            0);
  writer.close();
  return folder.read("out.wav");
}

/** The 44 bytes in front of the samples. */
Bytes header(std::uint32_t sampleBytes, unsigned int channels, std::uint32_t rate,
             std::uint32_t byteRate, unsigned int blockAlign, unsigned int bits)
{
  return Bytes()
      .text("RIFF").u32le(sampleBytes + 36)
      .text("WAVE")
      .text("fmt ").u32le(16)
      .u16le(1)
      .u16le(channels)
      .u32le(rate)
      .u32le(byteRate)
      .u16le(blockAlign)
      .u16le(bits)
      .text("data").u32le(sampleBytes);
}

TEST(WavWriter, WritesEightBitMonoUnsignedWithoutAPadByte)
{
  const std::vector<std::uint8_t> file = written(request(8000, 1, 1), {{-1.0f, 0.0f, 1.0f}});
  EXPECT_EQ(file, header(3, 1, 8000, 8000, 1, 8).u8(0).u8(128).u8(255).data());
  EXPECT_EQ(file.size(), 47u);
  EXPECT_EQ(file[4], 39);
  EXPECT_EQ(file[40], 3);
}

TEST(WavWriter, WritesSixteenBitStereoInterleaved)
{
  EXPECT_EQ(written(request(44100, 2, 2), {{-1.0f, 0.5f}, {1.0f, -0.00001f}}),
            header(8, 2, 44100, 176400, 4, 16)
                .u16le(0x8000).u16le(0x7fff)
                .u16le(0x4000).u16le(0)
                .data());
}

TEST(WavWriter, WritesTwentyFourBitPacked)
{
  EXPECT_EQ(written(request(96000, 3, 3), {{-1.0f}, {1.0f}, {0x1p-23f}}),
            header(9, 3, 96000, 864000, 9, 24).u24le(0x800000).u24le(0x7fffff).u24le(1).data());
}

TEST(WavWriter, WritesThirtyTwoBitAsFloatsOf16BitFullScaleUnderTheIntegerTag)
{
  // 32768.0f, 49152.0f (not clamped) and -16384.0f.
  EXPECT_EQ(written(request(48000, 4, 1), {{1.0f, 1.5f, -0.5f}}),
            header(12, 1, 48000, 192000, 4, 32)
                .u32le(0x47000000).u32le(0x47400000).u32le(0xc6800000)
                .data());
}

TEST(WavWriter, TheByteRateKeepsItsLow32Bits)
{
  EXPECT_EQ(written(request(0x7fffffff, 4, 2), {{0.0f}, {0.0f}}),
            header(8, 2, 0x7fffffff, 0xfffffff8, 8, 32).zeros(8).data());
}

TEST(WavWriter, AFileWithoutSamplesIsItsHeader)
{
  EXPECT_EQ(written(request(44100, 2, 2), {{}, {}}), header(0, 2, 44100, 176400, 4, 16).data());
}

TEST(WavWriter, StatesBothSizesOfALongerFile)
{
  // The RIFF size counts what follows it; the data size only the samples.
  const std::vector<std::uint8_t> file = written(request(44100, 2, 1), {std::vector<float>(1000)});
  EXPECT_EQ(file, header(2000, 1, 44100, 88200, 2, 16).zeros(2000).data());
}

} // namespace
