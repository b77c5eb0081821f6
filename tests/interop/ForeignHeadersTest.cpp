// Headers that ffmpeg writes where the file may become large, or where it cannot
// go back to the header.
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "io/TovAudioReader.h"
#include "io/TovAudioTranslator.h"
#include "tests/interop/Commands.h"
#include "tests/interop/ForeignFacts.h"
#include "tests/interop/LibraryFiles.h"
#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"

namespace {

using support::Facts;
using support::IntegerSound;

/** Bits, channels and frames: odd and even numbers of bytes. */
class FfmpegHeaders : public testing::TestWithParam<std::tuple<int, int, long long>> {
protected:
  FfmpegHeaders()
      : bits(std::get<0>(GetParam())),
        sound(support::randomSound(std::get<1>(GetParam()), std::get<2>(GetParam()), 44100, bits,
                                   6))
  {
  }

  std::vector<std::string> options(const std::vector<std::string>& more) const
  {
    std::vector<std::string> all = {"-c:a", bits == 8 ? "pcm_u8" : "pcm_s16le"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }

  std::string textAt(std::size_t place) const
  {
    const std::vector<std::uint8_t> bytes = folder.read("file.wav");
    return std::string(bytes.begin() + static_cast<std::ptrdiff_t>(place),
                       bytes.begin() + static_cast<std::ptrdiff_t>(place) + 4);
  }

  Facts written() const
  {
    return {sound.rate, sound.channelCount(), sound.bits, sound.frames()};
  }

  /** Deliberate: the reader takes the size as stated.  What is there it reads,
   *  and says of the frame behind that it is not. */
  void expectReadWithoutSize(const std::string& path) const
  {
    SCOPED_TRACE(path);
    const std::unique_ptr<TovAudioReader> reader(
        TovAudioTranslator::findReader(TovName::getString(path.c_str()), 1)->createReader());
    ASSERT_EQ(reader->initialize(path.c_str()), 0);
    TovAudioIOFormat format = {};
    ASSERT_EQ(reader->getFileSpec(&format), 0);
    const Facts found = {static_cast<int>(format.sampleRate), static_cast<int>(format.channels),
                         static_cast<int>(format.bytesPerSample) * 8, sound.frames()};
    EXPECT_EQ(found, support::factsByFfprobe(path));
    EXPECT_EQ(found, support::factsBySndfile(path));
    EXPECT_EQ(found, written());
    EXPECT_EQ(format.frameCount, 0xffffffffLL / (sound.channelCount() * bits / 8));

    const TovNLArray<int> map = support::channelMap(support::allChannels(sound.channelCount()));
    support::Signal samples(sound.channels.size(),
                            std::vector<float>(static_cast<std::size_t>(sound.frames()), 99.0f));
    EXPECT_EQ(reader->readChannels(support::pointers(samples), map, 0, sound.frames()), 0);
    EXPECT_TRUE(samples == support::floatsOf(sound));
    EXPECT_EQ(reader->readChannels(support::pointers(samples), map, sound.frames(), 1), 4);
  }

  const int bits;
  const IntegerSound sound;
  const support::TempFolder folder;
};

TEST_P(FfmpegHeaders, WithRoomForLargerSizesAreRead)
{
  const std::string path =
      support::writeByFfmpeg(folder, "file.wav", sound, options({"-rf64", "auto"}));
  ASSERT_EQ(textAt(12), "JUNK");
  EXPECT_EQ(support::factsByFfprobe(path), written());
  support::expectReadEqual(path, sound);
  support::expectReadAsBySndfile(path);
}

TEST_P(FfmpegHeaders, WithoutSizesAreReadAsFarAsTheSoundGoes)
{
  const std::string path =
      support::writeByFfmpegIntoPipe(folder, "file.wav", sound, options({"-f", "wav"}));
  ASSERT_EQ(textAt(4), "\xff\xff\xff\xff");
  expectReadWithoutSize(path);
  const std::string bare = support::writeByFfmpegIntoPipe(
      folder, "file.wav", sound, options({"-f", "wav", "-bitexact", "-flags", "bitexact"}));
  ASSERT_EQ(textAt(40), "\xff\xff\xff\xff");
  expectReadWithoutSize(bare);
}

INSTANTIATE_TEST_SUITE_P(Of, FfmpegHeaders,
                         testing::Combine(testing::Values(8, 16), testing::Values(1, 2),
                                          testing::Values(1, 777, 4098)),
                         [](const testing::TestParamInfo<FfmpegHeaders::ParamType>& tested) {
                           return std::to_string(std::get<0>(tested.param)) + "Bits" +
                                  std::to_string(std::get<1>(tested.param)) + "Channels" +
                                  std::to_string(std::get<2>(tested.param)) + "Frames";
                         });

} // namespace
