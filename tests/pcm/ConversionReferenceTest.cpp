#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/pcm/FormatRecord.h"
#include "tests/pcm/Noise.h"
#include "tests/reference/Conversion.h"
#include "tests/support/Buffers.h"

namespace {

using ByteBlock = std::vector<std::uint8_t>;

const std::vector<long long> kBlockLengths = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 63, 509, 513};
const std::vector<int> kChannelCounts = {1, 2, 3, 4, 5, 6, 7, 8};

/** What a case is about, for the messages. */
std::string describe(int encoding, bool bigEndian, int channels, long long frames)
{
  return "encoding " + std::to_string(encoding) + (bigEndian ? " big" : " little") + "-endian, " +
         std::to_string(channels) + " channels, " + std::to_string(frames) + " frames";
}

std::size_t blockSize(int encoding, int channels, long long frames)
{
  return static_cast<std::size_t>(frames) * static_cast<std::size_t>(channels) *
         static_cast<std::size_t>(reference::bytesPerSample(encoding));
}

/** Converts a block that starts at any byte address and compares each output
 *  with the reference. */
void expectReadsLikeReference(const ByteBlock& block, int encoding, bool bigEndian, int channels,
                              const std::vector<int>& map, long long frames,
                              std::size_t misalignment)
{
  SCOPED_TRACE(describe(encoding, bigEndian, channels, frames) + ", " + std::to_string(map.size()) +
               " outputs, off by " + std::to_string(misalignment));
  ByteBlock shifted(misalignment + block.size() + 1, 0x99);
  std::copy(block.begin(), block.end(),
            shifted.begin() + static_cast<std::ptrdiff_t>(misalignment));

  support::Buffers out(static_cast<int>(map.size()), frames);
  ASSERT_EQ(TovPcm::toFloat(out.pointers(), support::channelMap(map), shifted.data() + misalignment,
                            formatRecord(encoding, channels, bigEndian), frames),
            0);
  const auto expected = reference::decode(block, encoding, bigEndian, channels, map, frames);
  for (std::size_t i = 0; i < map.size(); ++i)
    ASSERT_EQ(support::bits(out.samples(static_cast<int>(i))), support::bits(expected.at(i)))
        << "output " << i;
  ASSERT_TRUE(out.guardsIntact());
}

void expectWritesLikeReference(const std::vector<std::vector<float>>& inputs, int encoding,
                               bool bigEndian, long long frames, std::size_t misalignment)
{
  const int channels = static_cast<int>(inputs.size());
  SCOPED_TRACE(describe(encoding, bigEndian, channels, frames) + ", off by " +
               std::to_string(misalignment));
  support::Buffers in(channels, frames);
  for (int c = 0; c < channels; ++c)
    std::copy(inputs[static_cast<std::size_t>(c)].begin(),
              inputs[static_cast<std::size_t>(c)].end(), in.channel(c));

  const std::size_t guard = 32;
  const std::size_t size = blockSize(encoding, channels, frames);
  ByteBlock block(guard + misalignment + size + guard, 0x99);
  ByteBlock expected = block;
  const ByteBlock encoded = reference::encode(inputs, encoding, bigEndian, frames);
  ASSERT_EQ(encoded.size(), size);
  std::copy(encoded.begin(), encoded.end(),
            expected.begin() + static_cast<std::ptrdiff_t>(guard + misalignment));

  ASSERT_EQ(TovPcm::fromFloat(block.data() + guard + misalignment,
                              support::channelMap(std::vector<int>(inputs.size(), 0)),
                              in.pointers(), formatRecord(encoding, channels, bigEndian), frames),
            0);
  ASSERT_EQ(block, expected);
}

std::vector<std::vector<float>> wildInputs(Noise& noise, int channels, long long frames)
{
  std::vector<std::vector<float>> inputs;
  for (int c = 0; c < channels; ++c)
    inputs.push_back(noise.wildSamples(frames));
  return inputs;
}

/** Calls @p check with each encoding in both byte orders. */
template <typename Check>
void forEachEncoding(Check check)
{
  for (int encoding = 0; encoding < 10; ++encoding)
    for (const bool bigEndian : {false, true})
      check(encoding, bigEndian);
}

} // namespace

TEST(ConversionReferenceTest, ReadsAllChannelsInOrder)
{
  Noise noise(1);
  forEachEncoding([&](int encoding, bool bigEndian) {
    for (const int channels : kChannelCounts) {
      std::vector<int> map;
      for (int c = 0; c < channels; ++c)
        map.push_back(c);
      for (const long long frames : kBlockLengths)
        expectReadsLikeReference(noise.bytes(blockSize(encoding, channels, frames)), encoding,
                                 bigEndian, channels, map, frames, 0);
    }
  });
}

TEST(ConversionReferenceTest, ReadsOneChannelOfAny)
{
  Noise noise(2);
  forEachEncoding([&](int encoding, bool bigEndian) {
    for (const int channels : kChannelCounts)
      for (int wanted = -1; wanted <= channels; ++wanted)
        for (const long long frames : kBlockLengths)
          expectReadsLikeReference(noise.bytes(blockSize(encoding, channels, frames)), encoding,
                                   bigEndian, channels, {wanted}, frames,
                                   static_cast<std::size_t>(noise.between(0, 3)));
  });
}

TEST(ConversionReferenceTest, ReadsPairsOfChannels)
{
  Noise noise(3);
  forEachEncoding([&](int encoding, bool bigEndian) {
    for (const int channels : {1, 2, 3, 8})
      for (const auto& pair : std::vector<std::vector<int>>{
               {0, 1}, {1, 0}, {0, 0}, {1, 1}, {channels - 1, 0}, {-1, channels}})
        for (const long long frames : kBlockLengths)
          expectReadsLikeReference(noise.bytes(blockSize(encoding, channels, frames)), encoding,
                                   bigEndian, channels, pair, frames,
                                   static_cast<std::size_t>(noise.between(0, 3)));
  });
}

TEST(ConversionReferenceTest, ReadsAnyMapFromAnyAddress)
{
  Noise noise(4);
  forEachEncoding([&](int encoding, bool bigEndian) {
    for (int round = 0; round < 60; ++round) {
      const int channels = noise.between(1, 9);
      std::vector<int> map;
      for (int outputs = noise.between(1, 12); outputs > 0; --outputs) {
        const int kind = noise.between(0, 20);
        map.push_back(kind == 0   ? std::numeric_limits<int>::min()
                      : kind == 1 ? std::numeric_limits<int>::max()
                                  : noise.between(-2, channels + 1));
      }
      const long long frames = noise.between(0, 90);
      expectReadsLikeReference(noise.bytes(blockSize(encoding, channels, frames)), encoding,
                               bigEndian, channels, map, frames,
                               static_cast<std::size_t>(noise.between(0, 7)));
    }
  });
}

TEST(ConversionReferenceTest, ReadsSevenHundredChannels)
{
  Noise noise(5);
  forEachEncoding([&](int encoding, bool bigEndian) {
    std::vector<int> all;
    for (int c = 0; c < 700; ++c)
      all.push_back(c);
    const std::vector<int> few = {699, 0, 700, -700, 350, 350};
    for (const long long frames : {0LL, 1LL, 2LL, 9LL}) {
      const ByteBlock block = noise.bytes(blockSize(encoding, 700, frames));
      expectReadsLikeReference(block, encoding, bigEndian, 700, all, frames, 0);
      expectReadsLikeReference(block, encoding, bigEndian, 700, few, frames, 1);
    }
  });
}

TEST(ConversionReferenceTest, TheSingleBufferFormReadsChannelZero)
{
  Noise noise(6);
  forEachEncoding([&](int encoding, bool bigEndian) {
    for (const int channels : kChannelCounts) {
      for (const long long frames : kBlockLengths) {
        SCOPED_TRACE(describe(encoding, bigEndian, channels, frames));
        const ByteBlock block = noise.bytes(blockSize(encoding, channels, frames));
        support::Buffers out(1, frames);
        const std::uint8_t nothing = 0;
        ASSERT_EQ(TovPcm::toFloat(out.channel(0), block.empty() ? &nothing : block.data(),
                                  formatRecord(encoding, channels, bigEndian), frames),
                  0);
        ASSERT_EQ(support::bits(out.samples(0)),
                  support::bits(
                      reference::decode(block, encoding, bigEndian, channels, {0}, frames).at(0)));
        ASSERT_TRUE(out.guardsIntact());
      }
    }
  });
}

TEST(ConversionReferenceTest, EverySixteenBitCodeIsRead)
{
  ByteBlock block;
  for (unsigned int code = 0; code < 65536; ++code) {
    block.push_back(static_cast<std::uint8_t>(code));
    block.push_back(static_cast<std::uint8_t>(code >> 8));
  }
  for (const int encoding : {0, 1})
    expectReadsLikeReference(block, encoding, false, 1, {0}, 131072, 0);
  for (const int encoding : {2, 3})
    for (const bool bigEndian : {false, true})
      expectReadsLikeReference(block, encoding, bigEndian, 1, {0}, 65536, 0);
}

TEST(ConversionReferenceTest, WritesAnyFloats)
{
  Noise noise(7);
  forEachEncoding([&](int encoding, bool bigEndian) {
    for (const int channels : kChannelCounts)
      for (const long long frames : kBlockLengths)
        expectWritesLikeReference(wildInputs(noise, channels, frames), encoding, bigEndian, frames,
                                  static_cast<std::size_t>(noise.between(0, 3)));
  });
}

TEST(ConversionReferenceTest, WritesSevenHundredChannels)
{
  Noise noise(8);
  forEachEncoding([&](int encoding, bool bigEndian) {
    for (const long long frames : {0LL, 1LL, 2LL, 9LL})
      expectWritesLikeReference(wildInputs(noise, 700, frames), encoding, bigEndian, frames, 1);
  });
}

TEST(ConversionReferenceTest, WritesValuesAroundEveryStep)
{
  Noise noise(9);
  for (const int exponent : {7, 8, 15, 16, 23, 24, 31}) {
    std::vector<float> around;
    for (int round = 0; round < 3000; ++round) {
      const float scale = 1.0f / static_cast<float>(std::int64_t{1} << exponent);
      const float step = static_cast<float>(noise.between(-70000, 70000)) * scale;
      around.push_back(step);
      around.push_back(std::nextafter(step, 2.0f));
      around.push_back(std::nextafter(step, -2.0f));
      around.push_back(1.0f - step);
      around.push_back(-1.0f + step);
    }
    forEachEncoding([&](int encoding, bool bigEndian) {
      expectWritesLikeReference({around}, encoding, bigEndian,
                                static_cast<long long>(around.size()), 0);
    });
  }
}

TEST(ConversionReferenceTest, WritesEveryExponent)
{
  std::vector<float> values;
  for (std::uint32_t high = 0; high < 65536; ++high) {
    values.push_back(std::bit_cast<float>(high << 16));
    values.push_back(std::bit_cast<float>(high << 16 | 0xFFFFu));
  }
  forEachEncoding([&](int encoding, bool bigEndian) {
    expectWritesLikeReference({values}, encoding, bigEndian, static_cast<long long>(values.size()),
                              0);
  });
}

TEST(ConversionReferenceTest, ReadingInPiecesEqualsReadingTheWhole)
{
  Noise noise(10);
  forEachEncoding([&](int encoding, bool bigEndian) {
    for (int round = 0; round < 12; ++round) {
      const int channels = noise.between(1, 5);
      const long long frames = noise.between(1, 80);
      const std::vector<int> map = {noise.between(0, channels - 1), noise.between(0, channels - 1)};
      const TovAudioIOFormat format = formatRecord(encoding, channels, bigEndian);
      const ByteBlock block = noise.bytes(blockSize(encoding, channels, frames));
      support::Buffers whole(2, frames);
      TovPcm::toFloat(whole.pointers(), support::channelMap(map), block.data(), format, frames);

      for (const long long cut : {0LL, 1LL, frames / 3, frames / 2, frames - 1, frames}) {
        support::Buffers pieces(2, frames);
        TovNLPArray<float> rest;
        rest.append(pieces.channel(0) + cut);
        rest.append(pieces.channel(1) + cut);
        TovPcm::toFloat(pieces.pointers(), support::channelMap(map), block.data(), format, cut);
        TovPcm::toFloat(rest, support::channelMap(map),
                        block.data() + blockSize(encoding, channels, cut), format, frames - cut);
        for (int c = 0; c < 2; ++c)
          ASSERT_EQ(support::bits(pieces.samples(c)), support::bits(whole.samples(c)))
              << describe(encoding, bigEndian, channels, frames) << ", cut at " << cut;
        ASSERT_TRUE(pieces.guardsIntact());
      }
    }
  });
}

TEST(ConversionReferenceTest, WritingInPiecesEqualsWritingTheWhole)
{
  Noise noise(11);
  forEachEncoding([&](int encoding, bool bigEndian) {
    for (int round = 0; round < 12; ++round) {
      const long long frames = noise.between(1, 80);
      const TovAudioIOFormat format = formatRecord(encoding, 2, bigEndian);
      support::Buffers in(2, frames);
      for (long long f = 0; f < frames; ++f)
        for (int c = 0; c < 2; ++c)
          in.channel(c)[f] = noise.wildSample();
      ByteBlock whole(blockSize(encoding, 2, frames));
      TovPcm::fromFloat(whole.data(), support::channelMap({0, 1}), in.pointers(), format, frames);

      for (const long long cut : {0LL, 1LL, frames / 3, frames / 2, frames - 1, frames}) {
        TovNLPArray<float> rest;
        rest.append(in.channel(0) + cut);
        rest.append(in.channel(1) + cut);
        ByteBlock pieces(whole.size());
        TovPcm::fromFloat(pieces.data(), support::channelMap({0, 1}), in.pointers(), format, cut);
        TovPcm::fromFloat(pieces.data() + blockSize(encoding, 2, cut), support::channelMap({0, 1}),
                          rest, format, frames - cut);
        ASSERT_EQ(pieces, whole) << describe(encoding, bigEndian, 2, frames) << ", cut at " << cut;
      }
    }
  });
}
