// Files of other programs in all combinations of container, sample size,
// channels, rate and length that both sides support: the library's facts and
// samples are those of whoever wrote the file.  All of them every time: one
// process writes many files.
#include <string>
#include <vector>

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

std::vector<IntegerSound> soundsOfAllLengths(int channels, int rate, int bits)
{
  std::vector<IntegerSound> sounds;
  for (const long long length : kLengths)
    sounds.push_back(support::randomSound(channels, length, rate, bits,
                                          static_cast<unsigned int>(length + rate)));
  return sounds;
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
    std::vector<IntegerSound> sounds;
    std::vector<std::string> paths;
    for (const int rate : kRates) {
      const std::vector<IntegerSound> ofRate = soundsOfAllLengths(channels, rate, GetParam().bits);
      const std::vector<std::string> written =
          support::writeAllBySox(folder, std::to_string(rate) + fileName(), ofRate,
                                 {"-t", isWav() ? "wavpcm" : "aiff"});
      sounds.insert(sounds.end(), ofRate.begin(), ofRate.end());
      paths.insert(paths.end(), written.begin(), written.end());
    }
    const std::vector<Facts> facts = support::factsBySox(paths);
    for (std::size_t i = 0; i < sounds.size(); ++i) {
      SCOPED_TRACE(testing::PrintToString(factsOf(sounds[i])));
      EXPECT_EQ(facts[i], factsOf(sounds[i]));
      support::expectReadEqual(paths[i], sounds[i]);
      if (HasFailure())
        return;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Of, Combinations,
                         testing::Values(Kind{"wav", 8}, Kind{"wav", 16}, Kind{"wav", 24},
                                         Kind{"aiff", 8}, Kind{"aiff", 16}, Kind{"aiff", 24},
                                         Kind{"aiff", 32}),
                         [](const testing::TestParamInfo<Kind>& tested) {
                           return tested.param.name + std::to_string(tested.param.bits);
                         });

/** Container and sample size of the integer files that ffmpeg writes in the form
 *  that the library handles. */
struct FfmpegKind {
  const char* name;
  const char* codec;
  int bits;
};

class FfmpegCombinations : public testing::TestWithParam<FfmpegKind> {
protected:
  bool isWav() const { return GetParam().name == std::string("wav"); }

  /** Above 48000 Hz its WAV files are extensible ones, which the library does
   *  not handle; so are those of more channels that it has a layout for. */
  void expectExtensibleOrReadEqual(const std::string& path, const IntegerSound& sound)
  {
    const bool isExtensible = support::formatTagOf(path) == kExtensibleTag;
    if (sound.rate > 48000 || sound.channelCount() <= 2) {
      EXPECT_EQ(isExtensible, sound.rate > 48000);
    }
    if (isExtensible)
      EXPECT_EQ(support::readByLibrary(path).format.state, std::uint32_t(FormatUnsupported));
    else
      support::expectReadEqual(path, sound);
  }

  static constexpr int kExtensibleTag = 0xfffe;
  const support::TempFolder folder;
};

TEST_P(FfmpegCombinations, AreReadEqual)
{
  std::size_t turn = 0;
  for (const int channels : kChannels) {
    std::vector<std::vector<IntegerSound>> groups;
    std::vector<IntegerSound> sounds;
    for (const int rate : kRates) {
      groups.push_back(soundsOfAllLengths(channels, rate, GetParam().bits));
      sounds.insert(sounds.end(), groups.back().begin(), groups.back().end());
    }
    const std::vector<std::string> paths =
        support::writeAllByFfmpeg(folder, std::string("file.") + GetParam().name, groups,
                                  {"-c:a", GetParam().codec});
    // ffprobe takes one file at a time, longer than all else: it is asked only
    // about one of each third channel count, of another rate and length.
    if (turn++ % 3 == 0) {
      const std::size_t probed = turn * 13 % sounds.size();
      EXPECT_EQ(support::factsByFfprobe(paths[probed]), factsOf(sounds[probed]));
    }
    for (std::size_t i = 0; i < sounds.size(); ++i) {
      SCOPED_TRACE(testing::PrintToString(factsOf(sounds[i])));
      if (isWav())
        expectExtensibleOrReadEqual(paths[i], sounds[i]);
      else
        support::expectReadEqual(paths[i], sounds[i]);
      if (HasFailure())
        return;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Of, FfmpegCombinations,
    testing::Values(FfmpegKind{"wav", "pcm_u8", 8}, FfmpegKind{"wav", "pcm_s16le", 16},
                    FfmpegKind{"aiff", "pcm_s8", 8}, FfmpegKind{"aiff", "pcm_s16be", 16},
                    FfmpegKind{"aiff", "pcm_s24be", 24}, FfmpegKind{"aiff", "pcm_s32be", 32}),
    [](const testing::TestParamInfo<FfmpegKind>& tested) {
      return tested.param.name + std::to_string(tested.param.bits);
    });

} // namespace
