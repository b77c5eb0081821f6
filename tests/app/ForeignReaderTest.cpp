// What the reader on libsndfile delivers: the samples of a straight decode,
// whatever is asked for and in whatever order.
#include <bit>
#include <random>

#include <gtest/gtest.h>

#include "app/ForeignSoundReader.h"
#include "tests/app/ForeignFiles.h"
#include "tests/support/Buffers.h"
#include "tests/support/Program.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Buffers;
using support::channelMap;
using support::ForeignForm;
using support::ForeignSamples;

class ForeignReader : public testing::Test {
protected:
  /** Each form with 3 s of stereo, and a reader that stands open on it. */
  template <typename Check>
  void forEachForm(Check check)
  {
    const ForeignSamples sound = support::foreignSound(2, 144000);
    for (const ForeignForm& form : support::foreignForms()) {
      SCOPED_TRACE(form.file);
      const std::string path = folder.path(form.file);
      support::writeForeign(path, form.format, sound);
      ForeignSoundReader reader;
      ASSERT_EQ(reader.initialize(path.c_str()), 0);
      check(form, reader, support::decodedStraight(path));
    }
  }

  /** Reads both channels of a span and compares bit by bit. */
  static void expectSpan(TovAudioReader& reader, const ForeignSamples& straight, long long start,
                         long long count)
  {
    Buffers buffers(2, count);
    ASSERT_EQ(reader.readChannels(buffers.pointers(), channelMap({0, 1}), start, count), 0)
        << start << ", " << count;
    ASSERT_TRUE(buffers.guardsIntact());
    for (long long i = 0; i < count; ++i) {
      for (int c = 0; c < 2; ++c) {
        const float expected = straight.samples[static_cast<std::size_t>((start + i) * 2 + c)];
        ASSERT_EQ(std::bit_cast<unsigned int>(buffers.channel(c)[i]),
                  std::bit_cast<unsigned int>(expected))
            << "frame " << start + i << " of a span from " << start << ", channel " << c;
      }
    }
  }

  support::TempFolder folder;
};

TEST_F(ForeignReader, DescribesEveryForm)
{
  forEachForm([](const ForeignForm& form, ForeignSoundReader& reader, const ForeignSamples& all) {
    TovAudioIOFormat format = {};
    ASSERT_EQ(reader.getFileSpec(&format), 0);
    EXPECT_EQ(format.state, static_cast<std::uint32_t>(FormatValid));
    EXPECT_EQ(format.sampleRate, 48000u);
    EXPECT_EQ(format.channels, 2u);
    EXPECT_EQ(format.frameCount, all.frames());
    const int stored = form.format & SF_FORMAT_SUBMASK;
    const bool isInteger = stored >= SF_FORMAT_PCM_S8 && stored <= SF_FORMAT_PCM_U8;
    EXPECT_EQ(format.encoding != EncFloat32, isInteger) << format.encoding;
  });
}

TEST_F(ForeignReader, DeliversTheSamplesThatWereWrittenWhereNothingIsLost)
{
  const ForeignSamples sound = support::foreignSound(2, 144000);
  int lossless = 0;
  forEachForm([&](const ForeignForm& form, ForeignSoundReader& reader, const ForeignSamples&) {
    if (!form.isLossless)
      return;
    ++lossless;
    expectSpan(reader, sound, 0, sound.frames());
  });
  EXPECT_EQ(lossless, 14);
}

TEST_F(ForeignReader, DeliversAStraightDecodeInOneRead)
{
  forEachForm([](const ForeignForm&, ForeignSoundReader& reader, const ForeignSamples& all) {
    expectSpan(reader, all, 0, all.frames());
  });
}

TEST_F(ForeignReader, DeliversTheSameInAnyOrderOfSpans)
{
  forEachForm([](const ForeignForm&, ForeignSoundReader& reader, const ForeignSamples& all) {
    std::mt19937 random(3);
    for (int i = 0; i < 60; ++i) {
      const long long start = static_cast<long long>(random()) % all.frames();
      const long long most = std::min<long long>(all.frames() - start, i % 5 == 0 ? 100000 : 3000);
      expectSpan(reader, all, start, 1 + static_cast<long long>(random()) % most);
    }
  });
}

TEST_F(ForeignReader, DeliversTheSameBackwardsAndInOverlappingSteps)
{
  forEachForm([](const ForeignForm&, ForeignSoundReader& reader, const ForeignSamples& all) {
    for (long long start = all.frames() - 509; start > all.frames() - 60000; start -= 509)
      expectSpan(reader, all, start, 509);
    for (long long start = 0; start + 4200 < 60000; start += 4096)
      expectSpan(reader, all, start, 4200);
  });
}

TEST_F(ForeignReader, DeliversTheSameWhenOpenedAgain)
{
  forEachForm([&](const ForeignForm& form, ForeignSoundReader& reader, const ForeignSamples& all) {
    expectSpan(reader, all, 100000, 100);
    ASSERT_EQ(reader.initialize(folder.path(form.file).c_str()), 0);
    expectSpan(reader, all, 0, 5000);
  });
}

TEST_F(ForeignReader, SeesWhatWasWrittenBeforeItIsOpenedAgain)
{
  const std::string path = folder.path("a.ogg");
  support::writeForeign(path, SF_FORMAT_OGG | SF_FORMAT_VORBIS, support::foreignSound(2, 48000));
  ForeignSoundReader reader;
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  expectSpan(reader, support::decodedStraight(path), 30000, 100);
  support::writeForeign(path, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, support::foreignSound(2, 20000));
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  expectSpan(reader, support::decodedStraight(path), 0, 20000);
  EXPECT_EQ(reader.initialize(folder.path("gone.ogg").c_str()), 1);
}

TEST_F(ForeignReader, ReportsWhatLiesBehindTheEndAsEnded)
{
  forEachForm([](const ForeignForm&, ForeignSoundReader& reader, const ForeignSamples& all) {
    Buffers buffers(2, 100);
    const auto read = [&](long long start, long long count) {
      return reader.readChannels(buffers.pointers(), channelMap({0, 1}), start, count);
    };
    EXPECT_EQ(read(all.frames() - 50, 100), 4);
    EXPECT_EQ(read(all.frames(), 1), 4);
    EXPECT_EQ(read(-1, 10), 4);
    EXPECT_EQ(read(1LL << 62, 10), 4);
    expectSpan(reader, all, all.frames() - 100, 100);
    expectSpan(reader, all, 10, 100);
  });
}

TEST_F(ForeignReader, TakesTheNearestChannelAndPassesOverMissingOutputs)
{
  const std::string path = folder.path("a.flac");
  const ForeignSamples sound = support::foreignSound(3, 100);
  support::writeForeign(path, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, sound);
  ForeignSoundReader reader;
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  Buffers buffers(3, 100);
  ASSERT_EQ(reader.readChannels(buffers.pointers(), channelMap({7, -2, 1}), 0, 100), 0);
  for (std::size_t i = 0; i < 100; ++i) {
    ASSERT_EQ(buffers.samples(0)[i], sound.samples[3 * i + 2]);
    ASSERT_EQ(buffers.samples(1)[i], sound.samples[3 * i]);
    ASSERT_EQ(buffers.samples(2)[i], sound.samples[3 * i + 1]);
  }
  std::vector<float> first(100);
  ASSERT_EQ(reader.readChannel(first.data(), 2, 0, 100), 0);
  EXPECT_EQ(first[99], sound.samples[3 * 99]);
}

TEST_F(ForeignReader, AnswersWithTheCodesOfReaders)
{
  ForeignSoundReader reader;
  Buffers buffers(1, 10);
  TovAudioIOFormat format = {};
  EXPECT_EQ(reader.initialize(folder.path("gone.flac").c_str()), 1);
  EXPECT_EQ(reader.initialize(nullptr), 1);
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0}), 0, 10), 1);
  format.sampleRate = 77;
  EXPECT_EQ(reader.getFileSpec(&format), 1);
  EXPECT_EQ(format.state, static_cast<std::uint32_t>(FormatNone));
  EXPECT_EQ(format.sampleRate, 77u);
  EXPECT_EQ(reader.getFileSpec(nullptr), 1);

  support::writeForeign(folder.path("a.flac"), SF_FORMAT_FLAC | SF_FORMAT_PCM_16,
                        support::foreignSound(1, 10));
  ASSERT_EQ(reader.initialize(folder.path("a.flac").c_str()), 0);
  EXPECT_EQ(reader.readChannels({}, channelMap({}), 0, 10), 2);
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0, 0}), 0, 10), 2);
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0}), 0, 0), 0);
  EXPECT_TRUE(buffers.untouched());
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0}), 0, 10), 0);
  reader.close();
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0}), 0, 10), 1);
}

TEST_F(ForeignReader, CountsTheFramesOfFlacThatDoesNotSay)
{
  const std::string path = folder.path("a.flac");
  const ForeignSamples sound = support::foreignSound(2, 100000);
  support::writeForeign(path, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, sound);
  std::vector<std::uint8_t> bytes = folder.read("a.flac");
  bytes[21] &= 0xF0; // the 36 bits of the number of frames
  for (std::size_t i = 22; i < 26; ++i)
    bytes[i] = 0;
  folder.write("a.flac", bytes);
  ASSERT_EQ(support::decodedStraight(path).info.frames, SF_COUNT_MAX);

  ForeignSoundReader reader;
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  TovAudioIOFormat format = {};
  ASSERT_EQ(reader.getFileSpec(&format), 0);
  EXPECT_EQ(format.frameCount, 100000);
  expectSpan(reader, sound, 99000, 1000);
  expectSpan(reader, sound, 0, 1000);
}

/** An MP3 file without a Xing header, of 2 s of noise and 20 of silence. */
std::string mp3WithoutLength(const support::TempFolder& folder, const std::vector<std::string>& rate)
{
  std::vector<std::string> command = {"ffmpeg", "-v", "error", "-f", "lavfi", "-i",
                                      "anoisesrc=duration=2:seed=1,apad=pad_dur=20", "-c:a",
                                      "libmp3lame", "-write_xing", "0"};
  command.insert(command.end(), rate.begin(), rate.end());
  command.push_back(folder.path("a.mp3"));
  support::runOrThrow(command);
  return command.back();
}

TEST_F(ForeignReader, CountsTheFramesOfAnMp3WithoutAXingHeader)
{
  const std::string path = mp3WithoutLength(folder, {"-b:a", "64k"});
  const ForeignSamples straight = support::decodedStraight(path);
  ASSERT_LT(straight.frames(), straight.info.frames);
  ForeignSoundReader reader;
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  TovAudioIOFormat format = {};
  ASSERT_EQ(reader.getFileSpec(&format), 0);
  EXPECT_EQ(format.frameCount, straight.frames());
  Buffers last(1, 2000);
  ASSERT_EQ(reader.readChannels(last.pointers(), channelMap({0}), straight.frames() - 2000, 2000),
            0);
}

// libsndfile takes the whole file for as dense as its beginning, and stops there.
TEST_F(ForeignReader, RefusesAnMp3OfWhichItWouldGetTheBeginningOnly)
{
  const std::string path = mp3WithoutLength(folder, {"-q:a", "4"});
  const ForeignSamples straight = support::decodedStraight(path);
  ASSERT_LT(straight.frames(), 20 * straight.info.samplerate);
  ForeignSoundReader reader;
  EXPECT_EQ(reader.initialize(path.c_str()), 1);
}

TEST_F(ForeignReader, HasAsManyChannelsAsTheFile)
{
  constexpr int kChannels = 1000;
  const std::string path = folder.path("a.wav");
  const ForeignSamples sound = support::foreignSound(kChannels, 500);
  support::writeForeign(path, SF_FORMAT_WAV | SF_FORMAT_FLOAT, sound);
  ForeignSoundReader reader;
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  Buffers buffers(2, 500);
  ASSERT_EQ(reader.readChannels(buffers.pointers(), channelMap({0, kChannels - 1}), 0, 500), 0);
  EXPECT_EQ(buffers.channel(0)[499], sound.samples[499 * kChannels]);
  EXPECT_EQ(buffers.channel(1)[499], sound.samples[500 * kChannels - 1]);
}

} // namespace
