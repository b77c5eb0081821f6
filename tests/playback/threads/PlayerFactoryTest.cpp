// The player of the process.  Each test has a process of its own, since the
// player stays until the end of it.

#include <atomic>
#include <cstdlib>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/TovGlobals.h"
#include "playback/TovAudioPlayerFactory.h"
#include "playback/TovAudioPlayerOSX.h"
#include "tests/core/ChildProcess.h"
#include "tests/playback/RecordingEngine.h"

namespace {

// Read while this program was being loaded, before any test could run.
const TovAudioPlayer* const playerAtLoadTime = TovAudioPlayerFactory::_instance;
const int qualityAtLoadTime =
    TovGlobals::ref(TovName::getString("sys.defaultAudioPlaybackQuality"), kTovIdInteger, 1)
        ->asInt();

constexpr int kExitsByItself = 77;

TEST(PlayerFactoryTest, AudioCanAlwaysBePlayed)
{
  EXPECT_EQ(1, TovAudioPlayerFactory::canPlayAudio());
}

TEST(PlayerFactoryTest, ThereIsNoPlayerBeforeItIsAskedFor)
{
  EXPECT_EQ(nullptr, playerAtLoadTime);
  EXPECT_EQ(nullptr, TovAudioPlayerFactory::_instance);
}

TEST(PlayerFactoryTest, TheQualityIsDeclaredAsOneWhenTheLibraryIsLoaded)
{
  EXPECT_EQ(1, qualityAtLoadTime);
}

TEST(PlayerFactoryTest, ThePlayerIsMadeOnceAndKept)
{
  EXPECT_EQ(0, support::runInChild([] {
              support::RecordingEngine engine;
              TovAudioPlayer* const first = TovAudioPlayerFactory::getAudioPlayer();
              if (!dynamic_cast<TovAudioPlayerOSX*>(first))
                return 1;
              if (TovAudioPlayerFactory::_instance != first ||
                  TovAudioPlayerFactory::getAudioPlayer() != first)
                return 2;
              if (engine.count("PeMixerCreate") != 1 || engine.count("PeMixerDestroy") != 0)
                return 3;
              return first->stop() == 0 ? 0 : 4; // the engine serves it
            }));
}

TEST(PlayerFactoryTest, ThreadsThatAskAtOnceGetTheOnePlayer)
{
  EXPECT_EQ(0, support::runInChild([] {
              support::RecordingEngine engine;
              constexpr std::size_t kThreads = 8;
              std::vector<TovAudioPlayer*> players(kThreads);
              std::vector<std::thread> threads;
              std::atomic<std::size_t> waiting{0};
              for (TovAudioPlayer*& player : players) {
                threads.emplace_back([&waiting, &player] {
                  ++waiting;
                  while (waiting < kThreads)
                    std::this_thread::yield();
                  player = TovAudioPlayerFactory::getAudioPlayer();
                });
              }
              for (std::thread& thread : threads)
                thread.join();
              const std::set<TovAudioPlayer*> different(players.begin(), players.end());
              if (different.size() != 1 || *different.begin() == nullptr)
                return 1;
              return engine.count("PeMixerCreate") == 1 ? 0 : 2;
            }));
}

/** A process that ends while its feeder renders and its output pulls. */
int endWhilePlaying(void (*end)(int))
{
  static support::RecordingEngine engine;
  TovAudioPlayer* const player = TovAudioPlayerFactory::getAudioPlayer();
  static std::atomic<int> pulls{0};
  std::thread([] {
    static float left[512];
    static float right[512];
    unsigned char flag = 0;
    for (;;) {
      engine.pull(512, left, right, &flag);
      ++pulls;
      std::this_thread::yield();
    }
  }).detach();
  player->play(0.0, 1000.0, true);
  while (pulls < 100)
    std::this_thread::yield();
  end(kExitsByItself);
  return 0;
}

TEST(PlayerFactoryTest, AProcessMayExitWhileItPlays)
{
  EXPECT_EQ(kExitsByItself, support::runInChild([] { return endWhilePlaying(std::exit); }));
}

TEST(PlayerFactoryTest, AProcessMayQuickExitWhileItPlays)
{
  EXPECT_EQ(kExitsByItself, support::runInChild([] { return endWhilePlaying(std::quick_exit); }));
}

} // namespace
