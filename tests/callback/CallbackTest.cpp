#include <cstdlib>
#include <memory>
#include <mutex>
#include <random>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

#include "core/TovLock.h"
#include "graph/TovAudioMixer.h"
#include "playback/TovAudioPlayerOSX.h"
#include "tests/callback/CallbackWatch.h"
#include "tests/callback/WatchedDevice.h"
#include "tests/soundserver/SoundServer.h"
#include "tests/soundserver/Waiting.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"

namespace {

/** The master mixer with one endless track of a constant level. */
class SteadyMix {
public:
  SteadyMix() : mixer(TovAudioMixer::getMasterMixer()), track(new support::RecordingProvider)
  {
    track->setLevels(0.25f, -0.25f);
    mixer->addProvider(track.get());
    mixer->setStartTime(track.get(), 0.0);
    mixer->setEndTime(track.get(), 0.0);
  }
  ~SteadyMix() { mixer->clear(); }

  void setGain(float gain) { mixer->setGain(track.get(), gain); }

private:
  support::Owned<TovAudioMixer> mixer;
  support::Owned<support::RecordingProvider> track;
};

void expectNothingCalled(const watch::Calls& calls)
{
  EXPECT_EQ(calls.allocations, 0) << watch::text(calls);
  EXPECT_EQ(calls.locks, 0) << watch::text(calls);
  EXPECT_EQ(calls.clockReads, 0) << watch::text(calls);
  EXPECT_EQ(calls.systemCalls, 0) << watch::text(calls);
}

/** What a host does, in no order. */
void driveAtRandom(TovAudioPlayerOSX& player, SteadyMix& mix, std::mt19937& random)
{
  const auto between = [&random](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  float levels[2] = {};
  double time = 0.0;
  player.setFilterFreq(static_cast<int>(between(-1000.0, 30000.0)));
  player.play(between(0.0, 5.0), between(0.0, 5.0), between(0.0, 1.0) < 0.5);
  const long enough = watch::calls().watchedPieces + 5000;
  while (watch::calls().watchedPieces < enough && player.isPlaying() != 0) {
    player.setVolume(static_cast<float>(between(-0.2, 1.2)));
    player.getLevels(levels, &mix);
    player.getCurrentTime(&time);
    mix.setGain(static_cast<float>(between(0.0, 2.0)));
    std::this_thread::yield();
  }
  if (between(0.0, 1.0) < 0.3)
    player.stop();
}

} // namespace

TEST(CallbackWatch, SeesAllocationsLocksClocksAndSystemCalls)
{
  watch::reset();
  std::thread([] {
    watch::filterSystemCallsOfThisThread();
    std::mutex mutex;
    unsigned int word = 0;
    void* volatile block = std::malloc(100); // a thread's first one maps memory
    std::free(block);
    const watch::Piece piece;
    block = std::malloc(100);
    std::free(block);
    delete new int(1);
    mutex.lock();
    mutex.unlock();
    TovLock::acquire(word);
    TovLock::release(word);
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    getppid();
  }).join();
  const watch::Calls calls = watch::calls();
  EXPECT_EQ(calls.watchedPieces, 1);
  EXPECT_GE(calls.allocations, 2); // a compiler may drop the pair of new and delete
  EXPECT_EQ(calls.locks, 2);
  EXPECT_EQ(calls.clockReads, 1);
  EXPECT_EQ(calls.systemCalls, 1);
}

TEST(CallbackWatch, LooksAwayOutsideOfWatchedCode)
{
  watch::reset();
  std::thread([] {
    watch::filterSystemCallsOfThisThread();
    getppid();
    void* volatile block = std::malloc(100);
    std::free(block);
  }).join();
  expectNothingCalled(watch::calls());
}

TEST(OutputCallback, CallsNothingInAMillionCalls)
{
  constexpr long kCalls = 1000000;
  SoundEnvironment environment; // "cubeb", which is the hasty device here
  useDevice(DeviceKind::hasty);
  SteadyMix mix;
  watch::reset();
  {
    TovAudioPlayerOSX player;
    std::mt19937 random(20261120);
    while (watch::calls().watchedPieces < kCalls)
      driveAtRandom(player, mix, random);
  }
  const watch::Calls calls = watch::calls();
  std::printf("%s\n", watch::text(calls).c_str());
  expectNothingCalled(calls);
}

TEST(OutputCallback, CallsNothingOnTheDeviceLibrarysThread)
{
  SoundServer server;
  server.start();
  useDevice(DeviceKind::real);
  SteadyMix mix;
  watch::reset();
  {
    TovAudioPlayerOSX player;
    ASSERT_EQ(player.play(0.0, 1.0, true), 0);
    ASSERT_TRUE(holdsSoon([] { return watch::calls().watchedPieces > 20; }));
    player.setVolume(0.5f);
    ASSERT_EQ(player.play(3.0, 2.0, false), 0);
    ASSERT_TRUE(holdsSoon([] { return watch::calls().watchedPieces > 100; }));
    EXPECT_EQ(player.isPlaying(), 1);
  }
  const watch::Calls calls = watch::calls();
  std::printf("%s\n", watch::text(calls).c_str());
  expectNothingCalled(calls);
}
