#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "playout/TransportState.h"
#include "tests/playout/SteppedEngine.h"

namespace {

using support::PlayingEngine;
using support::SteppedDevice;
using State = PlayoutDevice::State;

constexpr long kSecond = 44100;

bool isSilent(const std::vector<float>& samples)
{
  return std::all_of(samples.begin(), samples.end(), [](float sample) { return sample == 0.0f; });
}

TEST(Transport, ATrackOpensTheDeviceAndAStartStartsIt)
{
  PlayingEngine engine;
  EXPECT_EQ(engine.device().state, State::stopped);
  EXPECT_FALSE(engine.isPlaying());
  engine.start(0);
  EXPECT_EQ(engine.device().state, State::running);
  EXPECT_TRUE(engine.isPlaying());
  EXPECT_TRUE(engine.supplier.calls.empty()); // that is for the device to do
  EXPECT_EQ(engine.device().pull(100), engine.supplier.heard(0, 100));
  EXPECT_EQ(engine.devices.size(), 1u);
}

TEST(Transport, AfterAStopTheDeviceGoesOnInSilence)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(100);
  engine.stop();
  EXPECT_FALSE(engine.isPlaying());
  EXPECT_TRUE(engine.device().isRunning());
  EXPECT_TRUE(isSilent(engine.device().pull(5000)));
  EXPECT_EQ(engine.supplier.calls.size(), 1u);
  EXPECT_EQ(engine.device().stops, 0);
}

TEST(Transport, AStartInTheSilenceGoesOnInTheSameDevice)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(300);
  engine.stop();
  engine.device().pull(200);
  engine.start(9000);
  engine.device().pull(300);
  engine.stop();
  engine.start(50);
  engine.device().pull(300);

  std::vector<float> expected = engine.supplier.heard(0, 300);
  expected.resize(2 * 500, 0.0f);
  for (const double start : {9000.0, 50.0}) {
    const std::vector<float> run = engine.supplier.heard(start, 300);
    expected.insert(expected.end(), run.begin(), run.end());
  }
  EXPECT_EQ(engine.device().written, expected);
  EXPECT_EQ(engine.devices.size(), 1u);
}

TEST(Transport, TheDeviceEndsAfterASecondOfSilence)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(300);
  engine.stop();
  engine.device().pull(kSecond - 1);
  EXPECT_TRUE(engine.device().isRunning());
  EXPECT_TRUE(isSilent(engine.device().pull(1)));
  EXPECT_EQ(engine.device().state, State::ended);
  EXPECT_FALSE(engine.isPlaying());
}

TEST(Transport, AStoppedTransportEndsALongCallbackToo)
{
  PlayingEngine engine;
  engine.start(0);
  engine.stop();
  EXPECT_TRUE(isSilent(engine.device().pull(3 * kSecond)));
  EXPECT_EQ(engine.device().state, State::ended);
  EXPECT_TRUE(engine.supplier.calls.empty());
}

TEST(Transport, EveryRunIsFollowedByAWholeSecondOfSilence)
{
  PlayingEngine engine;
  for (int run = 0; run < 5; ++run) {
    engine.start(0);
    engine.device().pull(300);
    engine.stop();
    engine.device().pullAll(kSecond - 1, 441);
    ASSERT_TRUE(engine.device().isRunning()) << run;
  }
  engine.device().pull(1);
  EXPECT_EQ(engine.device().state, State::ended);
  EXPECT_EQ(engine.devices.size(), 1u);
}

TEST(Transport, TheSilenceIsASecondAtEveryRate)
{
  for (const double rate : {1000.0, 22050.5, 192000.0}) {
    PlayingEngine engine(2, rate);
    engine.start(0);
    engine.device().pull(300);
    engine.stop();
    while (engine.device().isRunning())
      engine.device().pull(1);
    const double silence = static_cast<double>(engine.device().framesWritten() - 300);
    EXPECT_GE(silence, rate);
    EXPECT_LT(silence, rate + 1.0);
  }
}

TEST(Transport, AStartAfterTheEndOpensAnotherDevice)
{
  PlayingEngine engine;
  for (std::size_t run = 1; run <= 3; ++run) {
    engine.start(100);
    ASSERT_EQ(engine.devices.size(), run);
    EXPECT_TRUE(engine.isPlaying());
    EXPECT_EQ(engine.device().pull(300), engine.supplier.heard(100, 300));
    engine.stop();
    engine.device().pull(kSecond);
    ASSERT_EQ(engine.device().state, State::ended);
  }
  EXPECT_EQ(engine.devices[0]->closings, 1);
  EXPECT_EQ(engine.devices[1]->closings, 1);
}

TEST(Transport, AStartAtTheVeryEndOpensAnotherDeviceToo)
{
  // The source has said that nothing more comes, the device still runs.
  PlayingEngine engine;
  engine.start(0);
  engine.stop();
  engine.device().pull(kSecond);
  engine.device().state = State::running;
  EXPECT_TRUE(isSilent(engine.device().pull(100)));
  EXPECT_EQ(engine.device().state, State::ended); // it is told again
  engine.device().state = State::running;
  engine.start(5);
  ASSERT_EQ(engine.devices.size(), 2u);
  EXPECT_TRUE(engine.isPlaying());
  EXPECT_EQ(engine.device().pull(10), engine.supplier.heard(5, 10));
}

TEST(Transport, StartingAgainWhilePlayingChangesNothing)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(300);
  engine.start(7000);
  EXPECT_EQ(engine.device().pull(300), engine.supplier.heard(300, 300));
  EXPECT_EQ(engine.supplier.calls.back().n, 1u);
  EXPECT_EQ(engine.devices.size(), 1u);
  engine.stop();
  ASSERT_EQ(PeTransportStart(engine.transport), 0); // but the time set is the next start's
  EXPECT_EQ(engine.device().pull(300), engine.supplier.heard(7000, 300));
}

TEST(Transport, StoppingAgainChangesNothing)
{
  PlayingEngine engine;
  EXPECT_EQ(PeTransportStop(engine.transport), 0);
  EXPECT_EQ(engine.device().state, State::stopped);
  engine.start(0);
  engine.device().pull(300);
  engine.stop();
  EXPECT_EQ(PeTransportStop(engine.transport), 0);
  EXPECT_TRUE(engine.device().isRunning());
}

TEST(Transport, ResetFailsWhilePlaying)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(300);
  EXPECT_NE(PeMixerReset(engine.mixer), 0);
  EXPECT_TRUE(engine.isPlaying());
  EXPECT_EQ(engine.device().pull(300), engine.supplier.heard(300, 300));
}

TEST(Transport, ResetLeavesWhatTheDeviceStillPlays)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(300);
  engine.stop();
  EXPECT_EQ(PeMixerReset(engine.mixer), 0);
  EXPECT_TRUE(engine.device().isRunning());
  EXPECT_EQ(engine.device().closings, 0);
  engine.start(10);
  EXPECT_EQ(engine.devices.size(), 1u);
  EXPECT_EQ(engine.device().pull(300), engine.supplier.heard(10, 300));
}

TEST(Transport, DestroyClosesTheDevice)
{
  for (const bool playing : {false, true}) {
    PlayingEngine engine;
    if (playing)
      engine.start(0);
    engine.destroy();
    EXPECT_EQ(engine.device().closings, 1);
    EXPECT_EQ(engine.device().state, State::closed);
  }
}

TEST(Transport, MixersAreIndependent)
{
  PlayingEngine one;
  PlayingEngine other(1, 8000);
  one.start(0);
  EXPECT_FALSE(other.isPlaying());
  other.start(500);
  one.setVolume(0.0f);
  EXPECT_EQ(other.device().pull(700), other.supplier.heard(500, 700));
  one.destroy();
  EXPECT_TRUE(other.isPlaying());
  EXPECT_EQ(other.device().pull(700), other.supplier.heard(1200, 700));
}

TEST(TransportState, OnlyOneOfAStartAndTheEndWins)
{
  using Mode = TransportState::Mode;
  {
    TransportState state;
    const TransportState::Value seen = state.get();
    EXPECT_TRUE(state.tryPlay());
    EXPECT_FALSE(state.tryEnd(seen));
    EXPECT_EQ(state.get().mode, Mode::playing);
  }
  {
    TransportState state;
    EXPECT_TRUE(state.tryEnd(state.get()));
    EXPECT_FALSE(state.tryPlay());
    state.silence();
    EXPECT_EQ(state.get().mode, Mode::ended);
    state.renew();
    EXPECT_TRUE(state.tryPlay());
  }
  { // a run that came and went since the callback looked
    TransportState state;
    const TransportState::Value seen = state.get();
    EXPECT_TRUE(state.tryPlay());
    state.silence();
    EXPECT_FALSE(state.tryEnd(seen));
    EXPECT_EQ(state.get().mode, Mode::silent);
    EXPECT_NE(state.get().run, seen.run);
  }
}

} // namespace
