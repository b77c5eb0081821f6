// Rendering on one thread while others change everything.

#include <algorithm>
#include <atomic>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "tests/support/Buffers.h"
#include "tests/support/Bytes.h"
#include "tests/support/Listener.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/Setting.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Buffers;
using support::Owned;
using support::RecordingProvider;

const TovAudioContext kContext(1024, 1, 24.0, 0.0);

/** Runs @p work again and again until all of @p changes have run through. */
void whileChanging(const std::function<void()>& work,
                   const std::vector<std::function<void()>>& changes)
{
  std::atomic<int> running{static_cast<int>(changes.size())};
  std::vector<std::thread> threads;
  for (const std::function<void()>& change : changes) {
    threads.emplace_back([&running, &change] {
      change();
      --running;
    });
  }
  do
    work();
  while (running > 0);
  for (std::thread& thread : threads)
    thread.join();
}

/** The one value that a request delivers on both sides all along, or -1 where
 *  nothing contributed; fails where it is not one value. */
float uniformLevel(TovAudioMixer& mixer)
{
  Buffers buffers(2, 64);
  const int status =
      mixer.getAudio(buffers.pointers(), support::channelMap({0, 1}), kContext, 1.0, 1.0625);
  EXPECT_TRUE(buffers.guardsIntact());
  if (status != 0) {
    EXPECT_EQ(5, status);
    EXPECT_TRUE(buffers.untouched());
    return -1.0f;
  }
  const float level = buffers.samples(0)[0];
  for (const int channel : {0, 1}) {
    for (const float sample : buffers.samples(channel))
      EXPECT_EQ(level, sample);
  }
  return level;
}

Owned<RecordingProvider> constantInput(float level)
{
  Owned<RecordingProvider> input = support::make<RecordingProvider>();
  input->setLevels(level, level);
  return input;
}

TEST(MixerThreadsTest, EveryRequestHearsOneStateOfTheSettings)
{
  const Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
  const Owned<RecordingProvider> input = constantInput(1.0f);
  mixer->addProvider(input.get());
  mixer->setStartTime(input.get(), -50.0);
  mixer->setEndTime(input.get(), -50.0);
  const std::set<float> possible = {-1.0f, 0.25f, 0.5f, 1.0f, 2.0f, 4.0f};
  whileChanging([&] { EXPECT_EQ(1u, possible.count(uniformLevel(*mixer))); },
                {[&] {
                   for (int i = 0; i < 400; ++i)
                     mixer->setGain(input.get(), i % 2 ? 0.5f : 2.0f);
                 },
                 [&] {
                   for (int i = 0; i < 400; ++i)
                     mixer->setMasterGain(i % 3 ? 2.0f : 0.5f);
                 },
                 [&] {
                   support::SoloOverridesMute setting("0");
                   for (int i = 0; i < 300; ++i) {
                     setting.set(i % 2 ? "1" : "0");
                     mixer->setMute(input.get(), i % 4 == 0);
                     mixer->setSolo(input.get(), i % 5 == 0);
                     mixer->slideAll(i % 2 ? 0.125 : -0.125); // far from the request in all
                     mixer->setTimeShift(input.get(), i);
                   }
                 }});
}

TEST(MixerThreadsTest, InputsMayComeAndGoWhileRendering)
{
  const Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
  std::vector<Owned<RecordingProvider>> inputs;
  for (const float level : {1.0f, 2.0f, 4.0f})
    inputs.push_back(constantInput(level));
  const support::FramesPerSecond frames("200000"); // so that new tracks start at once
  const auto comeAndGo = [&](std::size_t index) {
    for (int i = 0; i < 200; ++i) {
      mixer->addProvider(inputs[index].get());
      mixer->setTimeShift(inputs[index].get(), 1.0);
      mixer->getNumTracks();
      mixer->getGain(inputs[index].get());
      mixer->removeProvider(inputs[index].get());
    }
  };
  std::set<float> heard;
  whileChanging(
      [&] {
        const float level = uniformLevel(*mixer);
        heard.insert(level);
      },
      {[&] { comeAndGo(0); }, [&] { comeAndGo(1); }, [&] { comeAndGo(2); },
       [&] {
         for (int i = 0; i < 50; ++i) {
           mixer->activate(kContext);
           mixer->deactivate();
           mixer->clear();
         }
       }});
  for (const float level : heard)
    EXPECT_TRUE(level == -1.0f || (level >= 1.0f && level <= 7.0f &&
                                   level == static_cast<float>(static_cast<int>(level))))
        << level;
  EXPECT_EQ(0, mixer->getNumTracks());
  for (const Owned<RecordingProvider>& input : inputs)
    EXPECT_EQ(1, support::referenceCount(*input));
}

void countCall(void* data)
{
  ++*static_cast<std::atomic<int>*>(data);
}

TEST(MixerThreadsTest, NotificationsPassThroughWhileListenersComeAndGo)
{
  // Outlives the mixer's threads: after its removal a call may still be under
  // way on another one.
  std::atomic<int> passing{0};
  const Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
  const Owned<RecordingProvider> input = constantInput(1.0f);
  support::Listener permanent(*mixer);
  mixer->addProvider(input.get());
  permanent.take();
  const auto notify = [&] {
    for (int i = 0; i < 500; ++i)
      input->callNotifyCallbacks();
  };
  const auto listen = [&] {
    for (int i = 0; i < 300; ++i) {
      mixer->addCallback(countCall, &passing);
      mixer->setPan(input.get(), 0.0f);
      mixer->removeCallback(countCall, &passing);
    }
  };
  const auto comeAndGo = [&] {
    const Owned<RecordingProvider> other = constantInput(1.0f);
    for (int i = 0; i < 200; ++i) {
      mixer->addProvider(other.get());
      mixer->removeProvider(other.get());
    }
  };
  whileChanging([&] { uniformLevel(*mixer); }, {notify, listen, comeAndGo});
  EXPECT_EQ(500 + 300 + 2 * 200, permanent.take());
  EXPECT_GE(passing, 300); // its own thread's, and what came meanwhile
  passing = 0;
  mixer->callNotifyCallbacks();
  EXPECT_EQ(0, passing);
}

/** A stereo file whose every sample is @p value. */
std::string writeConstant(const support::TempFolder& folder, const std::string& name, bool isAiff,
                          unsigned int value)
{
  support::Bytes samples;
  for (int i = 0; i < 2 * 2048; ++i)
    isAiff ? samples.u16be(value) : samples.u16le(value);
  return isAiff ? folder.write(name, support::aiffFile(2, 2048, 1024, 16, samples))
                : folder.write(name, support::wavFile(2, 1024, 16, samples));
}

class FileThreadsTest : public ::testing::Test {
protected:
  FileThreadsTest()
  {
    file->initialize(half.c_str());
    file->activate(kContext);
  }

  support::TempFolder folder;
  support::Messages messages;
  const std::string half = writeConstant(folder, "half.wav", false, 16384);
  const std::string quarter = writeConstant(folder, "quarter.aiff", true, 8192);
  Owned<TovAudioFile> file = support::make<TovAudioFile>();
};

TEST_F(FileThreadsTest, FileNameMayChangeWhileOthersActivateAndRender)
{
  std::set<int> statuses;
  whileChanging(
      [&] {
        Buffers buffers(2, 64);
        const int status =
            file->getAudio(buffers.pointers(), support::channelMap({0, 1}), kContext, 1.0, 1.0625);
        statuses.insert(status);
        EXPECT_TRUE(buffers.guardsIntact());
        if (status != 0)
          return;
        const float level = buffers.samples(0)[0];
        EXPECT_TRUE(level == 0.5f || level == 0.25f) << level;
        EXPECT_EQ(std::vector<float>(64, level), buffers.samples(0));
        EXPECT_EQ(std::vector<float>(64, level), buffers.samples(1));
      },
      {[&] {
         for (int i = 0; i < 150; ++i) {
           EXPECT_EQ(0, file->setFileName((i % 2 ? half : quarter).c_str()));
           if (i % 10 == 0)
             file->setFileName(nullptr);
           if (i % 10 == 5)
             file->setFileName(folder.path("missing.wav").c_str());
         }
         file->setFileName(half.c_str());
       },
       [&] {
         for (int i = 0; i < 300; ++i) {
           const int status = file->activate(kContext);
           EXPECT_TRUE(status == 0 || status == 1) << status;
           file->deactivate();
         }
       },
       [&] {
         TovAudioIOFormat format{};
         for (int i = 0; i < 150; ++i) {
           file->refresh();
           file->getSourceFormat(&format);
           file->hasError();
           file->getPlaybackRate();
         }
       }});
  for (const int status : statuses)
    EXPECT_TRUE(status == 0 || status == 1 || status == 2) << status;
  EXPECT_EQ(0, file->activate(kContext));
  EXPECT_STREQ(half.c_str(), file->getFileName());
}

TEST_F(FileThreadsTest, FileSettingsMayChangeWhileAMixerRenders)
{
  const Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
  mixer->addProvider(file.get());
  mixer->setStartTime(file.get(), 0.5);
  support::Listener listener(*mixer);
  whileChanging(
      [&] {
        const float level = uniformLevel(*mixer);
        EXPECT_TRUE(level == -1.0f || level == 0.5f) << level;
      },
      {[&] {
         for (int i = 0; i < 300; ++i)
           file->setSrcIn(i % 2 ? 0.25 : 0.0);
       },
       [&] {
         for (int i = 0; i < 300; ++i) {
           file->setSrcOut(i % 2 ? 2.0 : 0.0); // everything or nothing
           mixer->activate(kContext);
         }
       }});
  EXPECT_EQ(600, listener.take());
}

} // namespace
