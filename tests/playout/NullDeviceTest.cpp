#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>

#include <gtest/gtest.h>

#include "playout/ClockedPace.h"
#include "playout/NullDevice.h"
#include "tests/playout/SteppedDevice.h"

namespace {

using support::HandClock;
using State = PlayoutDevice::State;

constexpr double kRate = 44100.0;
constexpr long kPeriod = ClockedPace::kPeriodFrames;

/** A source that counts, and ends after so many frames. */
class CountingSource final : public PlayoutSource {
public:
  bool render(float* interleaved, long count) noexcept override
  {
    interleaved[0] = interleaved[count * channels - 1] = 0.5f;
    frames += count;
    ++calls;
    longest = std::max(longest, count);
    return frames < end;
  }

  int channels = 2;
  long long end = 1LL << 62;
  long long frames = 0;
  long long calls = 0;
  long longest = 0;
};

class NullDeviceByHand : public testing::Test {
protected:
  void run(double seconds, double step)
  {
    for (double passed = 0.0; passed < seconds - step / 2; passed += step) {
      clock.advance(step);
      device.pullWhatIsDue();
    }
  }

  HandClock clock;
  CountingSource source;
  NullDevice device{clock, NullDevice::Drive::hand};
};

TEST_F(NullDeviceByHand, GoesThroughItsStates)
{
  EXPECT_EQ(device.state(), State::closed);
  EXPECT_NE(device.start(), 0);
  EXPECT_LT(device.position(), 0);
  ASSERT_EQ(device.open(source, kRate, 2), 0);
  EXPECT_EQ(device.state(), State::stopped);
  EXPECT_NE(device.open(source, kRate, 2), 0);
  device.pullWhatIsDue();
  EXPECT_EQ(source.frames, 0);
  ASSERT_EQ(device.start(), 0);
  EXPECT_EQ(device.state(), State::running);
  EXPECT_NE(device.start(), 0);
  ASSERT_EQ(device.stop(), 0);
  EXPECT_EQ(device.state(), State::stopped);
  device.close();
  EXPECT_EQ(device.state(), State::closed);
  ASSERT_EQ(device.open(source, kRate, 2), 0);
  EXPECT_EQ(device.position(), 0);
}

TEST_F(NullDeviceByHand, PullsAPeriodAtOnceAndThenOneForEachThatHasPassed)
{
  device.open(source, kRate, 2);
  device.start();
  device.pullWhatIsDue();
  EXPECT_EQ(source.frames, kPeriod);
  device.pullWhatIsDue();
  EXPECT_EQ(source.frames, kPeriod);
  clock.advance(511.0 / kRate);
  device.pullWhatIsDue();
  EXPECT_EQ(source.frames, kPeriod);
  clock.advance(1.0 / kRate + 2.0e-9);
  device.pullWhatIsDue();
  EXPECT_EQ(source.frames, 2 * kPeriod);
  clock.advance(0.5);
  device.pullWhatIsDue();
  EXPECT_EQ(source.frames, (22050 / kPeriod + 2) * kPeriod);
  EXPECT_EQ(source.longest, kPeriod);
}

TEST_F(NullDeviceByHand, PositionIsWhatTheClockHasPassedButNotMoreThanWasPulled)
{
  device.open(source, kRate, 2);
  device.start();
  EXPECT_EQ(device.position(), 0);
  clock.advance(0.001);
  EXPECT_EQ(device.position(), 0);
  device.pullWhatIsDue();
  EXPECT_EQ(device.position(), 44);
  clock.advance(0.009);
  EXPECT_EQ(device.position(), 441);
  clock.advance(0.01);
  EXPECT_EQ(device.position(), kPeriod);
  device.pullWhatIsDue();
  EXPECT_EQ(device.position(), 882);
}

TEST_F(NullDeviceByHand, DoesNotDriftInTenHours)
{
  for (const double rate : {kRate, 44056.3, 1000.0}) {
    device.open(source, rate, 2);
    source.frames = 0;
    device.start();
    constexpr double kSeconds = 36000.0;
    run(kSeconds, 0.5);
    const double passed = std::floor(kSeconds * rate);
    EXPECT_NEAR(static_cast<double>(device.position()), passed, 1.0);
    EXPECT_GE(static_cast<double>(source.frames), passed);
    EXPECT_LE(static_cast<double>(source.frames), passed + kPeriod + 1);
    device.close();
  }
}

TEST_F(NullDeviceByHand, CatchesUpAfterAShortStall)
{
  device.open(source, kRate, 2);
  device.start();
  run(1.0, 0.01);
  run(0.9, 0.9);
  EXPECT_EQ(device.position(), std::llround(1.9 * kRate));
}

TEST_F(NullDeviceByHand, LeavesOutAllButASecondOfALongStall)
{
  device.open(source, kRate, 2);
  device.start();
  run(1.0, 0.01);
  const long long before = source.frames;
  run(3600.0, 3600.0);
  EXPECT_GE(source.frames - before, 44100);
  EXPECT_LE(source.frames - before, 44100 + kPeriod);
  EXPECT_LE(device.position(), source.frames);
  EXPECT_GT(device.position(), source.frames - kPeriod - 1);

  const long long resumed = device.position();
  run(10.0, 0.01);
  EXPECT_NEAR(static_cast<double>(device.position() - resumed), 10.0 * kRate, 1.0);
}

TEST_F(NullDeviceByHand, PositionNeverGoesBackOverStalls)
{
  device.open(source, kRate, 2);
  device.start();
  long long before = 0;
  for (const double step : {0.01, 0.5, 0.99, 1.0, 1.01, 1.02, 5.0, 0.003, 7200.0, 0.01, 0.02}) {
    clock.advance(step);
    const long long stalled = device.position();
    EXPECT_GE(stalled, before);
    device.pullWhatIsDue();
    EXPECT_GE(device.position(), stalled);
    before = device.position();
  }
}

TEST_F(NullDeviceByHand, EndsWithItsSourceAndPlaysToTheEnd)
{
  device.open(source, kRate, 2);
  source.end = 2 * kPeriod;
  device.start();
  run(0.013, 0.001);
  EXPECT_EQ(device.state(), State::ended);
  EXPECT_EQ(source.frames, 2 * kPeriod);
  EXPECT_LT(device.position(), 2 * kPeriod);
  run(1.0, 0.1);
  EXPECT_EQ(source.calls, 2);
  EXPECT_EQ(device.position(), 2 * kPeriod);
  EXPECT_EQ(device.state(), State::ended);
  EXPECT_EQ(device.stop(), 0);
  EXPECT_EQ(device.state(), State::ended);
  EXPECT_NE(device.start(), 0);
}

TEST_F(NullDeviceByHand, GoesOnAfterAStop)
{
  device.open(source, kRate, 2);
  device.start();
  run(0.1, 0.01);
  device.stop();
  const long long pulled = source.frames;
  clock.advance(100.0);
  device.pullWhatIsDue();
  EXPECT_EQ(source.frames, pulled);
  EXPECT_EQ(device.position(), pulled);
  device.start();
  device.pullWhatIsDue();
  EXPECT_EQ(source.frames, pulled + kPeriod);
  EXPECT_EQ(device.position(), pulled);
  run(0.1, 0.01);
  EXPECT_EQ(device.position(), pulled + 4410);
}

/** Runs ahead of whoever follows it. */
class RunawayClock final : public PlayoutClock {
public:
  std::int64_t now() const override { return time += 500'000'000; }

private:
  mutable std::atomic<std::int64_t> time = 0;
};

TEST(NullDevice, AStopDoesNotWaitUntilThePullingHasCaughtUp)
{
  RunawayClock clock;
  CountingSource source;
  NullDevice device(clock);
  ASSERT_EQ(device.open(source, kRate, 2), 0);
  ASSERT_EQ(device.start(), 0);
  EXPECT_EQ(device.stop(), 0);
  EXPECT_EQ(device.state(), State::stopped);
  EXPECT_EQ(device.position(), source.frames);
}

TEST(ClockedPace, EachMomentIsComputedFromTheBeginning)
{
  ClockedPace pace(kRate);
  pace.begin(1'000'000'007, 0);
  for (const long long period : {0LL, 1LL, 2LL, 1'000'000LL, 10'000'000LL}) {
    const long long frame = period * kPeriod;
    const long double exact = 1'000'000'007.0L + 1.0e9L * frame / 44100.0L;
    EXPECT_NEAR(static_cast<double>(pace.dueAt(frame) - exact), 0.5, 64.5) << period;
  }
  EXPECT_EQ(pace.dueAt(44100), 2'000'000'007);
  EXPECT_EQ(pace.playedAt(2'000'000'007), 44100);
  EXPECT_EQ(pace.playedAt(1'000'000'007), 0);
}

TEST(ClockedPace, IsForgivenOnlyWhatLiesMoreThanASecondBehind)
{
  constexpr std::int64_t kSecond = 1'000'000'000;
  ClockedPace pace(kRate);
  pace.begin(0, 0);
  pace.forgive(kSecond, 0);
  EXPECT_EQ(pace.dueAt(0), 0);
  pace.forgive(kSecond + 5, 0);
  EXPECT_EQ(pace.dueAt(0), 5);
  pace.forgive(50 * kSecond, 1024);
  EXPECT_EQ(pace.dueAt(1024), 49 * kSecond);
}

} // namespace
