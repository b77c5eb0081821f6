// Files that the library writes, read back by other programs.
#include <bit>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/interop/Commands.h"
#include "tests/interop/LibraryFiles.h"
#include "tests/interop/Sndfile.h"
#include "tests/support/Messages.h"

namespace {

using support::CommandReading;
using support::IntegerSound;
using support::SndfileReading;

/** File name, bits, channels. */
class WrittenFile : public testing::TestWithParam<std::tuple<const char*, int, int>> {
protected:
  WrittenFile()
  {
    const int channels = std::get<2>(GetParam());
    // One rate per channel count, so that the rates go round as well; an odd
    // number of frames, so that there are odd numbers of bytes.
    constexpr int kRates[] = {44100, 48000, 8000, 11025, 22050, 96000, 192000, 32000};
    sound = support::randomSound(channels, 1001, kRates[channels - 1], std::get<1>(GetParam()),
                                 static_cast<unsigned int>(channels));
    name = std::get<0>(GetParam());
    support::writeByLibrary(folder.path(name), sound);
  }

  void expectEqual(const CommandReading& reading) const
  {
    EXPECT_EQ(reading.rate, sound.rate);
    EXPECT_EQ(reading.channels, sound.channelCount());
    EXPECT_TRUE(reading.samples == support::interleaved32(sound));
  }

  support::Messages messages; // of more than two channels
  support::TempFolder folder;
  IntegerSound sound;
  std::string name;
};

TEST_P(WrittenFile, IsReadEqualByLibsndfile)
{
  const SndfileReading reading = support::readBySndfile(folder.path(name));
  EXPECT_EQ(reading.info.samplerate, sound.rate);
  EXPECT_EQ(reading.info.channels, sound.channelCount());
  EXPECT_EQ(reading.info.format & SF_FORMAT_TYPEMASK,
            name == "file.wav" ? SF_FORMAT_WAV : SF_FORMAT_AIFF);
  EXPECT_EQ(reading.info.frames, sound.frames());
  EXPECT_TRUE(reading.samples == support::interleaved32(sound));
}

TEST_P(WrittenFile, IsReadEqualBySox)
{
  expectEqual(support::readBySox(folder, name));
}

TEST_P(WrittenFile, IsReadEqualByFfmpeg)
{
  expectEqual(support::readByFfmpeg(folder, name));
}

std::string caseName(const testing::TestParamInfo<WrittenFile::ParamType>& info)
{
  const std::string file = std::get<0>(info.param);
  return file.substr(file.find('.') + 1) + std::to_string(std::get<1>(info.param)) + "Bits" +
         std::to_string(std::get<2>(info.param)) + "Channels";
}

INSTANTIATE_TEST_SUITE_P(Wav, WrittenFile,
                         testing::Combine(testing::Values("file.wav"), testing::Values(8, 16, 24),
                                          testing::Range(1, 9)),
                         caseName);
INSTANTIATE_TEST_SUITE_P(Aiff, WrittenFile,
                         testing::Combine(testing::Values("file.aiff"),
                                          testing::Values(8, 16, 24, 32), testing::Range(1, 9)),
                         caseName);

TEST(WrittenFiles, TellTheirRateToOthers)
{
  const support::TempFolder folder;
  for (const int rate : {2, 3, 4000, 8001, 11025, 12345, 16000, 37800, 44056, 65536, 88200, 176400,
                         352800, 384000, 655350}) {
    const IntegerSound sound = support::randomSound(2, 50, rate, 16, 1);
    for (const std::string name : {"file.wav", "file.aiff"}) {
      SCOPED_TRACE(name + " of rate " + std::to_string(rate));
      support::writeByLibrary(folder.path(name), sound);
      EXPECT_EQ(support::readBySndfile(folder.path(name)).info.samplerate, rate);
      EXPECT_EQ(support::rateBySox(folder.path(name)), rate);
      EXPECT_EQ(support::rateByFfmpeg(folder.path(name)), rate);
    }
  }
}

TEST(WrittenFiles, WithoutFramesAreAcceptedByOthers)
{
  const support::TempFolder folder;
  const IntegerSound sound = support::randomSound(2, 0, 44100, 16, 1);
  for (const std::string name : {"file.wav", "file.aiff"}) {
    SCOPED_TRACE(name);
    support::writeByLibrary(folder.path(name), sound);
    const SndfileReading sndfile = support::readBySndfile(folder.path(name));
    EXPECT_EQ(sndfile.info.frames, 0);
    EXPECT_EQ(sndfile.info.channels, 2);
  }
  // SoX refuses AIFF files without frames, its own too.
  const CommandReading sox = support::readBySox(folder, "file.wav");
  EXPECT_EQ(sox.rate, 44100);
  EXPECT_EQ(sox.channels, 2);
  EXPECT_TRUE(sox.samples.empty());
}

// Deliberate: the library's own scaled floats stand under the integer tag.
TEST(WrittenFiles, Of32BitWavAreFloatBitsToOthers)
{
  const support::TempFolder folder;
  const IntegerSound sound = support::randomSound(1, 500, 48000, 32, 7);
  support::writeByLibrary(folder.path("file.wav"), sound);
  const SndfileReading reading = support::readBySndfile(folder.path("file.wav"));
  EXPECT_EQ(reading.info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_32);
  const std::vector<float> samples = support::floatsOf(sound)[0];
  std::vector<std::int32_t> expected;
  for (const float sample : samples)
    expected.push_back(std::bit_cast<std::int32_t>(sample * 32768.0f));
  EXPECT_TRUE(reading.samples == expected);
}

} // namespace
