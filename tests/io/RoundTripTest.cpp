#include <algorithm>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;
using support::Signal;

template <typename Format>
class RoundTrip : public testing::Test {
protected:
  /** Writes a signal in blocks of random sizes, empty ones too. */
  void write(typename Format::Writer& writer, Signal signal, int bytes, long long longestBlock)
  {
    const long long frames = static_cast<long long>(signal[0].size());
    // Replacing a file makes some file systems wait for the disk.
    std::filesystem::remove(path);
    ASSERT_EQ(writer.initialize(path.c_str(),
                                support::request(44100, static_cast<std::uint32_t>(bytes),
                                                 static_cast<std::uint32_t>(signal.size()))), 0);
    for (long long pos = 0; pos < frames;) {
      const long long count = std::min(support::below(random, longestBlock + 1), frames - pos);
      ASSERT_EQ(writer.writeChannels(support::pointers(signal, pos), static_cast<int>(pos),
                                     static_cast<int>(count)), 0);
      pos += count;
    }
    writer.close();
  }

  /** Reads all channels of the file in blocks of random sizes. */
  Signal read(typename Format::Reader& reader, int channels, long long frames,
              long long longestBlock)
  {
    Signal signal(static_cast<std::size_t>(channels),
                  std::vector<float>(static_cast<std::size_t>(frames)));
    EXPECT_EQ(reader.initialize(path.c_str()), 0);
    TovAudioIOFormat format = {};
    EXPECT_EQ(reader.getFileSpec(&format), 0);
    EXPECT_EQ(format.frameCount, frames);
    EXPECT_EQ(format.channels, static_cast<std::uint32_t>(channels));
    EXPECT_EQ(format.sampleRate, 44100u);
    const TovNLArray<int> map = support::channelMap(support::allChannels(channels));
    for (long long pos = 0; pos < frames;) {
      const long long count = std::min(support::below(random, longestBlock + 1), frames - pos);
      EXPECT_EQ(reader.readChannels(support::pointers(signal, pos), map, pos, count), 0);
      pos += count;
    }
    return signal;
  }

  /** One signal there and back, by one reader and one writer for all. */
  void expectRoundTrip(int channels, int bytes, long long frames, long long longestBlock)
  {
    SCOPED_TRACE(std::to_string(channels) + " channels, " + std::to_string(bytes) + " bytes, " +
                 std::to_string(frames) + " frames");
    const Signal signal =
        support::noise(channels, frames, static_cast<unsigned int>(4 * channels + bytes), 1.0625f);
    write(oneWriter, signal, bytes, longestBlock);
    const Bytes samples = support::encoded<Format>(signal, bytes);
    EXPECT_TRUE(folder.read("file") == Format::file(static_cast<unsigned int>(channels),
                                                    static_cast<std::uint32_t>(frames), 44100,
                                                    8 * static_cast<unsigned int>(bytes), samples)
                                           .data());
    const Signal back = read(oneReader, channels, frames, longestBlock);
    const Signal expected =
        support::decoded<Format>(samples, bytes, channels, support::allChannels(channels), frames);
    for (std::size_t c = 0; c < back.size(); ++c)
      EXPECT_TRUE(support::bits(back[c]) == support::bits(expected[c])) << "channel " << c;
  }

  support::TempFolder folder;
  support::Messages messages;
  const std::string path = folder.path("file");
  typename Format::Writer oneWriter;
  typename Format::Reader oneReader;
  std::mt19937 random{20230};
};

using Formats = testing::Types<support::Wav, support::Aiff>;
TYPED_TEST_SUITE(RoundTrip, Formats);

TYPED_TEST(RoundTrip, EverySampleSizeAndOneToEightChannels)
{
  for (int bytes = 1; bytes <= 4; ++bytes)
    for (int channels = 1; channels <= 8; ++channels)
      this->expectRoundTrip(channels, bytes, 5003, 700);
}

TYPED_TEST(RoundTrip, BlocksOfFewFrames)
{
  for (int bytes = 1; bytes <= 4; ++bytes)
    this->expectRoundTrip(3, bytes, 509, 5);
}

TYPED_TEST(RoundTrip, BlocksOfSeveralPasses)
{
  for (int bytes = 1; bytes <= 4; ++bytes)
    for (const int channels : {1, 2, 3})
      this->expectRoundTrip(channels, bytes, 30011, 20000);
}

TYPED_TEST(RoundTrip, MoreChannelsThanTheBufferHoldsGroupsOf)
{
  for (int bytes = 1; bytes <= 4; ++bytes)
    for (const int channels : {684, 685, 700, 1400})
      this->expectRoundTrip(channels, bytes, 61, 30);
}

TYPED_TEST(RoundTrip, AsManyChannelsAsAHeaderCanState)
{
  // One frame more than one pass, which is 12 samples of each channel at most.
  for (int bytes = 1; bytes <= 4; ++bytes)
    this->expectRoundTrip(65535, bytes, 12 / bytes + 1, 13);
}

TYPED_TEST(RoundTrip, ManyChannelsInAMapOfTwo)
{
  const Signal signal = support::noise(65535, 5, 1);
  this->write(this->oneWriter, signal, 3, 5);
  ASSERT_EQ(this->oneReader.initialize(this->path.c_str()), 0);
  support::Buffers buffers(2, 4);
  ASSERT_EQ(
      this->oneReader.readChannels(buffers.pointers(), support::channelMap({65534, 65535}), 1, 4),
      0);
  EXPECT_TRUE(buffers.guardsIntact());
  EXPECT_EQ(support::bits(buffers.samples(0)), support::bits(buffers.samples(1)));
  const Signal last = {signal[65534]};
  const Signal expected = support::decoded<TypeParam>(
      support::encoded<TypeParam>(support::slice(last, 1, 4), 3), 3, 1, {0}, 4);
  EXPECT_EQ(support::bits(buffers.samples(0)), support::bits(expected[0]));
}

TYPED_TEST(RoundTrip, TheBufferGrowsOnlyForManyChannels)
{
  for (const int channels : {1, 2, 683, 684}) {
    typename TypeParam::Writer writer;
    this->write(writer, support::noise(channels, 30, 1), 4, 30);
    EXPECT_EQ(writer.getBufferSize(), 8208) << channels;
    typename TypeParam::Reader reader;
    this->read(reader, channels, 30, 30);
    EXPECT_EQ(reader.getBufferSize(), 8208) << channels;
  }
  for (const int channels : {685, 700, 65535}) {
    typename TypeParam::Writer writer;
    this->write(writer, support::noise(channels, 2, 1), 4, 2);
    EXPECT_GE(writer.getBufferSize(), 12 * channels) << channels;
    typename TypeParam::Reader reader;
    this->read(reader, channels, 2, 2);
    EXPECT_GE(reader.getBufferSize(), 12 * channels) << channels;
  }
}

TYPED_TEST(RoundTrip, ComesBackWithinOneStep)
{
  const Signal signal = support::noise(2, 20000, 5, 0.9999f);
  for (int bytes = 1; bytes <= 4; ++bytes) {
    this->write(this->oneWriter, signal, bytes, 20000);
    const Signal back = this->read(this->oneReader, 2, 20000, 20000);
    // The 32-bit forms hold 24 significant bits; of floats, all of them.
    const double step = bytes == 4 ? 0x1p-24 : std::ldexp(1.0, 1 - 8 * bytes);
    for (std::size_t c = 0; c < 2; ++c)
      for (std::size_t i = 0; i < back[c].size(); ++i)
        ASSERT_LT(std::abs(static_cast<double>(back[c][i]) - static_cast<double>(signal[c][i])),
                  step)
            << bytes << " bytes, " << signal[c][i];
  }
}

TYPED_TEST(RoundTrip, ASecondGenerationIsTheSameFile)
{
  for (int bytes = 1; bytes <= 4; ++bytes) {
    this->write(this->oneWriter, support::noise(2, 4000, 6, 1.25f), bytes, 900);
    const std::vector<std::uint8_t> first = this->folder.read("file");
    const Signal back = this->read(this->oneReader, 2, 4000, 900);
    this->write(this->oneWriter, back, bytes, 900);
    EXPECT_TRUE(this->folder.read("file") == first) << bytes;
  }
}

TYPED_TEST(RoundTrip, EveryCodeSurvives)
{
  // All of 8 and 16 bits; of 24 bits, enough that every byte takes every value.
  std::vector<Bytes> samples(4);
  for (unsigned int code = 0; code < 65536; ++code) {
    samples[1].u8(code & 0xff);
    samples[2].u16le(code);
    samples[3].u24le(code * 257);
  }
  for (unsigned int bytes = 1; bytes <= 3; ++bytes) {
    const Bytes original = TypeParam::file(1, 65536, 44100, 8 * bytes, samples[bytes]);
    this->folder.write("file", original);
    const Signal signal = this->read(this->oneReader, 1, 65536, 5000);
    this->write(this->oneWriter, signal, static_cast<int>(bytes), 5000);
    EXPECT_TRUE(this->folder.read("file") == original.data()) << bytes;
  }
}

TEST(WavRoundTrip, ThirtyTwoBitsAreExact)
{
  const support::TempFolder folder;
  const std::string path = folder.path("exact.wav");
  Signal signal = support::noise(2, 5000, 9, 12.0f);
  TovWavWriter writer;
  ASSERT_EQ(writer.initialize(path.c_str(), support::request(44100, 4, 2)), 0);
  ASSERT_EQ(writer.writeChannels(support::pointers(signal), 0, 5000), 0);
  writer.close();
  support::Buffers back(2, 5000);
  TovWavReader reader;
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  ASSERT_EQ(reader.readChannels(back.pointers(), support::channelMap({0, 1}), 0, 5000), 0);
  EXPECT_EQ(support::bits(back.samples(0)), support::bits(signal[0]));
  EXPECT_EQ(support::bits(back.samples(1)), support::bits(signal[1]));
}

TEST(AiffRoundTrip, ThirtyTwoBitsClampJustBelowFullScale)
{
  const support::TempFolder folder;
  const std::string path = folder.path("clamped.aiff");
  Signal signal = {{1.0f, 0.99999f, 0.9999f, -1.0f, -1.0f - 0x1p-20f}};
  TovAiffWriter writer;
  ASSERT_EQ(writer.initialize(path.c_str(), support::request(44100, 4, 1)), 0);
  ASSERT_EQ(writer.writeChannels(support::pointers(signal), 0, 5), 0);
  writer.close();
  std::vector<float> back(5);
  TovAiffReader reader;
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  ASSERT_EQ(reader.readChannel(back.data(), 0, 0, 5), 0);
  EXPECT_EQ(back, (std::vector<float>{0.99999f, 0.99999f, 0.9999f, -1.0f, -1.0f}));
}

} // namespace
