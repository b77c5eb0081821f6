// Files of other programs that the library does not handle, or handles in its
// own way, and the chunks that they put around the samples.
#include <bit>
#include <string>

#include <gtest/gtest.h>

#include "tests/interop/Commands.h"
#include "tests/interop/LibraryFiles.h"
#include "tests/interop/Sndfile.h"

namespace {

using support::IntegerSound;
using support::LibraryReading;

constexpr int kExtensibleTag = 0xfffe;
constexpr int kFloatTag = 3;

class UnhandledFile : public testing::Test {
protected:
  /** It opens, but its sample format is not one of ours. */
  void expectUnsupported(const std::string& path, int tag)
  {
    SCOPED_TRACE(path);
    EXPECT_EQ(support::formatTagOf(path), tag);
    const LibraryReading reading = support::readByLibrary(path);
    EXPECT_EQ(reading.openStatus, 0);
    EXPECT_EQ(reading.specStatus, 1);
    EXPECT_EQ(reading.format.state, std::uint32_t(FormatUnsupported));
    EXPECT_EQ(reading.format.frameCount, 0);
    EXPECT_EQ(reading.format.channels, 0u);
    EXPECT_EQ(reading.readStatus, 3);
    EXPECT_EQ(reading.samples[0][0], 99.0f);
  }

  static IntegerSound sound(int channels, int bits)
  {
    return support::randomSound(channels, 100, 44100, bits, 3);
  }

  support::TempFolder folder;
};

using ForeignChunks = UnhandledFile;

TEST_F(UnhandledFile, ExtensibleWavOfSoxIsUnsupported)
{
  for (const auto& [channels, bits] :
       {std::pair(1, 24), {2, 24}, {3, 8}, {3, 16}, {8, 24}, {1, 32}})
    expectUnsupported(support::writeBySox(folder, "file.wav", sound(channels, bits), {}),
                      kExtensibleTag);
}

TEST_F(UnhandledFile, ExtensibleWavOfLibsndfileIsUnsupported)
{
  for (const auto& [channels, bits] : {std::pair(1, 8), {2, 16}, {6, 16}, {2, 24}}) {
    support::writeBySndfile(folder.path("file.wav"), SF_FORMAT_WAVEX, sound(channels, bits));
    expectUnsupported(folder.path("file.wav"), kExtensibleTag);
  }
}

TEST_F(UnhandledFile, ExtensibleWavOfFfmpegIsUnsupported)
{
  expectUnsupported(support::writeByFfmpeg(folder, "deep.wav", sound(2, 24), {"-c:a", "pcm_s24le"}),
                    kExtensibleTag);
  expectUnsupported(support::writeByFfmpeg(folder, "wide.wav", sound(6, 16), {"-c:a", "pcm_s16le"}),
                    kExtensibleTag);
}

TEST_F(UnhandledFile, FloatWavIsUnsupported)
{
  expectUnsupported(support::writeBySox(folder, "sox.wav", sound(1, 32), {"-e", "floating-point"}),
                    kFloatTag);
  expectUnsupported(
      support::writeByFfmpeg(folder, "ff.wav", sound(2, 16), {"-c:a", "pcm_f32le", "-bitexact"}),
      kExtensibleTag);
}

TEST_F(UnhandledFile, CompressedAiffDoesNotOpen)
{
  const std::string sox = support::writeBySox(folder, "sox.aiff", sound(2, 16), {"-t", "aifc"});
  EXPECT_EQ(support::readByLibrary(sox).openStatus, 1);
  // Little-endian samples make it the compressed variant as well.
  const std::string ffmpeg =
      support::writeByFfmpeg(folder, "ff.aiff", sound(2, 16), {"-c:a", "pcm_s16le"});
  EXPECT_EQ(support::readByLibrary(ffmpeg).openStatus, 1);
}

// Deliberate: the library takes 32 bits under the integer tag for its floats.
TEST_F(UnhandledFile, IntegerWavOf32BitsIsReadAsScaledFloats)
{
  const IntegerSound integers = sound(2, 32);
  const std::string path = support::writeBySox(folder, "file.wav", integers, {"-t", "wavpcm"});
  ASSERT_EQ(support::formatTagOf(path), 1);
  const LibraryReading reading = support::readByLibrary(path);
  EXPECT_EQ(reading.readStatus, 0);
  EXPECT_EQ(reading.format.encoding, std::uint32_t(EncFloat32Scaled16));
  ASSERT_EQ(reading.samples.size(), 2u);
  for (std::size_t c = 0; c < 2; ++c) {
    ASSERT_EQ(reading.samples[c].size(), 100u);
    for (std::size_t i = 0; i < 100; ++i) {
      const float expected = std::bit_cast<float>(integers.channels[c][i]) * 0x1p-15f;
      EXPECT_TRUE(std::bit_cast<std::int32_t>(reading.samples[c][i]) ==
                      std::bit_cast<std::int32_t>(expected) ||
                  (reading.samples[c][i] != reading.samples[c][i] && expected != expected))
          << c << ", " << i;
    }
  }
}

TEST_F(ForeignChunks, BeforeTheSamplesOfAiffArePassedOver)
{
  // A comment of sox, which comes first, and its marks and loops.
  const std::string sox =
      support::writeBySox(folder, "sox.aiff", sound(2, 16), {"--comment", "twelve chars"});
  EXPECT_EQ(folder.read("sox.aiff")[12], 'C');
  EXPECT_EQ(folder.read("sox.aiff")[15], 'T');
  support::expectReadEqual(sox, sound(2, 16));

  const std::string snd = folder.path("snd.aiff");
  support::writeBySndfile(snd, SF_FORMAT_AIFF, sound(3, 24),
                          {{SF_STR_TITLE, "even"}, {SF_STR_ARTIST, "even too"}});
  support::expectReadEqual(snd, sound(3, 24));

  // A channel layout, which comes before the format as well.
  const std::string ffmpeg =
      support::writeByFfmpeg(folder, "ff.aiff", sound(6, 24), {"-c:a", "pcm_s24be"});
  support::expectReadEqual(ffmpeg, sound(6, 24));
}

TEST_F(ForeignChunks, BeforeTheSamplesOfWavArePassedOver)
{
  const std::string ffmpeg = support::writeByFfmpeg(
      folder, "ff.wav", sound(2, 16),
      {"-c:a", "pcm_s16le", "-metadata", "artist=odd", "-metadata", "comment=evens"});
  support::expectReadEqual(ffmpeg, sound(2, 16));

  const std::string snd = folder.path("snd.wav");
  support::writeBySndfile(snd, SF_FORMAT_WAV, sound(2, 24), {{SF_STR_TITLE, "odd"}});
  support::expectReadEqual(snd, sound(2, 24));
}

// Deliberate: sizes are taken as stated, and others pad an odd chunk.
TEST_F(ForeignChunks, OfOddSizeBeforeTheSamplesMakeAiffUnreadable)
{
  const std::string path = folder.path("file.aiff");
  support::writeBySndfile(path, SF_FORMAT_AIFF, sound(1, 16), {{SF_STR_TITLE, "odd"}});
  EXPECT_EQ(support::readBySndfile(path).samples, support::interleaved32(sound(1, 16)));
  EXPECT_EQ(support::readByLibrary(path).openStatus, 1);
}

} // namespace
