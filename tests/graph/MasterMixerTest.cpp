// The mixer of the process.  What depends on nobody having asked for it runs
// in processes of its own.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/TovGlobals.h"
#include "core/TovScript.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovMixerSettings.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"
#include "tests/support/SettingsBlobs.h"

namespace {

using support::Owned;

/** Leaves the process; what it did not like goes to standard error. */
[[noreturn]] void leave(const std::vector<std::pair<const char*, bool>>& checks)
{
  bool isGood = true;
  for (const auto& [what, holds] : checks) {
    if (!holds) {
      std::fprintf(stderr, "not so: %s\n", what);
      isGood = false;
    }
  }
  std::exit(isGood ? 0 : 1);
}

/** Each runs this test program anew, and in it nothing but the death test. */
class MasterMixerFirstUseDeathTest : public ::testing::Test {
protected:
  MasterMixerFirstUseDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

void askFirst()
{
  const bool wasNull = TovAudioMixer::_masterMixer == nullptr;
  TovFile* const noFile = nullptr;
  const bool hadNoHook = TovScript::saveAudio(noFile) != 0 &&
                         TovScript::runAudio("SetAudio(\"\");") != 0 &&
                         std::string(TovScript::audioToString().c_str()).empty();
  const bool isStillNull = TovAudioMixer::_masterMixer == nullptr;
  TovAudioMixer* const mixer = TovAudioMixer::getMasterMixer();
  leave({{"null before", wasNull},
         {"no hook before", hadNoHook},
         {"not made by the host's script", isStillNull},
         {"kept", mixer && mixer == TovAudioMixer::_masterMixer},
         {"two references", support::referenceCount(*mixer) == 2},
         {"empty", mixer->getNumTracks() == 0 && mixer->getMasterGain() == 1.0f},
         {"hook for the string",
          std::string(TovScript::audioToString().c_str()).rfind("SetAudio(\"", 0) == 0},
         {"hook for loading", TovScript::runAudio("SetAudio();") == 0}});
}

TEST_F(MasterMixerFirstUseDeathTest, IsMadeAndBoundToTheScriptByWhoeverAsksFirst)
{
  EXPECT_EXIT(askFirst(), ::testing::ExitedWithCode(0), "^$");
}

void askFirstFromEightThreads()
{
  std::atomic<int> waiting{8};
  std::array<TovAudioMixer*, 8> mixers{};
  std::vector<std::thread> threads;
  for (TovAudioMixer*& mixer : mixers) {
    threads.emplace_back([&waiting, &mixer] {
      --waiting;
      while (waiting > 0)
        std::this_thread::yield();
      mixer = TovAudioMixer::getMasterMixer();
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  leave(
      {{"one for all", mixers[0] && std::all_of(mixers.begin(), mixers.end(),
                                                [&](TovAudioMixer* m) { return m == mixers[0]; })},
       {"the one that is kept", mixers[0] == TovAudioMixer::_masterMixer},
       {"nine references", support::referenceCount(*mixers[0]) == 9},
       {"hooks", TovScript::runAudio("SetAudio();") == 0}});
}

TEST_F(MasterMixerFirstUseDeathTest, EightThreadsThatAskFirstGetOneMixer)
{
  EXPECT_EXIT(askFirstFromEightThreads(), ::testing::ExitedWithCode(0), "^$");
}

void saveAndLoadFirstFromEightThreads()
{
  std::atomic<int> waiting{8};
  std::atomic<int> wrong{0};
  const std::string text = support::scriptText(
      support::mixerBlob(2, 1.0f, {{.provider = support::fileBlob({})}}).data());
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      --waiting;
      while (waiting > 0)
        std::this_thread::yield();
      for (int round = 0; round < 20; ++round) {
        if (i % 2)
          TovAudioMixer::loadAudioStatic(text.c_str());
        else if (std::string(TovAudioMixer::saveAudioStringStatic().c_str())
                     .rfind("SetAudio(\"", 0) != 0)
          ++wrong;
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  leave({{"every save gave a line", wrong == 0},
         {"the last load counts", TovAudioMixer::_masterMixer->getNumTracks() == 1},
         {"loads keep their reference",
          support::referenceCount(*TovAudioMixer::_masterMixer) == 1 + 4 * 20}});
}

TEST_F(MasterMixerFirstUseDeathTest, HooksMayComeFirstFromEightThreads)
{
  EXPECT_EXIT(saveAndLoadFirstFromEightThreads(), ::testing::ExitedWithCode(0), "^$");
}

void installOtherHooksAfterTheFirstUse()
{
  TovAudioMixer::getMasterMixer();
  static int calls = 0;
  TovScript::setAudioCallbacks(
      nullptr, [](const char*) { ++calls; }, nullptr);
  TovAudioMixer::getMasterMixer();
  TovAudioMixer::saveAudioStringStatic();
  TovAudioMixer::loadAudioStatic(nullptr);
  leave({{"the host's hook is still there", TovScript::runAudio("SetAudio();") == 0},
         {"and called", calls == 1}});
}

TEST_F(MasterMixerFirstUseDeathTest, HooksAreRegisteredOnlyOnce)
{
  EXPECT_EXIT(installOtherHooksAfterTheFirstUse(), ::testing::ExitedWithCode(0), "^$");
}

void readSettingsOfTheMixerModule()
{
  const auto plug = [](const char* name) {
    return TovGlobals::ref(TovName::getString(name), kTovIdInteger, 1);
  };
  leave({{"sys.quicktimeAudioDefault", plug("sys.quicktimeAudioDefault")->asInt() == 0},
         {"sys.quicktimeAudioRate", plug("sys.quicktimeAudioRate")->asInt() == 44100},
         {"sys.quicktimeAudioBitDepth", plug("sys.quicktimeAudioBitDepth")->asInt() == 16},
         {"sys.audioSoloOverridesMute", plug("sys.audioSoloOverridesMute")->asInt() == 0},
         {"script.framesPerSecond", plug("script.framesPerSecond")->asFloat() == 24.0f},
         {"gui.addScriptFlag", plug("gui.addScriptFlag")->asInt() == 0}});
}

TEST_F(MasterMixerFirstUseDeathTest, SettingsAreThereWithTheirDefaults)
{
  EXPECT_EXIT(readSettingsOfTheMixerModule(), ::testing::ExitedWithCode(0), "^$");
}

TEST(MasterMixerTest, EveryCallAddsOneReferenceToTheSameMixer)
{
  const Owned<TovAudioMixer> first(TovAudioMixer::getMasterMixer());
  ASSERT_NE(nullptr, first.get());
  const int references = support::referenceCount(*first);
  Owned<TovAudioMixer> second(TovAudioMixer::getMasterMixer());
  EXPECT_EQ(first.get(), second.get());
  EXPECT_EQ(references + 1, support::referenceCount(*first));
  second.drop();
  EXPECT_EQ(references, support::referenceCount(*first));
}

TEST(MasterMixerTest, OutlivesItsUsers)
{
  TovAudioMixer* const mixer = TovAudioMixer::getMasterMixer();
  EXPECT_GE(mixer->dereference(), 1);
  EXPECT_EQ(mixer, TovAudioMixer::_masterMixer);
  EXPECT_EQ(0, TovAudioMixer::_masterMixer->getNumTracks());
}

TEST(MasterMixerTest, LoadingKeepsItsReference)
{
  const Owned<TovAudioMixer> mixer(TovAudioMixer::getMasterMixer());
  const int references = support::referenceCount(*mixer);
  for (int i = 0; i < 10; ++i)
    TovAudioMixer::loadAudioStatic(nullptr);
  EXPECT_EQ(references + 10, support::referenceCount(*mixer));
}

TEST(MasterMixerThreadsTest, LoadsSavesAndRendersAtTheSameTime)
{
  const Owned<TovAudioMixer> mixer(TovAudioMixer::getMasterMixer());
  std::vector<std::string> texts;
  for (const unsigned int count : {0u, 1u, 5u}) {
    texts.push_back(
        support::scriptText(support::mixerBlob(2, 1.0f,
                                               std::vector<support::TrackSettings>(
                                                   count, {.provider = support::fileBlob({})}))
                                .data()));
  }
  std::vector<std::string> lines;
  for (const std::string& text : texts)
    lines.push_back("SetAudio(\"" + text + "\");\n");
  std::atomic<int> running{2};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < 2; ++i) {
    threads.emplace_back([&, i] {
      for (std::size_t round = 0; round < 300; ++round)
        TovAudioMixer::loadAudioStatic(texts[(round * (i + 1)) % 3].c_str());
      --running;
    });
  }
  threads.emplace_back([&] {
    do {
      const std::string line = TovAudioMixer::saveAudioStringStatic().c_str();
      EXPECT_EQ(1, std::count(lines.begin(), lines.end(), line)) << "a mix that nobody loaded";
    } while (running > 0);
  });
  do {
    support::Buffers buffers(2, 64);
    EXPECT_EQ(5, mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}),
                                 TovAudioContext(48000, 1, 24.0, 0.0), 1.0, 1.001));
  } while (running > 0);
  for (std::thread& thread : threads)
    thread.join();
  mixer->clear();
}

TEST(MixerModule, KeepsTheLogarithmOfOneHalf)
{
  EXPECT_EQ(-0.693147182f, TovCLog05);
}

} // namespace
