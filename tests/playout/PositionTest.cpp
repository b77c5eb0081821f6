#include <gtest/gtest.h>

#include "playout/HeardPosition.h"
#include "tests/playout/SteppedEngine.h"

namespace {

using support::PlayingEngine;

constexpr double kLongEnough = 0.02; ///< for the device to be asked again

double timeAt(PlayingEngine& engine, long long devicePosition)
{
  engine.device().position = devicePosition;
  engine.clock.advance(kLongEnough);
  return engine.time();
}

TEST(Position, IsTheStartTimeBeforeTheFirstStart)
{
  PlayingEngine engine;
  EXPECT_EQ(engine.time(), 0.0);
  ASSERT_EQ(PeTransportSetStartTime(engine.transport, 300.25), 0);
  EXPECT_EQ(engine.time(), 300.25);
}

TEST(Position, FollowsTheDevice)
{
  PlayingEngine engine;
  engine.start(1000.5);
  EXPECT_EQ(timeAt(engine, 0), 1000.5);
  engine.device().pull(2000);
  EXPECT_EQ(timeAt(engine, 0), 1000.5);
  EXPECT_EQ(timeAt(engine, 1), 1001.5);
  EXPECT_EQ(timeAt(engine, 1700), 2700.5);
}

TEST(Position, IsNeverMoreThanWhatWasPulled)
{
  PlayingEngine engine;
  engine.start(-100);
  EXPECT_EQ(timeAt(engine, 700), -100);
  engine.device().pull(500);
  EXPECT_EQ(timeAt(engine, 700), 400);
  engine.device().pull(500);
  EXPECT_EQ(timeAt(engine, 700), 600);
}

TEST(Position, NeverGoesBack)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(5000);
  EXPECT_EQ(timeAt(engine, 3000), 3000);
  EXPECT_EQ(timeAt(engine, 2900), 3000);
  EXPECT_EQ(timeAt(engine, 3001), 3001);
}

TEST(Position, OfALaterRunBeginsWhereTheDeviceHearsItsFirstSample)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(3000);
  engine.stop();
  engine.device().pull(1000);
  engine.start(70000);
  EXPECT_EQ(timeAt(engine, 2500), 70000); // not even pulled
  engine.device().pull(1000);
  EXPECT_EQ(timeAt(engine, 2600), 70000); // the end of the first run is heard
  EXPECT_EQ(timeAt(engine, 4000), 70000);
  EXPECT_EQ(timeAt(engine, 4001), 70001);
  EXPECT_EQ(timeAt(engine, 5000), 71000);
}

TEST(Position, CountsAnewInAnotherDevice)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(3000);
  EXPECT_EQ(timeAt(engine, 3000), 3000);
  engine.stop();
  engine.device().pull(44100);
  engine.start(100);
  ASSERT_EQ(engine.devices.size(), 2u);
  engine.device().pull(3000);
  engine.device().position = 10;
  EXPECT_EQ(engine.time(), 110); // the first question is for the new device at once
}

TEST(Position, GoesOnWithTheClockBetweenTheQuestions)
{
  PlayingEngine engine(2, 48000);
  engine.start(0);
  engine.device().pull(48000);
  EXPECT_EQ(timeAt(engine, 4800), 4800);
  const int queries = engine.device().positionQueries;
  engine.device().position = 4900;
  engine.clock.advance(0.005);
  EXPECT_EQ(engine.time(), 4800 + 240);
  engine.clock.advance(0.010);
  EXPECT_EQ(engine.time(), 4800 + 720);
  EXPECT_EQ(engine.device().positionQueries, queries);
  engine.clock.advance(0.002);
  EXPECT_EQ(engine.time(), 4800 + 720); // 4900 by now, but what was said was said
  EXPECT_EQ(engine.device().positionQueries, queries + 1);
}

TEST(Position, DoesNotGoOnWithTheClockBeyondWhatWasPulled)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(500);
  EXPECT_EQ(timeAt(engine, 490), 490);
  engine.clock.advance(0.010);
  EXPECT_EQ(engine.time(), 500);
}

TEST(Position, AsksTheDeviceSixtyTimesASecondAtTheMost)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(44100);
  double before = 0.0;
  for (int i = 0; i < 1000; ++i) {
    engine.device().position = i * 44;
    const double now = engine.time();
    ASSERT_GE(now, before);
    ASSERT_NEAR(now, i * 44, 44100 / 60);
    before = now;
    engine.clock.advance(0.001);
  }
  EXPECT_LE(engine.device().positionQueries, 60);
  EXPECT_GE(engine.device().positionQueries, 50);
}

TEST(Position, StandsAfterAStop)
{
  PlayingEngine engine;
  engine.start(20);
  engine.device().pull(5000);
  engine.device().position = 3000;
  engine.clock.advance(kLongEnough);
  engine.stop();
  EXPECT_EQ(engine.time(), 3020);
  engine.device().pull(3000);
  EXPECT_EQ(timeAt(engine, 4000), 3020);
  ASSERT_EQ(PeTransportSetStartTime(engine.transport, 9.0), 0);
  EXPECT_EQ(engine.time(), 3020);
  ASSERT_EQ(PeMixerReset(engine.mixer), 0);
  EXPECT_EQ(engine.time(), 3020);
  ASSERT_EQ(PeTransportStart(engine.transport), 0);
  EXPECT_EQ(engine.time(), 9.0);
}

TEST(Position, StaysWhereTheDeviceCannotTell)
{
  PlayingEngine engine;
  engine.start(20);
  engine.device().pull(5000);
  EXPECT_EQ(timeAt(engine, -1), 20);
  engine.clock.advance(0.01);
  EXPECT_EQ(engine.time(), 20); // nothing to carry on
  EXPECT_EQ(timeAt(engine, 100), 120);
  EXPECT_EQ(timeAt(engine, -5), 120);
  engine.clock.advance(0.01);
  EXPECT_EQ(engine.time(), 120);
  EXPECT_EQ(timeAt(engine, 200), 220);
}

TEST(Position, FailingAndSilentPiecesCountLikeAnyOther)
{
  PlayingEngine engine;
  engine.supplier.instead = [](double, unsigned long, float**, unsigned char*) { return 1; };
  engine.start(0);
  engine.device().pull(5000);
  EXPECT_EQ(timeAt(engine, 4500), 4500);
}

TEST(HeardPosition, IsBetweenTheStartAndWhatWasPulled)
{
  HeardPosition position;
  position.update(500, 0, 0);
  EXPECT_EQ(position.frames(), 0);
  position.update(500, 600, 100);
  EXPECT_EQ(position.frames(), 0);
  position.update(650, 600, 100);
  EXPECT_EQ(position.frames(), 50);
  position.update(std::nullopt, 600, 100);
  EXPECT_EQ(position.frames(), 50);
  position.update(1LL << 40, 600, 100);
  EXPECT_EQ(position.frames(), 100);
  position.update(0, 600, 100);
  EXPECT_EQ(position.frames(), 100);
  position.reset();
  EXPECT_EQ(position.frames(), 0);
}

} // namespace
