#include <atomic>
#include <barrier>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "playout/CallbackGate.h"
#include "playout/PlayoutHandles.h"
#include "tests/playout/RestlessDevice.h"
#include "tests/playout/SteppedEngine.h"

// On real threads: the null device's, or one that pulls without a pause.

namespace {

using support::DeviceVariable;

/** Notes calls that come when none may, and torn ones. */
class WatchfulSupplier {
public:
  static int supply(void* self, double time, unsigned long n, unsigned long frames, float** buffers,
                    unsigned char*)
  {
    WatchfulSupplier& supplier = *static_cast<WatchfulSupplier*>(self);
    supplier.inside.fetch_add(1);
    if (!supplier.allowed.load())
      supplier.forbiddenCalls.fetch_add(1);
    if (n == 0)
      supplier.expectedTime = time;
    if (supplier.expectedTime != time)
      supplier.wrongTimes.fetch_add(1);
    supplier.expectedTime += static_cast<double>(frames);
    for (unsigned long frame = 0; frame < frames; ++frame)
      buffers[0][frame] = buffers[1][frame] = 0.5f;
    supplier.calls.fetch_add(1);
    supplier.inside.fetch_sub(1);
    return 0;
  }

  std::atomic<bool> allowed = false;
  std::atomic<int> inside = 0;
  std::atomic<int> forbiddenCalls = 0;
  std::atomic<int> wrongTimes = 0;
  std::atomic<long> calls = 0;
  double expectedTime = 0.0; ///< device's thread only
};

PeAudioSupplierUPP watchful()
{
  PeAudioSupplierUPP upp = nullptr;
  EXPECT_EQ(NewPeAudioSupplierUPP(&WatchfulSupplier::supply, &upp), 0);
  return upp;
}

struct Engine {
  explicit Engine(WatchfulSupplier& supplier, PeMixer ready = nullptr, double rate = 44100)
      : mixer(ready)
  {
    if (!mixer) {
      EXPECT_EQ(PeMixerCreate(1, &mixer), 0);
    }
    PeTrack track = nullptr;
    EXPECT_EQ(PeMixerCreateTrack(mixer, watchful(), &supplier, 2, rate, 0, 0, 0, &track), 0);
    EXPECT_EQ(PeMixerGetTransport(mixer, &transport), 0);
    EXPECT_EQ(PeMixerGetOverallLevelModule(mixer, &level), 0);
    EXPECT_EQ(PeModuleEnableMetering(level), 0);
  }
  PeMixer mixer;
  PeTransport transport = nullptr;
  PeModule level = nullptr;
};

TEST(PlayoutThreads, NoCallArrivesAfterDestroy)
{
  const DeviceVariable variable("null");
  WatchfulSupplier supplier;
  for (int round = 0; round < 1000; ++round) {
    supplier.allowed = true;
    Engine engine(supplier, nullptr, 8000);
    ASSERT_EQ(PeTransportStart(engine.transport), 0);
    const long callsBefore = supplier.calls;
    while (round % 2 == 0 && supplier.calls == callsBefore)
      std::this_thread::yield();
    ASSERT_EQ(PeMixerDestroy(engine.mixer), 0);
    supplier.allowed = false;
    ASSERT_EQ(supplier.inside, 0);
  }
  EXPECT_GE(supplier.calls, 500);
  EXPECT_EQ(supplier.forbiddenCalls, 0);
  EXPECT_EQ(supplier.wrongTimes, 0);
}

TEST(PlayoutThreads, TheNullDevicePlaysByTheClock)
{
  const DeviceVariable variable("null");
  WatchfulSupplier supplier;
  supplier.allowed = true;
  Engine engine(supplier);
  ASSERT_EQ(PeTransportSetStartTime(engine.transport, 1000), 0);
  ASSERT_EQ(PeTransportStart(engine.transport), 0);
  double time = 0.0;
  double before = 1000.0;
  while (before < 1000.0 + 4096.0) { // however long that takes
    ASSERT_EQ(PeTransportGetCurrentTime(engine.transport, &time), 0);
    ASSERT_GE(time, before);
    before = time;
    std::this_thread::yield();
  }
  EXPECT_GE(supplier.calls, 4096 / 512);
  float levels[2] = {};
  int count = 2;
  ASSERT_EQ(PeModuleGetPastMeterValues(engine.level, 1000, time, &count, levels), 0);
  EXPECT_EQ(levels[0], 0.5f);
  EXPECT_EQ(levels[1], 0.5f);
  EXPECT_EQ(PeMixerDestroy(engine.mixer), 0);
}

// With a second of silence of 1000 frames the device ends now and then between
// two runs, and the next start meets a running one, an ended one, or the end.
TEST(PlayoutThreads, NoCallIsUnderWayOrArrivesAfterStop)
{
  DeviceMakers makers;
  int devices = 0;
  makers.output = [&] {
    ++devices;
    return std::make_unique<support::RestlessDevice>();
  };
  WatchfulSupplier supplier;
  Engine engine(supplier, new PeMixerObject(makers), 1000);
  for (int run = 0; run < 1500; ++run) {
    supplier.allowed = true;
    ASSERT_EQ(PeTransportSetStartTime(engine.transport, run), 0);
    ASSERT_EQ(PeTransportStart(engine.transport), 0);
    const long before = supplier.calls;
    while (run % 2 == 0 && supplier.calls == before)
      std::this_thread::yield();
    ASSERT_EQ(PeTransportStop(engine.transport), 0);
    supplier.allowed = false;
    ASSERT_EQ(supplier.inside, 0);
    if (run % 3 == 0)
      std::this_thread::yield();
  }
  EXPECT_EQ(PeMixerDestroy(engine.mixer), 0);
  EXPECT_EQ(supplier.forbiddenCalls, 0);
  EXPECT_EQ(supplier.wrongTimes, 0);
  EXPECT_GE(supplier.calls, 750);
  EXPECT_GT(devices, 1);
}

TEST(PlayoutThreads, QueriesAndSettingsMayOverlapThePlaying)
{
  const DeviceVariable variable("null");
  WatchfulSupplier supplier;
  supplier.allowed = true;
  Engine engine(supplier);
  PeParameter volume = nullptr;
  ASSERT_EQ(PeModuleGetIndexedParameter(engine.level, 0, &volume), 0);
  std::atomic<bool> done = false;
  std::atomic<int> failures = 0;
  std::barrier together(4);
  const auto ask = [&] {
    together.arrive_and_wait();
    while (!done) {
      double time = 0.0;
      unsigned char playing = 0;
      float levels[2] = {};
      int count = 2;
      failures += PeTransportGetCurrentTime(engine.transport, &time);
      failures += PeTransportIsPlaying(engine.transport, &playing);
      failures += PeModuleGetPastMeterValues(engine.level, 0, time, &count, levels);
      failures += !(levels[0] >= 0.0f && levels[0] <= 0.5f);
    }
  };
  std::thread first(ask);
  std::thread second(ask);
  std::thread setter([&] {
    together.arrive_and_wait();
    for (unsigned i = 0; !done; ++i)
      failures += PeParameterSetCurrentValue(volume, static_cast<float>(i % 8) / 7.0f);
  });
  together.arrive_and_wait();
  for (int run = 0; run < 100; ++run) {
    failures += PeTransportStart(engine.transport);
    const long before = supplier.calls;
    while (supplier.calls == before)
      std::this_thread::yield();
    failures += PeTransportStop(engine.transport);
    failures += PeMixerReset(engine.mixer);
  }
  done = true;
  first.join();
  second.join();
  setter.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(supplier.wrongTimes, 0);
  EXPECT_EQ(PeMixerDestroy(engine.mixer), 0);
}

// A supplier that breaks its contract and waits: the host is not caught in it.
TEST(PlayoutThreads, StopGivesUpOnASupplierThatDoesNotReturn)
{
  support::PlayingEngine engine;
  std::atomic<bool> isInside = false;
  std::atomic<bool> mayReturn = false;
  engine.supplier.instead = [&](double, unsigned long, float**, unsigned char*) {
    isInside = true;
    while (!mayReturn)
      std::this_thread::yield();
    return 0;
  };
  engine.start(0);
  PlayoutSource& source = *engine.device().source;
  std::vector<float> out(2 * 64);
  std::thread callback([&] { source.render(out.data(), 64); });
  while (!isInside)
    std::this_thread::yield();
  EXPECT_NE(PeTransportStop(engine.transport), 0);
  EXPECT_FALSE(engine.isPlaying());
  mayReturn = true;
  callback.join();
  EXPECT_EQ(PeTransportStop(engine.transport), 0);
}

// Between a stop and a reset the device goes on to ask for silence.
TEST(PlayoutThreads, ResetWaitsForACallOfSilence)
{
  support::PlayingEngine engine;
  engine.start(0);
  ASSERT_EQ(PeTransportStop(engine.transport), 0);
  PlayoutSource& source = *engine.device().source;
  std::atomic<bool> done = false;
  std::atomic<long> calls = 0;
  std::thread callback([&] {
    constexpr long kFrames = 100000;
    std::vector<float> out(2 * kFrames);
    for (; !done; ++calls)
      source.render(out.data(), kFrames);
  });
  int failures = 0;
  for (int reset = 0; reset < 100 || calls < 100; ++reset) {
    failures += PeMixerReset(engine.mixer);
    std::this_thread::yield();
  }
  done = true;
  callback.join();
  EXPECT_EQ(failures, 0);
}

TEST(CallbackGate, IsOpenOnceTheCallThatWasUnderWayHasEnded)
{
  constexpr std::chrono::nanoseconds kNoTime(0);
  CallbackGate gate;
  EXPECT_TRUE(gate.waitUntilOutside(kNoTime));
  gate.enter();
  EXPECT_FALSE(gate.waitUntilOutside(kNoTime));
  gate.leave();
  EXPECT_TRUE(gate.waitUntilOutside(kNoTime));
  gate.enter();
  EXPECT_FALSE(gate.waitUntilOutside(kNoTime));
}

} // namespace
