// Files of other programs in all combinations of container, sample size,
// channels, rate and length that both sides support: the library's facts and
// samples are those of whoever wrote the file.
#include <string>

#include <gtest/gtest.h>

#include "tests/interop/Commands.h"
#include "tests/interop/ForeignFacts.h"
#include "tests/interop/LibraryFiles.h"
#include "tests/interop/Sndfile.h"

namespace {

using support::Facts;
using support::IntegerSound;

constexpr int kRates[] = {8000, 11025, 16000, 22050, 32000, 44100, 48000, 88200, 96000, 192000};

/** One frame, odd and even numbers of them, and a little more and less than
 *  what one pass through the reader's buffer takes. */
constexpr long long kLengths[] = {1, 2, 3, 8, 777, 778, 2051, 2053, 4099};

constexpr int kChannels[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 32};

Facts factsOf(const IntegerSound& sound)
{
  return {sound.rate, sound.channelCount(), sound.bits, sound.frames()};
}

/** Sample size of a container. */
struct Kind {
  const char* name; ///< the container's suffix
  int bits;
};

class Combinations : public testing::TestWithParam<Kind> {
protected:
  bool isWav() const { return GetParam().name == std::string("wav"); }
  std::string fileName() const { return std::string("file.") + GetParam().name; }

  /** The next sound of so many channels: the rates and lengths go round at
   *  different speeds, so that all pairs of them come up. */
  IntegerSound nextSound(int channels)
  {
    const std::size_t turn = turns++;
    return support::randomSound(channels, kLengths[turn % std::size(kLengths)],
                                kRates[turn % std::size(kRates)], GetParam().bits,
                                static_cast<unsigned int>(turn));
  }

  /** What libsndfile writes into an AIFF header: it counts the pad byte behind
   *  an odd number of bytes. */
  static long long framesWithPad(const IntegerSound& sound)
  {
    const long long frameBytes = sound.channelCount() * sound.bits / 8;
    const long long bytes = sound.frames() * frameBytes;
    return (bytes + bytes % 2) / frameBytes;
  }

  support::TempFolder folder;
  std::size_t turns = 0;
};

TEST_P(Combinations, OfLibsndfileAreReadEqual)
{
  for (const int channels : kChannels) {
    for (std::size_t i = 0; i < std::size(kRates) * std::size(kLengths); ++i) {
      const IntegerSound sound = nextSound(channels);
      const std::string path = folder.path(fileName());
      support::writeBySndfile(path, isWav() ? SF_FORMAT_WAV : SF_FORMAT_AIFF, sound);
      SCOPED_TRACE(testing::PrintToString(factsOf(sound)));
      support::expectReadAsBySndfile(path);
      Facts expected = factsOf(sound);
      if (!isWav())
        expected.frames = framesWithPad(sound);
      EXPECT_EQ(support::factsByLibrary(path), expected);
      if (HasFailure())
        return;
    }
  }
}

TEST_P(Combinations, OfSoxAreReadEqual)
{
  for (const int channels : kChannels) {
    const IntegerSound sound = nextSound(channels);
    SCOPED_TRACE(testing::PrintToString(factsOf(sound)));
    const std::string path = support::writeBySox(folder, fileName(), sound,
                                                 {"-t", isWav() ? "wavpcm" : "aiff"});
    EXPECT_EQ(support::factsByLibrary(path), support::factsBySox(path));
    support::expectReadEqual(path, sound);
    support::expectReadAsBySndfile(path);
  }
}

INSTANTIATE_TEST_SUITE_P(Of, Combinations,
                         testing::Values(Kind{"wav", 8}, Kind{"wav", 16}, Kind{"wav", 24},
                                         Kind{"aiff", 8}, Kind{"aiff", 16}, Kind{"aiff", 24},
                                         Kind{"aiff", 32}),
                         [](const testing::TestParamInfo<Kind>& tested) {
                           return tested.param.name + std::to_string(tested.param.bits);
                         });

/** Container, sample size and most channels of the integer files that ffmpeg
 *  writes in the form that the library handles: above two channels, 16 bits
 *  or 48000 Hz its WAV files are extensible ones. */
struct FfmpegKind {
  const char* name;
  const char* codec;
  int bits;
  int mostChannels;
};

class FfmpegCombinations : public testing::TestWithParam<FfmpegKind> {};

TEST_P(FfmpegCombinations, AreReadEqual)
{
  const support::TempFolder folder;
  const bool isWav = GetParam().name == std::string("wav");
  std::size_t turn = 0;
  for (const int channels : kChannels) {
    if (channels > GetParam().mostChannels)
      break;
    for (int i = 0; i < (isWav ? 9 : 1); ++i, ++turn) {
      const int rate = kRates[turn % std::size(kRates)];
      const IntegerSound sound = support::randomSound(
          channels, kLengths[turn % std::size(kLengths)], isWav && rate > 48000 ? 48000 : rate,
          GetParam().bits, static_cast<unsigned int>(turn));
      SCOPED_TRACE(testing::PrintToString(factsOf(sound)));
      const std::string path = support::writeByFfmpeg(
          folder, std::string("file.") + GetParam().name, sound, {"-c:a", GetParam().codec});
      EXPECT_EQ(support::factsByLibrary(path), support::factsByFfprobe(path));
      support::expectReadEqual(path, sound);
      support::expectReadAsBySndfile(path);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Of, FfmpegCombinations,
    testing::Values(FfmpegKind{"wav", "pcm_u8", 8, 2}, FfmpegKind{"wav", "pcm_s16le", 16, 2},
                    FfmpegKind{"aiff", "pcm_s8", 8, 16}, FfmpegKind{"aiff", "pcm_s16be", 16, 16},
                    FfmpegKind{"aiff", "pcm_s24be", 24, 16},
                    FfmpegKind{"aiff", "pcm_s32be", 32, 16}),
    [](const testing::TestParamInfo<FfmpegKind>& tested) {
      return tested.param.name + std::to_string(tested.param.bits);
    });

} // namespace
