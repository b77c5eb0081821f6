#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/TovSys.h"
#include "playback/TovAudioPlayerOSX.h"
#include "tests/playback/RecordingEngine.h"

namespace {

/** A host whose stop request callback takes its time and then stops. */
struct SlowHost {
  TovAudioPlayer* player = nullptr;
  std::atomic<bool> isCalled{false};

  static void stopSlowly(void* data)
  {
    SlowHost& host = *static_cast<SlowHost*>(data);
    host.isCalled = true;
    TovSys::sleep(0.05);
    host.player->stop();
  }
};

TEST(PlayerDestructionTest, WaitsForAStopRequestCallbackThatUsesTheEngine)
{
  support::RecordingEngine engine;
  SlowHost host;
  {
    TovAudioPlayerOSX player;
    host.player = &player;
    player.setStopRequestCallback(SlowHost::stopSlowly, &host);
    ASSERT_EQ(0, player.play(0.0, 0.01, false));
    std::vector<float> left(512), right(512);
    unsigned char flag = 0;
    while (!host.isCalled) {
      engine.pull(512, left.data(), right.data(), &flag);
      std::this_thread::yield();
    }
  }
  const std::vector<std::string> calls = engine.take();
  ASSERT_EQ(1, std::count(calls.begin(), calls.end(), "PeMixerDestroy(mixer)"));
  EXPECT_EQ("PeMixerDestroy(mixer)", calls.back());
}

} // namespace
