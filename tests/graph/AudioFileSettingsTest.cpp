// Clamps, notifications, locks and copies of the file provider.

#include <climits>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <vector>

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

constexpr double kInfinity = std::numeric_limits<double>::infinity();

class AudioFileSettingsTest : public ::testing::Test {
protected:
  AudioFileSettingsTest() { file->initialize(path.c_str()); }

  support::TempFolder folder;
  support::Messages messages;
  const TovAudioContext context = TovAudioContext(1024, 1, 24.0, 0.0);
  const std::string path = writeRamp(folder, "a", Container::Wav, 2, 1024, 512);
  Owned<TovAudioFile> file = support::make<TovAudioFile>();
};

TEST_F(AudioFileSettingsTest, PlaybackRateIsClamped)
{
  const auto stored = [&](int rate) {
    EXPECT_EQ(0, file->setPlaybackRate(rate));
    return file->getPlaybackRate();
  };
  EXPECT_EQ(200, stored(100));
  EXPECT_EQ(200, stored(1));
  EXPECT_EQ(200, stored(200));
  EXPECT_EQ(201, stored(201));
  EXPECT_EQ(44100, stored(44100));
  EXPECT_EQ(192000, stored(192000));
  EXPECT_EQ(192000, stored(192001));
  EXPECT_EQ(192000, stored(500000));
  EXPECT_EQ(192000, stored(INT_MAX));
}

TEST_F(AudioFileSettingsTest, PlaybackRateOfZeroOrLessIsRefusedButNotified)
{
  support::Listener listener(*file);
  for (const int rate : {0, -1, -44100, INT_MIN}) {
    EXPECT_EQ(4, file->setPlaybackRate(rate));
    EXPECT_EQ(1024, file->getPlaybackRate());
    EXPECT_EQ(1, listener.take());
  }
  EXPECT_TRUE(listener.lockWasFree());
}

TEST_F(AudioFileSettingsTest, SourceInAndOutAreStoredUnchecked)
{
  for (const double seconds : {0.25, -3.0, 1e300, kInfinity, -kInfinity}) {
    EXPECT_EQ(0, file->setSrcIn(seconds));
    EXPECT_EQ(seconds, file->getSrcIn());
    EXPECT_EQ(0, file->setSrcOut(seconds - 1.0));
    EXPECT_EQ(seconds - 1.0, file->getSrcOut());
  }
  file->setSrcIn(std::nan(""));
  file->setSrcOut(std::nan(""));
  EXPECT_TRUE(std::isnan(file->getSrcIn()));
  EXPECT_TRUE(std::isnan(file->getSrcOut()));
}

TEST_F(AudioFileSettingsTest, SettersNotifyOnceWithTheLockFree)
{
  support::Listener listener(*file);
  file->setPlaybackRate(48000);
  EXPECT_EQ(1, listener.take());
  file->setPlaybackRate(48000); // also where nothing changes
  EXPECT_EQ(1, listener.take());
  file->setSrcIn(0.1);
  EXPECT_EQ(1, listener.take());
  file->setSrcOut(0.2);
  EXPECT_EQ(1, listener.take());
  file->setFileName(path.c_str());
  EXPECT_EQ(1, listener.take());
  file->setFileName(folder.path("missing.wav").c_str());
  EXPECT_EQ(1, listener.take());
  file->setFileName(folder.path("missing.mp3").c_str());
  EXPECT_EQ(1, listener.take());
  file->setFileName(nullptr);
  EXPECT_EQ(1, listener.take());
  EXPECT_TRUE(listener.lockWasFree());
}

TEST_F(AudioFileSettingsTest, NothingElseNotifies)
{
  support::Listener listener(*file);
  file->initialize(path.c_str());
  file->initialize(nullptr);
  file->initialize(path.c_str());
  file->refresh();
  file->activate(context);
  Buffers buffers(2, 16);
  EXPECT_EQ(0, file->getAudio(buffers.pointers(), support::channelMap({0, 1}), context, 0.0,
                              16.0 / 1024.0));
  file->deactivate();
  Owned<TovAudioProvider>(file->clone());
  void* blob = nullptr;
  file->serialize(&blob);
  file->deserialize(blob, false);
  delete[] static_cast<unsigned char*>(blob);
  EXPECT_EQ(0, listener.take());
}

TEST_F(AudioFileSettingsTest, OperationsWaitForTheProviderLock)
{
  ASSERT_EQ(0, file->activate(context));
  void* blob = nullptr;
  void* second = nullptr;
  file->serialize(&blob);
  TovAudioIOFormat format{};
  Buffers buffers(2, 16);
  const TovNLArray<int> map = support::channelMap({0, 1});
  const std::vector<std::pair<const char*, std::function<void()>>> operations = {
      {"getAudio", [&] { file->getAudio(buffers.pointers(), map, context, 0.0, 16.0 / 1024.0); }},
      {"setFileName", [&] { file->setFileName(path.c_str()); }},
      {"initialize", [&] { file->initialize(path.c_str()); }},
      {"getFileName", [&] { file->getFileName(); }},
      {"getSourceFormat", [&] { file->getSourceFormat(&format); }},
      {"getPlaybackRate", [&] { file->getPlaybackRate(); }},
      {"getSrcIn", [&] { file->getSrcIn(); }},
      {"getSrcOut", [&] { file->getSrcOut(); }},
      {"hasError", [&] { file->hasError(); }},
      {"setPlaybackRate", [&] { file->setPlaybackRate(48000); }},
      {"setSrcIn", [&] { file->setSrcIn(0.0); }},
      {"setSrcOut", [&] { file->setSrcOut(1.0); }},
      {"serialize", [&] { file->serialize(&second); }},
      {"deserialize", [&] { file->deserialize(blob, false); }},
  };
  for (const auto& [name, operation] : operations) {
    EXPECT_TRUE(support::waitsForLock(*file, operation)) << name;
    EXPECT_FALSE(support::isLockHeld(*file)) << name;
  }
  delete[] static_cast<unsigned char*>(blob);
  delete[] static_cast<unsigned char*>(second);
}

TEST_F(AudioFileSettingsTest, ActivationAndRefreshTakeNoProviderLock)
{
  const support::HeldLock held(*file);
  EXPECT_EQ(0, file->activate(context)); // each would wait for ever
  EXPECT_EQ(0, file->deactivate());
  EXPECT_EQ(0, file->refresh());
}

TEST_F(AudioFileSettingsTest, EveryStatusOfGetAudioReleasesTheLock)
{
  Buffers buffers(2, 16);
  const TovNLArray<int> map = support::channelMap({0, 1});
  const auto audio = [&](const TovAudioContext& used, double start) {
    const int status = file->getAudio(buffers.pointers(), map, used, start, start + 16.0 / 1024.0);
    EXPECT_FALSE(support::isLockHeld(*file)) << status;
    return status;
  };
  EXPECT_EQ(1, audio(context, 0.0));
  file->activate(context);
  EXPECT_EQ(0, audio(context, 0.0));
  EXPECT_EQ(5, audio(context, 10.0));
  EXPECT_EQ(4, audio(TovAudioContext(0, 1, 24.0, 0.0), 0.0));
  file->setFileName(nullptr);
  EXPECT_EQ(2, audio(context, 0.0));
}

TEST_F(AudioFileSettingsTest, CloneHasTheSettingsAndOpensTheFileForItself)
{
  file->setPlaybackRate(48000);
  file->setSrcIn(0.125);
  file->setSrcOut(0.375);
  support::Listener listener(*file);
  const Owned<TovAudioFile> clone(dynamic_cast<TovAudioFile*>(file->clone()));
  ASSERT_NE(nullptr, clone.get());
  EXPECT_EQ(path, clone->getFileName());
  EXPECT_EQ(48000, clone->getPlaybackRate());
  EXPECT_EQ(0.125, clone->getSrcIn());
  EXPECT_EQ(0.375, clone->getSrcOut());
  EXPECT_EQ(0, clone->hasError());
  EXPECT_EQ(1, support::referenceCount(*clone));
  EXPECT_EQ(2, support::referenceCount(*file)); // the creator's and the listener's
  TovAudioIOFormat format{};
  EXPECT_EQ(0, clone->getSourceFormat(&format));
  EXPECT_EQ(512, format.frameCount);

  clone->setSrcIn(0.5);
  EXPECT_EQ(0, listener.take());
  EXPECT_EQ(0.125, file->getSrcIn());
}

TEST_F(AudioFileSettingsTest, CloneIsNotActivated)
{
  ASSERT_EQ(0, file->activate(context));
  const Owned<TovAudioProvider> clone(file->clone());
  Buffers buffers(1, 16);
  const TovNLArray<int> map = support::channelMap({0});
  EXPECT_EQ(1, clone->getAudio(buffers.pointers(), map, context, 0.0, 16.0 / 1024.0));
  EXPECT_EQ(0, clone->activate(context));
  EXPECT_EQ(0, clone->getAudio(buffers.pointers(), map, context, 0.0, 16.0 / 1024.0));
  EXPECT_EQ(ramp(0, 16), buffers.samples(0));
}

TEST_F(AudioFileSettingsTest, CloneOutlivesItsOriginal)
{
  const Owned<TovAudioProvider> clone(file->clone());
  file.drop();
  EXPECT_EQ(0, clone->activate(context));
  Buffers buffers(1, 16);
  EXPECT_EQ(0, clone->getAudio(buffers.pointers(), support::channelMap({1}), context, 0.0,
                               16.0 / 1024.0));
  EXPECT_EQ(ramp(0, 16), buffers.samples(0));
}

TEST_F(AudioFileSettingsTest, CloneOfAFileThatIsGoneHasTheErrorAndSaysSo)
{
  std::filesystem::remove(path);
  const Owned<TovAudioFile> clone(dynamic_cast<TovAudioFile*>(file->clone()));
  EXPECT_EQ(path, clone->getFileName());
  EXPECT_EQ(1, clone->hasError());
  EXPECT_EQ(1024, clone->getPlaybackRate());
  EXPECT_EQ(0.5, clone->getSrcOut());
  EXPECT_EQ(0, file->hasError());
  EXPECT_EQ((std::vector<std::string>{"E TovAudioFile: Could not read \"" + path + "\"\n"}),
            messages.take());
}

TEST_F(AudioFileSettingsTest, CloneOfANamelessProviderIsNameless)
{
  const Owned<TovAudioFile> nameless = support::make<TovAudioFile>();
  nameless->setPlaybackRate(22050);
  const Owned<TovAudioFile> clone(dynamic_cast<TovAudioFile*>(nameless->clone()));
  EXPECT_STREQ("", clone->getFileName());
  EXPECT_EQ(22050, clone->getPlaybackRate());
  EXPECT_EQ(1, clone->hasError());
  EXPECT_EQ((std::vector<std::string>{}), messages.take());
}

} // namespace
