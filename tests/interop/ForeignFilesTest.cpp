// Files that other programs write, read by the library.
#include <string>

#include <gtest/gtest.h>

#include "tests/interop/Commands.h"
#include "tests/interop/LibraryFiles.h"
#include "tests/interop/Sndfile.h"

namespace {

using support::IntegerSound;

/** Bits and channels. */
class ForeignFile : public testing::TestWithParam<std::tuple<int, int>> {
protected:
  ForeignFile()
  {
    const int channels = std::get<1>(GetParam());
    constexpr int kRates[] = {44100, 22050, 8000, 11025, 96000, 48000, 192000, 32000};
    sound = support::randomSound(channels, 777, kRates[channels - 1], std::get<0>(GetParam()),
                                 static_cast<unsigned int>(10 + channels));
  }

  support::TempFolder folder;
  IntegerSound sound;
};

class ForeignWav : public ForeignFile {};
class ForeignAiff : public ForeignFile {};

TEST_P(ForeignWav, OfSoxIsReadEqual)
{
  const std::string path = support::writeBySox(folder, "file.wav", sound, {"-t", "wavpcm"});
  ASSERT_EQ(support::formatTagOf(path), 1);
  support::expectReadEqual(path, sound);
}

TEST_P(ForeignWav, OfLibsndfileIsReadEqual)
{
  const std::string path = folder.path("file.wav");
  support::writeBySndfile(path, SF_FORMAT_WAV, sound);
  ASSERT_EQ(support::formatTagOf(path), 1);
  support::expectReadEqual(path, sound);
}

TEST_P(ForeignAiff, OfSoxIsReadEqual)
{
  support::expectReadEqual(support::writeBySox(folder, "file.aiff", sound, {"-t", "aiff"}), sound);
}

TEST_P(ForeignAiff, OfLibsndfileIsReadEqual)
{
  // libsndfile counts the pad byte behind an odd number of bytes as a frame.
  sound = support::randomSound(sound.channelCount(), 778, sound.rate, sound.bits, 4);
  const std::string path = folder.path("file.aiff");
  support::writeBySndfile(path, SF_FORMAT_AIFF, sound);
  support::expectReadEqual(path, sound);
}

TEST_P(ForeignAiff, OfFfmpegIsReadEqual)
{
  const std::string codec =
      sound.bits == 8 ? "pcm_s8" : "pcm_s" + std::to_string(sound.bits) + "be";
  support::expectReadEqual(
      support::writeByFfmpeg(folder, "plain.aiff", sound,
                             {"-c:a", codec, "-bitexact", "-flags", "bitexact"}),
      sound);
  support::expectReadEqual(support::writeByFfmpeg(folder, "tagged.aiff", sound,
                                                  {"-c:a", codec, "-metadata", "title=even"}),
                           sound);
}

std::string caseName(const testing::TestParamInfo<ForeignFile::ParamType>& info)
{
  return std::to_string(std::get<0>(info.param)) + "Bits" +
         std::to_string(std::get<1>(info.param)) + "Channels";
}

INSTANTIATE_TEST_SUITE_P(Sizes, ForeignWav,
                         testing::Combine(testing::Values(8, 16, 24), testing::Range(1, 9)),
                         caseName);
INSTANTIATE_TEST_SUITE_P(Sizes, ForeignAiff,
                         testing::Combine(testing::Values(8, 16, 24, 32), testing::Range(1, 9)),
                         caseName);

/** Bits and channels. */
class FfmpegWav : public ForeignFile {};

// Above 48000 Hz and 16 bits it writes extensible ones.
TEST_P(FfmpegWav, IsReadEqual)
{
  sound.rate = 44100 + 3900 * (sound.channelCount() - 1);
  const std::string codec = sound.bits == 8 ? "pcm_u8" : "pcm_s16le";
  const std::string plain = support::writeByFfmpeg(
      folder, "plain.wav", sound, {"-c:a", codec, "-bitexact", "-flags", "bitexact"});
  ASSERT_EQ(support::formatTagOf(plain), 1);
  support::expectReadEqual(plain, sound);
  // Without, a chunk of texts stands before the samples.
  const std::string tagged = support::writeByFfmpeg(folder, "tagged.wav", sound,
                                                    {"-c:a", codec, "-metadata", "title=odd"});
  ASSERT_EQ(support::formatTagOf(tagged), 1);
  EXPECT_GT(folder.read("tagged.wav").size(), folder.read("plain.wav").size());
  support::expectReadEqual(tagged, sound);
}

INSTANTIATE_TEST_SUITE_P(Sizes, FfmpegWav,
                         testing::Combine(testing::Values(8, 16), testing::Values(1, 2)), caseName);

TEST(ForeignFiles, TellTheLibraryTheirRate)
{
  const support::TempFolder folder;
  for (const int rate : {3, 4000, 8001, 11025, 12345, 44056, 88200, 176400, 352800, 655350}) {
    SCOPED_TRACE(rate);
    const IntegerSound sound = support::randomSound(1, 50, rate, 16, 2);
    support::expectReadEqual(support::writeBySox(folder, "sox.wav", sound, {"-t", "wavpcm"}),
                             sound);
    support::expectReadEqual(support::writeBySox(folder, "sox.aiff", sound, {}), sound);
    support::expectReadEqual(
        support::writeByFfmpeg(folder, "ff.aiff", sound, {"-c:a", "pcm_s16be"}), sound);
    support::writeBySndfile(folder.path("sf.wav"), SF_FORMAT_WAV, sound);
    support::expectReadEqual(folder.path("sf.wav"), sound);
    support::writeBySndfile(folder.path("sf.aiff"), SF_FORMAT_AIFF, sound);
    support::expectReadEqual(folder.path("sf.aiff"), sound);
  }
}

} // namespace
