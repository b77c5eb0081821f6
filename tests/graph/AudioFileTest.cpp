// Names, formats, settings and activation of the file provider.

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "tests/graph/GeneratedFile.h"
#include "tests/support/Buffers.h"
#include "tests/support/Listener.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"

namespace {

using support::Buffers;
using support::Owned;

using Lines = std::vector<std::string>;

std::string couldNotRead(const std::string& path)
{
  return "E TovAudioFile: Could not read \"" + path + "\"\n";
}

std::string unknownType(const std::string& path)
{
  return "E TovAudioFile: \"" + path + "\" : unknown audio file type\n";
}

class AudioFileTest : public ::testing::Test {
protected:
  int audioStatus(TovAudioFile& audioFile)
  {
    Buffers buffers(2, 16);
    const int status = audioFile.getAudio(buffers.pointers(), support::channelMap({0, 1}), context,
                                          0.0, 16.0 / 1024.0);
    EXPECT_EQ(status != 0, buffers.untouched());
    return status;
  }

  support::TempFolder folder;
  support::Messages messages;
  const TovAudioContext context = TovAudioContext(1024, 1, 24.0, 0.0);
  Owned<TovAudioFile> file = support::make<TovAudioFile>();
};

TEST_F(AudioFileTest, NewProviderHasNoFile)
{
  EXPECT_STREQ("", file->getFileName());
  EXPECT_EQ(0, file->getPlaybackRate());
  EXPECT_EQ(0.0, file->getSrcIn());
  EXPECT_EQ(0.0, file->getSrcOut());
  EXPECT_EQ(1, file->hasError());
  TovAudioIOFormat format{};
  EXPECT_EQ(1, file->getSourceFormat(&format));
  EXPECT_EQ(4, file->getSourceFormat(nullptr));
  EXPECT_EQ(1, file->activate(context));
  EXPECT_EQ(0, file->deactivate());
  EXPECT_EQ(2, audioStatus(*file));
  EXPECT_EQ(Lines{}, messages.take());
}

TEST_F(AudioFileTest, InitializeTakesTheFilesOwnRateAndLength)
{
  const std::string path = writeRamp(folder, "a", Container::Wav, 2, 1024, 300);
  EXPECT_EQ(0, file->initialize(path.c_str()));
  EXPECT_EQ(path, file->getFileName());
  EXPECT_EQ(1024, file->getPlaybackRate());
  EXPECT_EQ(0.0, file->getSrcIn());
  EXPECT_EQ(300.0 / 1024.0, file->getSrcOut());
  EXPECT_EQ(0, file->hasError());
  EXPECT_EQ(Lines{}, messages.take());
}

TEST_F(AudioFileTest, InitializeDoesNotClampTheFilesRate)
{
  const std::string slow = writeRamp(folder, "slow", Container::Wav, 1, 50, 10);
  EXPECT_EQ(0, file->initialize(slow.c_str()));
  EXPECT_EQ(50, file->getPlaybackRate());
  EXPECT_EQ(0.2, file->getSrcOut());
  const std::string fast = writeRamp(folder, "fast", Container::Aiff, 1, 384000, 10);
  EXPECT_EQ(0, file->initialize(fast.c_str()));
  EXPECT_EQ(384000, file->getPlaybackRate());
}

TEST_F(AudioFileTest, SourceFormatHasAllFields)
{
  std::mt19937 random(40);
  const GeneratedFile generated =
      generateFile(folder, "a", Container::Aiff, 3, 44100, 24, 77, random);
  ASSERT_EQ(0, file->initialize(generated.path.c_str()));
  TovAudioIOFormat format{99, 99, 99, 99, 99, 99, 99};
  EXPECT_EQ(0, file->getSourceFormat(&format));
  EXPECT_EQ(static_cast<std::uint32_t>(FormatValid), format.state);
  EXPECT_EQ(static_cast<std::uint32_t>(EncS24), format.encoding);
  EXPECT_EQ(3u, format.bytesPerSample);
  EXPECT_EQ(1u, format.bigEndian);
  EXPECT_EQ(44100u, format.sampleRate);
  EXPECT_EQ(77, format.frameCount);
  EXPECT_EQ(3u, format.channels);
  EXPECT_EQ(4, file->getSourceFormat(nullptr));
}

TEST_F(AudioFileTest, MissingFileOfAKnownTypeIsStatus3)
{
  const std::string path = folder.path("missing.wav");
  EXPECT_EQ(3, file->initialize(path.c_str()));
  EXPECT_EQ(Lines{couldNotRead(path)}, messages.take());
  EXPECT_EQ(path, file->getFileName());
  EXPECT_EQ(44100, file->getPlaybackRate());
  EXPECT_EQ(0.0, file->getSrcIn());
  EXPECT_EQ(0.0, file->getSrcOut());
  EXPECT_EQ(1, file->hasError());
  EXPECT_EQ(1, file->activate(context));
  EXPECT_EQ(2, audioStatus(*file));
}

TEST_F(AudioFileTest, MissingFileOfAnUnknownTypeIsStatus2)
{
  const std::string path = folder.path("missing.mp3");
  EXPECT_EQ(2, file->initialize(path.c_str()));
  EXPECT_EQ(Lines{unknownType(path)}, messages.take());
  EXPECT_EQ(44100, file->getPlaybackRate());
  EXPECT_EQ(1, file->hasError());
}

TEST_F(AudioFileTest, FolderAsFileIsStatus2)
{
  EXPECT_EQ(2, file->setFileName(folder.folder().c_str()));
  EXPECT_EQ(Lines{unknownType(folder.folder())}, messages.take());
  EXPECT_EQ(2, file->setFileName(""));
  EXPECT_EQ(1u, messages.take().size());
  EXPECT_EQ(1, file->hasError());
}

TEST_F(AudioFileTest, DamagedFileIsStatus3)
{
  const std::string path = folder.write("damaged.aiff", support::Bytes().text("FORM"));
  EXPECT_EQ(3, file->setFileName(path.c_str()));
  EXPECT_EQ(Lines{couldNotRead(path)}, messages.take());
}

TEST_F(AudioFileTest, ValidFilesUnderForeignSuffixesGoToTheOtherFormatsReader)
{
  // The registry's header check is turned round, deliberately.
  for (const Container container : {Container::Wav, Container::Aiff}) {
    const std::string path = writeRamp(folder, "a", container, 1, 1024, 10);
    const std::string renamed = folder.path("a.dat");
    std::filesystem::rename(path, renamed);
    EXPECT_EQ(3, file->setFileName(renamed.c_str()));
    EXPECT_EQ(Lines{couldNotRead(renamed)}, messages.take());
  }
}

TEST_F(AudioFileTest, UnsupportedSampleFormatOpensButDeliversNothing)
{
  support::Bytes bytes = support::wavFile(1, 1024, 32, support::Bytes().zeros(400));
  std::vector<std::uint8_t> data = bytes.data();
  data[20] = 3; // the format tag: float
  const std::string path = folder.write("float.wav", data);
  EXPECT_EQ(0, file->setFileName(path.c_str()));
  EXPECT_EQ(0, file->hasError());
  TovAudioIOFormat format{};
  EXPECT_EQ(0, file->getSourceFormat(&format));
  EXPECT_EQ(static_cast<std::uint32_t>(FormatUnsupported), format.state);
  EXPECT_EQ(0, format.frameCount);
  EXPECT_EQ(0, file->setPlaybackRate(1024));
  EXPECT_EQ(0, file->activate(context));
  EXPECT_EQ(1, audioStatus(*file));
}

TEST_F(AudioFileTest, EnvironmentVariablesInTheNameAreReplaced)
{
  writeRamp(folder, "a", Container::Wav, 1, 1024, 10);
  ASSERT_EQ(0, ::setenv("TOV_TEST_AUDIO", folder.folder().c_str(), 1));
  EXPECT_EQ(0, file->initialize("$TOV_TEST_AUDIO/a.wav"));
  EXPECT_STREQ("$TOV_TEST_AUDIO/a.wav", file->getFileName());
  EXPECT_EQ(1024, file->getPlaybackRate());
  EXPECT_EQ(0, file->setFileName("${TOV_TEST_AUDIO}/a.wav"));
  EXPECT_STREQ("${TOV_TEST_AUDIO}/a.wav", file->getFileName());
  EXPECT_EQ(3, file->setFileName("$TOV_TEST_AUDIO/missing.wav"));
  EXPECT_EQ(Lines{couldNotRead(folder.path("missing.wav"))}, messages.take());
  ::unsetenv("TOV_TEST_AUDIO");
}

TEST_F(AudioFileTest, PathIsResolvedWhenTheNameIsSet)
{
  writeRamp(folder, "a", Container::Wav, 1, 1024, 10);
  ASSERT_EQ(0, ::setenv("TOV_TEST_AUDIO", folder.folder().c_str(), 1));
  ASSERT_EQ(0, file->setFileName("$TOV_TEST_AUDIO/a.wav"));
  ::unsetenv("TOV_TEST_AUDIO");
  EXPECT_EQ(0, file->refresh());
  EXPECT_EQ(0, file->activate(context));
}

TEST_F(AudioFileTest, MessagesShowTheResolvedPath)
{
  std::filesystem::create_directory(folder.path("real"));
  std::filesystem::create_directory_symlink(folder.path("real"), folder.path("link"));
  EXPECT_EQ(3, file->setFileName((folder.folder() + "/./link/missing.wav").c_str()));
  EXPECT_EQ(Lines{couldNotRead(folder.path("real/missing.wav"))}, messages.take());
  EXPECT_EQ(2, file->setFileName((folder.folder() + "//real/../missing.mp3").c_str()));
  EXPECT_EQ(Lines{unknownType(folder.path("missing.mp3"))}, messages.take());
}

TEST_F(AudioFileTest, RelativeNamesAreResolvedAgainstTheCurrentFolder)
{
  const std::string expected = std::filesystem::canonical(".").string() + "/not there.wav";
  EXPECT_EQ(3, file->setFileName("not there.wav"));
  EXPECT_STREQ("not there.wav", file->getFileName());
  EXPECT_EQ(Lines{couldNotRead(expected)}, messages.take());
}

TEST_F(AudioFileTest, PercentSignsInNamesAreText)
{
  const std::string path = folder.path("100%s %n.wav");
  EXPECT_EQ(3, file->setFileName(path.c_str()));
  EXPECT_EQ(Lines{couldNotRead(path)}, messages.take());
}

TEST_F(AudioFileTest, VeryLongNamesAreKeptWhole)
{
  for (const std::size_t length : {4096u, 16383u, 16384u, 16385u, 100000u}) {
    std::string name = "/x.wav";
    name.insert(1, length, 'x');
    const int status = file->setFileName(name.c_str());
    EXPECT_TRUE(status == 2 || status == 3) << status;
    EXPECT_EQ(name, file->getFileName());
    EXPECT_EQ(1, file->hasError());
    EXPECT_EQ(1u, messages.take().size());
  }
}

TEST_F(AudioFileTest, NullNameTakesTheFileAway)
{
  const std::string path = writeRamp(folder, "a", Container::Wav, 1, 1024, 512);
  ASSERT_EQ(0, file->initialize(path.c_str()));
  EXPECT_EQ(0, file->setFileName(nullptr));
  EXPECT_STREQ("", file->getFileName());
  EXPECT_EQ(1, file->hasError());
  TovAudioIOFormat format{};
  EXPECT_EQ(1, file->getSourceFormat(&format));
  EXPECT_EQ(1, file->activate(context));
  EXPECT_EQ(2, audioStatus(*file));
  EXPECT_EQ(1024, file->getPlaybackRate());
  EXPECT_EQ(0.5, file->getSrcOut());
  EXPECT_EQ(Lines{}, messages.take());
}

TEST_F(AudioFileTest, InitializeWithNullSetsTheDefaults)
{
  const std::string path = writeRamp(folder, "a", Container::Wav, 1, 1024, 512);
  ASSERT_EQ(0, file->initialize(path.c_str()));
  EXPECT_EQ(0, file->initialize(nullptr));
  EXPECT_EQ(44100, file->getPlaybackRate());
  EXPECT_EQ(0.0, file->getSrcIn());
  EXPECT_EQ(0.0, file->getSrcOut());
}

TEST_F(AudioFileTest, SetFileNameKeepsTheSettings)
{
  const std::string first = writeRamp(folder, "first", Container::Wav, 1, 1024, 512);
  const std::string second = writeRamp(folder, "second", Container::Aiff, 1, 48000, 480);
  ASSERT_EQ(0, file->initialize(first.c_str()));
  file->setSrcIn(0.25);
  EXPECT_EQ(0, file->setFileName(second.c_str()));
  EXPECT_EQ(second, file->getFileName());
  EXPECT_EQ(1024, file->getPlaybackRate());
  EXPECT_EQ(0.25, file->getSrcIn());
  EXPECT_EQ(0.5, file->getSrcOut());
  TovAudioIOFormat format{};
  EXPECT_EQ(0, file->getSourceFormat(&format));
  EXPECT_EQ(48000u, format.sampleRate);
}

TEST_F(AudioFileTest, OwnNameMayBeSetAgain)
{
  const std::string path = writeRamp(folder, "a", Container::Wav, 1, 1024, 512);
  ASSERT_EQ(0, file->initialize(path.c_str()));
  EXPECT_EQ(0, file->setFileName(file->getFileName()));
  EXPECT_EQ(path, file->getFileName());
  EXPECT_EQ(0, file->initialize(file->getFileName()));
  EXPECT_EQ(path, file->getFileName());
  EXPECT_EQ(0, file->hasError());
}

TEST_F(AudioFileTest, NoLockFormsRunUnderTheCallersLock)
{
  const std::string path = writeRamp(folder, "a", Container::Wav, 1, 1024, 512);
  support::Listener listener(*file);
  {
    const support::HeldLock held(*file);
    EXPECT_EQ(0, file->setFileNameNoLock(path.c_str()));
    EXPECT_EQ(0, file->initializeNoLock(path.c_str()));
    EXPECT_EQ(3, file->initializeNoLock(folder.path("missing.wav").c_str()));
    EXPECT_EQ(0, file->setFileNameNoLock(nullptr));
  }
  EXPECT_EQ(0, listener.take());
}

TEST_F(AudioFileTest, RefreshFindsTheFileThatHasComeMeanwhile)
{
  ASSERT_EQ(3, file->initialize(folder.path("late.wav").c_str()));
  messages.take();
  writeRamp(folder, "late", Container::Wav, 1, 1024, 512);
  EXPECT_EQ(0, file->refresh());
  EXPECT_EQ(0, file->hasError());
  EXPECT_EQ(44100, file->getPlaybackRate()); // only the reader and the format are new
  EXPECT_EQ(0.0, file->getSrcOut());
  TovAudioIOFormat format{};
  EXPECT_EQ(0, file->getSourceFormat(&format));
  EXPECT_EQ(512, format.frameCount);
  EXPECT_EQ(Lines{}, messages.take());
}

TEST_F(AudioFileTest, RefreshNoticesThatTheFileIsGone)
{
  const std::string path = writeRamp(folder, "a", Container::Wav, 1, 1024, 512);
  ASSERT_EQ(0, file->initialize(path.c_str()));
  ASSERT_EQ(0, file->activate(context));
  std::filesystem::remove(path);
  EXPECT_EQ(3, file->refresh());
  EXPECT_EQ(Lines{couldNotRead(path)}, messages.take());
  EXPECT_EQ(1, file->hasError());
  EXPECT_EQ(path, file->getFileName());
  TovAudioIOFormat format{};
  EXPECT_EQ(1, file->getSourceFormat(&format));
  EXPECT_EQ(1, file->activate(context));
  EXPECT_EQ(2, audioStatus(*file));
}

TEST_F(AudioFileTest, RefreshWithoutANameIsStatus2)
{
  EXPECT_EQ(2, file->refresh());
  EXPECT_EQ(1, file->hasError());
  EXPECT_EQ(1u, messages.take().size());
}

TEST_F(AudioFileTest, RefreshReadsTheFormatAnew)
{
  const std::string path = writeRamp(folder, "a", Container::Wav, 1, 1024, 512);
  ASSERT_EQ(0, file->initialize(path.c_str()));
  writeRamp(folder, "a", Container::Wav, 2, 2048, 100);
  EXPECT_EQ(0, file->refresh());
  TovAudioIOFormat format{};
  EXPECT_EQ(0, file->getSourceFormat(&format));
  EXPECT_EQ(2048u, format.sampleRate);
  EXPECT_EQ(100, format.frameCount);
  EXPECT_EQ(2u, format.channels);
}

TEST_F(AudioFileTest, AudioNeedsActivation)
{
  const std::string path = writeRamp(folder, "a", Container::Wav, 2, 1024, 512);
  ASSERT_EQ(0, file->initialize(path.c_str()));
  EXPECT_EQ(1, audioStatus(*file));
  EXPECT_EQ(0, file->activate(context));
  EXPECT_EQ(0, audioStatus(*file));
  EXPECT_EQ(0, file->refresh()); // closes the file again
  EXPECT_EQ(1, audioStatus(*file));
  EXPECT_EQ(0, file->activate(context));
  EXPECT_EQ(0, file->setFileName(path.c_str()));
  EXPECT_EQ(1, audioStatus(*file));
}

TEST_F(AudioFileTest, DeactivationDoesNothing)
{
  const std::string path = writeRamp(folder, "a", Container::Wav, 2, 1024, 512);
  ASSERT_EQ(0, file->initialize(path.c_str()));
  ASSERT_EQ(0, file->activate(context));
  EXPECT_EQ(0, file->deactivate());
  EXPECT_EQ(0, file->deactivate());
  EXPECT_EQ(0, audioStatus(*file));
}

TEST_F(AudioFileTest, ActivationOfAFileThatIsGoneIsStatus3AndThen1)
{
  const std::string path = writeRamp(folder, "a", Container::Wav, 2, 1024, 512);
  ASSERT_EQ(0, file->initialize(path.c_str()));
  std::filesystem::remove(path);
  EXPECT_EQ(3, file->activate(context));
  EXPECT_EQ(1, file->hasError());
  EXPECT_EQ(2, audioStatus(*file));
  EXPECT_EQ(1, file->activate(context));
  EXPECT_EQ(Lines{}, messages.take());
  EXPECT_EQ(path, file->getFileName());
  writeRamp(folder, "a", Container::Wav, 2, 1024, 512);
  EXPECT_EQ(0, file->refresh());
  EXPECT_EQ(0, file->activate(context));
  EXPECT_EQ(0, audioStatus(*file));
}

} // namespace
