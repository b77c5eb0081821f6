#include <gtest/gtest.h>

#include "tests/playout/SteppedEngine.h"
#include "tests/support/Messages.h"

namespace {

using support::PlayingEngine;
using support::SteppedEngine;
using State = PlayoutDevice::State;

TEST(LostDevice, IsNotPlayed)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(500);
  engine.device().position = 200;
  EXPECT_EQ(engine.time(), 200);
  engine.device().state = State::lost;
  EXPECT_FALSE(engine.isPlaying());
  engine.device().position = -1;
  engine.clock.advance(10);
  EXPECT_EQ(engine.time(), 200);
  EXPECT_EQ(PeTransportStop(engine.transport), 0);
  EXPECT_FALSE(engine.isPlaying());
  EXPECT_EQ(engine.time(), 200);
}

TEST(LostDevice, TheNextStartOpensAnother)
{
  for (const bool stopsFirst : {false, true}) {
    PlayingEngine engine;
    engine.start(0);
    engine.device().pull(500);
    engine.device().state = State::lost;
    if (stopsFirst)
      engine.stop();
    engine.start(1000);
    ASSERT_EQ(engine.devices.size(), 2u);
    EXPECT_EQ(engine.devices[0]->closings, 1);
    EXPECT_TRUE(engine.isPlaying());
    EXPECT_EQ(engine.time(), 1000);
    EXPECT_EQ(engine.device().pull(500), engine.supplier.heard(1000, 500));
    EXPECT_EQ(engine.supplier.calls.back().n, 0u);
    engine.device().position = 40;
    engine.clock.advance(0.1);
    EXPECT_EQ(engine.time(), 1040);
  }
}

TEST(LostDevice, InTheSilenceAfterAStopIsReplacedToo)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(500);
  engine.stop();
  engine.device().state = State::lost;
  engine.start(30);
  ASSERT_EQ(engine.devices.size(), 2u);
  EXPECT_EQ(engine.device().pull(500), engine.supplier.heard(30, 500));
}

TEST(LostDevice, BeforeTheFirstStartIsReplacedToo)
{
  PlayingEngine engine;
  engine.device().state = State::lost;
  engine.start(30);
  ASSERT_EQ(engine.devices.size(), 2u);
  EXPECT_EQ(engine.devices[0]->closings, 1);
  EXPECT_EQ(engine.device().pull(500), engine.supplier.heard(30, 500));
}

TEST(LostDevice, OneThatNoLongerStartsIsReplaced)
{
  PlayingEngine engine;
  engine.device().startFails = true;
  engine.start(30);
  ASSERT_EQ(engine.devices.size(), 2u);
  EXPECT_EQ(engine.devices[0]->closings, 1);
  EXPECT_TRUE(engine.isPlaying());
  EXPECT_EQ(engine.device().pull(500), engine.supplier.heard(30, 500));
}

TEST(LostDevice, IsDroppedByAReset)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(500);
  engine.device().state = State::lost;
  EXPECT_EQ(PeMixerReset(engine.mixer), 0); // it does not play
  EXPECT_EQ(engine.device().closings, 1);
  EXPECT_FALSE(engine.isPlaying());
  EXPECT_EQ(PeTransportStop(engine.transport), 0);
  engine.start(60);
  ASSERT_EQ(engine.devices.size(), 2u);
  EXPECT_EQ(engine.device().pull(500), engine.supplier.heard(60, 500));
}

TEST(LostDevice, WithNothingElseTheStartFailsUntilThereIs)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(500);
  engine.device().state = State::lost;
  engine.outputOpens = engine.silenceOpens = false;
  EXPECT_NE(PeTransportStart(engine.transport), 0);
  EXPECT_FALSE(engine.isPlaying());
  EXPECT_EQ(PeTransportStop(engine.transport), 0);
  EXPECT_EQ(PeMixerReset(engine.mixer), 0);
  EXPECT_NE(PeTransportStart(engine.transport), 0);
  engine.outputOpens = true;
  engine.start(77);
  EXPECT_TRUE(engine.isPlaying());
  EXPECT_EQ(engine.device().pull(500), engine.supplier.heard(77, 500));
}

TEST(LostDevice, CanBeDestroyed)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().state = State::lost;
  engine.destroy();
  EXPECT_EQ(engine.device().closings, 1);
}

TEST(LostDevice, WhatAStartThatFailedHadPulledBelongsToNoRun)
{
  SteppedEngine engine;
  engine.outputStarts = false;
  engine.pulledByFailedStart = 700;
  const support::Messages messages;
  ASSERT_EQ(engine.createTrack(), 0);
  engine.start(50);
  ASSERT_EQ(engine.made.back(), "silence");
  EXPECT_EQ(engine.device().pull(500), engine.supplier.heard(50, 500));
  engine.device().position = 200;
  engine.clock.advance(1.0);
  EXPECT_EQ(engine.time(), 250.0);
}

TEST(LostDevice, OneThatEndsByItselfCountsAsLost)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(500);
  engine.device().state = State::ended;
  EXPECT_FALSE(engine.isPlaying());
  engine.start(12);
  ASSERT_EQ(engine.devices.size(), 2u);
  EXPECT_EQ(engine.device().pull(500), engine.supplier.heard(12, 500));
}

} // namespace
