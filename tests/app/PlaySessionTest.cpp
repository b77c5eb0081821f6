// Driving the player, with a player that plays nothing in a time of its own.
#include <cmath>
#include <cstdlib>
#include <optional>

#include <gtest/gtest.h>

#include "app/Failures.h"
#include "app/PlaySession.h"
#include "playback/TovAudioPlayer.h"

namespace {

constexpr int kRate = 44100;

/** Does what the player does, as far as a host sees it. */
class SteppedPlayer : public TovAudioPlayer {
public:
  int play(double from, double to, bool isLoop) override
  {
    if (isClosed)
      return 1;
    stop();
    start = from;
    end = to;
    loop = isLoop;
    ++plays;
    isRunning = isThere;
    run = 0.0;
    hasEnded = false;
    return 0;
  }

  int stop() override
  {
    isRunning = false;
    return 0;
  }

  int isPlaying() override { return isRunning ? 1 : 0; }

  int getCurrentTime(double* time) override
  {
    if (!isRunning)
      return 1;
    *time = std::min(start, end) + std::max(run - latency, 0.0);
    return 0;
  }

  int getLevels(float* levels, void*) override
  {
    levels[0] = isRunning && !isMeterIdle ? 0.5f : 0.0f;
    levels[1] = isRunning && !isMeterIdle ? 0.25f : 0.0f;
    return 0;
  }

  int getVolume(float*) override { return 1; }
  int setVolume(float) override { return 1; }

  void setStopRequestCallback(void (*function)(void*), void* data) override
  {
    callback = function;
    callbackData = data;
  }

  /** Renders so much further; at the end of a span it says so, once. */
  void advance(double seconds)
  {
    if (!isRunning)
      return;
    run += seconds;
    if (!loop && !hasEnded && run >= std::abs(end - start)) {
      hasEnded = true;
      callback(callbackData);
    }
  }

  bool isThere = true;   ///< false: starts do nothing, as without a device
  bool isClosed = false; ///< never had a device
  bool isMeterIdle = false;
  double latency = 0.0;  ///< seconds between what is rendered and heard
  double start = 0.0;
  double end = 0.0;
  bool loop = false;
  bool isRunning = false;
  int plays = 0;
  void (*callback)(void*) = nullptr;
  void* callbackData = nullptr;

private:
  double run = 0.0;
  bool hasEnded = false;
};

class PlayingSession : public testing::Test {
protected:
  static PlayHead headOf(bool isReverse) { return {{0, 10 * kRate}, {kRate, 25.0}, isReverse}; }

  void begin(bool isReverse = false)
  {
    session.emplace(player, headOf(isReverse));
    session->play();
    session->update(now);
  }

  /** Time goes by, in steps as those of the program. */
  void pass(double seconds)
  {
    for (int i = 0; i < std::lround(seconds / 0.04); ++i) {
      now += 0.04;
      player.advance(0.04);
      session->update(now);
    }
  }

  double position() const
  {
    return static_cast<double>(session->getHead().getPosition()) / kRate;
  }

  SteppedPlayer player;
  std::optional<PlaySession> session;
  double now = 1000.0;
};

TEST_F(PlayingSession, PositionFollowsWhatIsHeard)
{
  player.latency = 0.1;
  begin();
  EXPECT_EQ(player.start, 0.0);
  EXPECT_EQ(player.end, 10.0);
  pass(2.0);
  EXPECT_NEAR(position(), 1.9, 1e-4);
  EXPECT_NEAR(session->getLevels()[0].getLevel(), -6.02, 0.01);
  EXPECT_NEAR(session->getLevels()[1].getLevel(), -12.04, 0.01);
}

TEST_F(PlayingSession, BackwardsThePositionFalls)
{
  begin(true);
  EXPECT_EQ(player.start, 10.0);
  EXPECT_EQ(player.end, 0.0);
  pass(2.0);
  EXPECT_NEAR(position(), 8.0, 1e-4);
}

TEST_F(PlayingSession, TheEndIsWaitedForUntilItIsHeard)
{
  player.latency = 0.4;
  begin();
  pass(10.2);
  EXPECT_EQ(session->getState(), PlaySession::playing);
  EXPECT_TRUE(player.isRunning);
  EXPECT_FALSE(session->takeArrival());
  pass(0.4);
  EXPECT_EQ(session->getState(), PlaySession::paused);
  EXPECT_FALSE(player.isRunning);
  EXPECT_EQ(position(), 10.0);
  EXPECT_TRUE(session->takeArrival());
  EXPECT_FALSE(session->takeArrival());
}

TEST_F(PlayingSession, AnOutputThatStandsStillIsNotWaitedForAtTheEnd)
{
  player.latency = 1e9;
  begin();
  pass(11.0);
  EXPECT_EQ(session->getState(), PlaySession::paused);
  EXPECT_TRUE(session->takeArrival());
}

TEST_F(PlayingSession, PlayingAgainFromTheEndBeginsAnew)
{
  begin();
  pass(10.2);
  EXPECT_TRUE(session->takeArrival());
  session->play();
  pass(1.0);
  EXPECT_NEAR(position(), 0.96, 1e-4);
}

TEST_F(PlayingSession, PauseKeepsThePosition)
{
  begin();
  pass(2.0);
  session->pause();
  pass(5.0);
  EXPECT_NEAR(position(), 2.0, 1e-4);
  session->play();
  session->update(now);
  EXPECT_NEAR(player.start, 2.0, 1e-4);
}

TEST_F(PlayingSession, ManyChangesAtOnceStartThePlayerOnce)
{
  begin();
  pass(2.0);
  for (int i = 0; i < 5; ++i)
    session->change([](PlayHead& head) { head.moveBySeconds(1.0); });
  session->refresh();
  session->update(now);
  EXPECT_EQ(player.plays, 2);
  EXPECT_NEAR(player.start, 7.0, 1e-4);
}

TEST_F(PlayingSession, ALoopSetInMidPlayIsRunIntoAndThenGoesRound)
{
  begin();
  pass(2.0);
  session->change([](PlayHead& head) {
    head.endLoopHere();
    head.moveBySeconds(-1.0);
  });
  pass(0.04);
  EXPECT_NEAR(player.start, 1.0, 1e-4);
  EXPECT_FALSE(player.loop);
  pass(1.2);
  EXPECT_TRUE(player.loop);
  EXPECT_EQ(player.start, 0.0);
  EXPECT_NEAR(player.end, 2.0, 1e-4);
  pass(9.0);
  EXPECT_EQ(session->getState(), PlaySession::playing);
  EXPECT_LT(position(), 2.0);
  EXPECT_FALSE(session->takeArrival());
}

TEST_F(PlayingSession, ScrubbingPlaysOneFrameAndPausesOnIt)
{
  begin();
  pass(2.0);
  session->scrub(1);
  session->update(now);
  EXPECT_EQ(session->getState(), PlaySession::scrubbing);
  EXPECT_NEAR(player.start, 2.04, 1e-4);
  EXPECT_NEAR(player.end, 2.08, 1e-4);
  pass(0.2);
  EXPECT_EQ(session->getState(), PlaySession::paused);
  EXPECT_FALSE(player.isRunning);
  EXPECT_NEAR(position(), 2.04, 1e-4);
  session->scrub(-1);
  session->scrub(-1);
  session->update(now);
  EXPECT_NEAR(player.start, 2.0, 1e-4);
  EXPECT_NEAR(player.end, 1.96, 1e-4);
  pass(0.2);
  EXPECT_NEAR(position(), 1.96, 1e-4);
  session->play();
  session->update(now);
  EXPECT_NEAR(player.start, 1.96, 1e-4);
  EXPECT_EQ(player.end, 10.0);
}

TEST_F(PlayingSession, WhatIsPlayedBetweenTwoUpdatesIsMeasuredAllTheSame)
{
  begin();
  session->pause();
  session->update(now += 100.0);
  ASSERT_EQ(session->getLevels()[0].getPeak(), -90.0);
  player.isMeterIdle = true; // while it begins
  session->scrub(1);
  session->update(now += 0.04);
  player.isMeterIdle = false;
  player.advance(1.0);
  session->update(now += 0.04);
  EXPECT_EQ(session->getState(), PlaySession::paused);
  EXPECT_NEAR(session->getLevels()[0].getPeak(), -6.02, 0.01);
}

TEST_F(PlayingSession, ShuttleSkipsAheadPieceByPiece)
{
  begin();
  session->shuttle(false);
  session->shuttle(false);
  pass(1.2);
  EXPECT_GT(position(), 3.0);
  EXPECT_LT(position(), 5.0);
  pass(10.0);
  EXPECT_EQ(position(), 10.0);
  EXPECT_TRUE(session->takeArrival());
}

TEST_F(PlayingSession, ALostOutputIsTriedAgainFromThePosition)
{
  begin();
  pass(2.0);
  player.isRunning = false;
  player.isThere = false;
  pass(1.0);
  EXPECT_EQ(session->getState(), PlaySession::lost);
  EXPECT_NEAR(position(), 2.0, 0.05);
  player.isThere = true;
  pass(1.0);
  EXPECT_EQ(session->getState(), PlaySession::playing);
  EXPECT_NEAR(player.start, 2.0, 0.05);
  EXPECT_FALSE(session->takeArrival());
}

TEST_F(PlayingSession, ALostOutputIsGivenUpAfterAWhileAndTriedWhenAsked)
{
  begin();
  pass(2.0);
  player.isRunning = false;
  player.isThere = false;
  pass(20.0);
  EXPECT_EQ(session->getState(), PlaySession::givenUp);
  const int plays = player.plays;
  EXPECT_EQ(plays, 6);
  pass(20.0);
  EXPECT_EQ(player.plays, plays);
  EXPECT_NEAR(position(), 2.0, 0.05);
  player.isThere = true;
  session->play();
  pass(1.0);
  EXPECT_EQ(session->getState(), PlaySession::playing);
  EXPECT_NEAR(position(), 3.0, 0.1);
}

TEST_F(PlayingSession, AnEndFromBeforeAChangeDoesNotCount)
{
  player.latency = 0.4;
  begin();
  pass(10.2);
  session->change([](PlayHead& head) { head.moveBySeconds(-5.0); });
  pass(1.0);
  EXPECT_EQ(session->getState(), PlaySession::playing);
  EXPECT_FALSE(session->takeArrival());
}

TEST_F(PlayingSession, APlayerWithoutAnOutputIsAFailure)
{
  player.isClosed = true;
  EXPECT_THROW(begin(), Failure);
}

TEST_F(PlayingSession, StopsThePlayerAndLetsGoOfItInTheEnd)
{
  begin();
  session.reset();
  EXPECT_FALSE(player.isRunning);
  EXPECT_EQ(player.callback, nullptr);
}

} // namespace
