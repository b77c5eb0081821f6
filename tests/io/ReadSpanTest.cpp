#include <climits>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"
#include "tests/support/TempFolder.h"

// Which frames of which channels a reader delivers, and what it leaves alone.

namespace {

using support::bits;
using support::Bytes;
using support::channelMap;
using support::Signal;

/** An open file of 24-bit noise. */
template <typename Format>
struct Noise {
  Noise(int channels, long long frames, const Bytes& behind = Bytes())
      : map(support::allChannels(channels))
  {
    const Bytes samples = support::encoded<Format>(support::noise(channels, frames, 77), 3);
    signal = support::decoded<Format>(samples, 3, channels, map, frames);
    Bytes content = Format::file(static_cast<unsigned int>(channels),
                                 static_cast<std::uint32_t>(frames), 44100, 24, samples);
    EXPECT_EQ(reader.initialize(folder.write("noise", content.append(behind)).c_str()), 0);
  }

  /** Reads all channels; the frames that must have come have, and nothing
   *  else was written. */
  void expectRead(long long start, long long count, int status, long long delivered, long long room)
  {
    support::Buffers buffers(static_cast<int>(map.size()), room);
    EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap(map), start, count), status)
        << start << " " << count;
    EXPECT_TRUE(buffers.guardsIntact()) << start << " " << count;
    for (std::size_t c = 0; c < map.size(); ++c) {
      std::vector<float> expected(static_cast<std::size_t>(room), support::Buffers::kUntouched);
      for (long long i = 0; i < delivered; ++i)
        expected[static_cast<std::size_t>(i)] = signal[c][static_cast<std::size_t>(start + i)];
      EXPECT_EQ(bits(buffers.samples(static_cast<int>(c))), bits(expected))
          << start << " " << count;
    }
  }

  support::TempFolder folder;
  typename Format::Reader reader;
  std::vector<int> map;
  Signal signal;
};

template <typename Format>
class ReadSpan : public testing::Test {};

using Formats = testing::Types<support::Wav, support::Aiff>;
TYPED_TEST_SUITE(ReadSpan, Formats);

TYPED_TEST(ReadSpan, DeliversExactlyTheFramesAskedFor)
{
  Noise<TypeParam> file(2, 50);
  file.expectRead(0, 50, 0, 50, 50);
  file.expectRead(0, 1, 0, 1, 10);
  file.expectRead(49, 1, 0, 1, 10);
  file.expectRead(13, 20, 0, 20, 30);
}

TYPED_TEST(ReadSpan, ASpanThatPassesTheEndGetsWhatThereIs)
{
  Noise<TypeParam> file(2, 50);
  file.expectRead(45, 10, TypeParam::kShortRead, 5, 20);
  file.expectRead(0, 51, TypeParam::kShortRead, 50, 60);
  file.expectRead(49, 1000, TypeParam::kShortRead, 1, 1100);
}

TYPED_TEST(ReadSpan, ASpanBehindTheEndGetsNothing)
{
  Noise<TypeParam> file(2, 50);
  file.expectRead(50, 1, TypeParam::kShortRead, 0, 10);
  file.expectRead(5000, 10, TypeParam::kShortRead, 0, 10);
  file.expectRead(0, 50, 0, 50, 50);
}

TYPED_TEST(ReadSpan, ALongSpanThatPassesTheEndGetsWhatThereIs)
{
  const long long pass = support::framesPerPass(2, 3);
  for (const long long frames : {pass - 1, pass, pass + 1, 2 * pass + 7}) {
    Noise<TypeParam> file(2, frames);
    file.expectRead(0, frames + 1, TypeParam::kShortRead, frames, frames + 10);
    file.expectRead(3, 3 * pass, TypeParam::kShortRead, frames - 3, 3 * pass);
  }
}

TYPED_TEST(ReadSpan, NoFramesOrFewerAreNothingToDo)
{
  Noise<TypeParam> file(2, 50);
  for (const long long count : {0LL, -1LL, -50LL, static_cast<long long>(INT_MIN), LLONG_MIN})
    for (const long long start : {0LL, 10LL, 50LL, 51LL, LLONG_MAX})
      file.expectRead(start, count, 0, 0, 10);
}

TYPED_TEST(ReadSpan, ANegativeStartGetsNothing)
{
  Noise<TypeParam> file(2, 50);
  for (const long long start : {-1LL, -2LL, -50LL, static_cast<long long>(INT_MIN), LLONG_MIN})
    for (const long long count : {1LL, 10LL, 40LL})
      file.expectRead(start, count, TypeParam::kShortRead, 0, 60);
}

TYPED_TEST(ReadSpan, ANegativeStartGetsNothingEvenWhereItsByteWouldLieInTheFile)
{
  // The header's bytes are no samples.
  Noise<TypeParam> file(1, 50);
  for (long long start = -20; start < 0; ++start)
    file.expectRead(start, 5, TypeParam::kShortRead, 0, 20);
}

TYPED_TEST(ReadSpan, AStartBeyondEveryFileGetsNothing)
{
  // 2^44 bytes and more are beyond what file systems can seek to; from about
  // 2^60 on the position in bytes cannot be computed either.
  Noise<TypeParam> file(2, 50);
  for (const long long start :
       {1LL << 31, 1LL << 32, 1LL << 41, 1LL << 45, 1LL << 59, LLONG_MAX / 6 - 9, LLONG_MAX / 6,
        LLONG_MAX / 6 + 1, LLONG_MAX / 4, 1LL << 61, 1LL << 62, LLONG_MAX - 10, LLONG_MAX - 1})
    file.expectRead(start, 1, TypeParam::kShortRead, 0, 20);
}

TYPED_TEST(ReadSpan, AnEndBeyondEveryNumberGetsNothing)
{
  Noise<TypeParam> file(2, 50);
  file.expectRead(LLONG_MAX, 1, TypeParam::kShortRead, 0, 20);
  file.expectRead(LLONG_MAX - 5, 6, TypeParam::kShortRead, 0, 20);
  file.expectRead(1, LLONG_MAX, TypeParam::kShortRead, 0, 60);
  file.expectRead(10, LLONG_MAX - 9, TypeParam::kShortRead, 0, 60);
  file.expectRead(LLONG_MAX, LLONG_MAX, TypeParam::kShortRead, 0, 20);
}

TYPED_TEST(ReadSpan, TheLargestCountWritesNoMoreThanTheFileHolds)
{
  Noise<TypeParam> file(1, 50);
  support::Buffers buffers(1, 50);
  EXPECT_EQ(file.reader.readChannels(buffers.pointers(), channelMap({0}), 0, LLONG_MAX),
            TypeParam::kShortRead);
  EXPECT_TRUE(buffers.guardsIntact());
}

TYPED_TEST(ReadSpan, AHugeSpanGetsWhatThereIs)
{
  Noise<TypeParam> file(2, 50);
  file.expectRead(0, 1LL << 32, TypeParam::kShortRead, 50, 60);
  file.expectRead(20, 1LL << 40, TypeParam::kShortRead, 30, 60);
}

TYPED_TEST(ReadSpan, StillReadsAfterSpansThatGotNothing)
{
  Noise<TypeParam> file(2, 50);
  file.expectRead(LLONG_MAX, 1, TypeParam::kShortRead, 0, 20);
  file.expectRead(-3, 5, TypeParam::kShortRead, 0, 20);
  file.expectRead(1LL << 50, 5, TypeParam::kShortRead, 0, 20);
  file.expectRead(7, 40, 0, 40, 40);
}

TYPED_TEST(ReadSpan, BytesBehindTheStatedDataAreSamplesToo)
{
  Noise<TypeParam> file(1, 5, Bytes().zeros(6).u8(1).u8(2));
  TovAudioIOFormat format = {};
  ASSERT_EQ(file.reader.getFileSpec(&format), 0);
  EXPECT_EQ(format.frameCount, 5);
  support::Buffers buffers(1, 10);
  EXPECT_EQ(file.reader.readChannels(buffers.pointers(), channelMap({0}), 4, 3), 0);
  EXPECT_EQ(buffers.samples(0)[0], file.signal[0][4]);
  EXPECT_EQ(buffers.samples(0)[1], 0.0f);
  EXPECT_EQ(buffers.samples(0)[2], 0.0f);
  EXPECT_EQ(buffers.samples(0)[3], support::Buffers::kUntouched);
}

TYPED_TEST(ReadSpan, TheFilesLastBytesAreNoFrameWhereTheyAreTooFew)
{
  for (std::size_t extra = 1; extra < 6; ++extra) {
    Noise<TypeParam> file(2, 5, Bytes().zeros(extra));
    file.expectRead(0, 6, TypeParam::kShortRead, 5, 10);
    file.expectRead(5, 1, TypeParam::kShortRead, 0, 10);
  }
}

TYPED_TEST(ReadSpan, AFileWithoutSamplesHasNothingToRead)
{
  Noise<TypeParam> file(2, 0);
  TovAudioIOFormat format = {};
  ASSERT_EQ(file.reader.getFileSpec(&format), 0);
  EXPECT_EQ(format.frameCount, 0);
  file.expectRead(0, 1, TypeParam::kShortRead, 0, 10);
  file.expectRead(0, 0, 0, 0, 10);
}

/** Reads with a map; output i must be file channel expected[i]. */
template <typename Format>
void expectMapped(int channels, const std::vector<int>& map, const std::vector<int>& expected)
{
  Noise<Format> file(channels, 30);
  support::Buffers buffers(static_cast<int>(map.size()), 20);
  ASSERT_EQ(file.reader.readChannels(buffers.pointers(), channelMap(map), 10, 20), 0);
  EXPECT_TRUE(buffers.guardsIntact());
  for (std::size_t i = 0; i < map.size(); ++i) {
    const Signal source = {file.signal[static_cast<std::size_t>(expected[i])]};
    EXPECT_EQ(bits(buffers.samples(static_cast<int>(i))), bits(support::slice(source, 10, 20)[0]))
        << channels << " channels, output " << i << " of map entry " << map[i];
  }
}

TYPED_TEST(ReadSpan, TheMapChoosesOrdersAndRepeatsChannels)
{
  expectMapped<TypeParam>(2, {1, 0}, {1, 0});
  expectMapped<TypeParam>(2, {1, 1}, {1, 1});
  expectMapped<TypeParam>(2, {1}, {1});
  expectMapped<TypeParam>(5, {4, 2, 0}, {4, 2, 0});
  expectMapped<TypeParam>(3, {2, 1, 0, 0, 1, 2, 2}, {2, 1, 0, 0, 1, 2, 2});
}

TYPED_TEST(ReadSpan, AMapEntryBeyondTheChannelsIsTheNearestChannel)
{
  expectMapped<TypeParam>(1, {0, 1}, {0, 0});
  expectMapped<TypeParam>(2, {2, -1}, {1, 0});
  expectMapped<TypeParam>(2, {INT_MAX, INT_MIN}, {1, 0});
  expectMapped<TypeParam>(3, {-1, 3, 1, 1000}, {0, 2, 1, 2});
}

TYPED_TEST(ReadSpan, ReadingInPiecesEqualsReadingWhole)
{
  constexpr long long kFrames = 9000;
  Noise<TypeParam> file(3, kFrames);
  support::Buffers whole(3, kFrames);
  ASSERT_EQ(file.reader.readChannels(whole.pointers(), channelMap({0, 1, 2}), 0, kFrames), 0);
  std::mt19937 random(1204);
  for (int round = 0; round < 8; ++round) {
    support::Buffers pieces(3, kFrames);
    for (long long pos = 0; pos < kFrames;) {
      const long long count =
          std::min(support::below(random, round % 2 ? 2000 : 37), kFrames - pos);
      TovNLPArray<float> outputs;
      for (int c = 0; c < 3; ++c)
        outputs.append(pieces.channel(c) + pos);
      ASSERT_EQ(file.reader.readChannels(outputs, channelMap({0, 1, 2}), pos, count), 0);
      pos += count;
    }
    EXPECT_TRUE(pieces.guardsIntact());
    for (int c = 0; c < 3; ++c) {
      EXPECT_EQ(bits(pieces.samples(c)), bits(whole.samples(c)));
      EXPECT_EQ(bits(pieces.samples(c)), bits(file.signal[static_cast<std::size_t>(c)]));
    }
  }
}

TYPED_TEST(ReadSpan, TheOrderOfReadingDoesNotMatter)
{
  Noise<TypeParam> file(2, 6000);
  std::mt19937 random(31);
  for (int round = 0; round < 60; ++round) {
    const long long start = support::below(random, 6000);
    const long long count = support::below(random, 6000 - start);
    file.expectRead(start, count, 0, count, count + 5);
  }
}

} // namespace
