// Where playback stands: arithmetic of positions, loops, directions, pieces.
#include <random>

#include <gtest/gtest.h>

#include "app/PlayHead.h"

namespace {

constexpr int kRate = 44100;

TimelineGrid grid(double framesPerSecond = 24.0)
{
  return {kRate, framesPerSecond};
}

void expectSegment(const PlaySegment& segment, long long start, long long end, bool isLoop = false)
{
  EXPECT_EQ(segment.start, start);
  EXPECT_EQ(segment.end, end);
  EXPECT_EQ(segment.isLoop, isLoop);
}

TEST(PlaySegment, PositionRunsFromStartToEndAndStays)
{
  const PlaySegment segment = {1000, 1500, false};
  EXPECT_EQ(segment.transportStart(), 1000);
  EXPECT_EQ(segment.positionAt(-3), 1000);
  EXPECT_EQ(segment.positionAt(0), 1000);
  EXPECT_EQ(segment.positionAt(499), 1499);
  EXPECT_EQ(segment.positionAt(500), 1500);
  EXPECT_EQ(segment.positionAt(5000), 1500);
}

TEST(PlaySegment, BackwardsTheTransportStartsAtTheEndAndThePositionFalls)
{
  const PlaySegment segment = {1500, -200, false};
  EXPECT_EQ(segment.transportStart(), -200);
  EXPECT_EQ(segment.length(), 1700);
  EXPECT_EQ(segment.positionAt(0), 1500);
  EXPECT_EQ(segment.positionAt(1600), -100);
  EXPECT_EQ(segment.positionAt(9999), -200);
}

TEST(PlaySegment, LoopBeginsAgainAtItsStart)
{
  const PlaySegment forwards = {100, 110, true};
  const PlaySegment backwards = {110, 100, true};
  for (long long elapsed = 0; elapsed < 100; ++elapsed) {
    EXPECT_EQ(forwards.positionAt(elapsed), 100 + elapsed % 10);
    EXPECT_EQ(backwards.positionAt(elapsed), 110 - elapsed % 10);
  }
}

TEST(PlaySegment, EmptyLoopStandsStill)
{
  EXPECT_EQ((PlaySegment{7, 7, true}.positionAt(3)), 7);
}

TEST(TimelineGrid, FramesBeginWhereTheySay)
{
  for (const double rate : {23.976, 24.0, 25.0, 30000.0 / 1001.0, 60.0, 0.1, 1000.0}) {
    const TimelineGrid timeline = grid(rate);
    for (long long frame = -2000; frame <= 2000; ++frame) {
      const long long first = timeline.soundFrameOf(frame);
      EXPECT_EQ(timeline.frameAt(first), frame) << rate;
      EXPECT_EQ(timeline.frameAt(first - 1), frame - 1) << rate;
    }
  }
}

TEST(TimelineGrid, TimecodeCountsByTheNearestWholeRate)
{
  EXPECT_EQ(grid(25.0).timecodeAt(0), "00:00:00:00");
  EXPECT_EQ(grid(25.0).timecodeAt(kRate * 3725LL + 1764), "01:02:05:01");
  EXPECT_EQ(grid(25.0).timecodeAt(-1764), "-00:00:00:01");
  EXPECT_EQ(grid(30000.0 / 1001.0).timecodeAt(kRate * 1001LL / 1000), "00:00:01:00");
  EXPECT_EQ(grid(120.0).timecodeAt(kRate - 1), "00:00:00:119");
}

TEST(PlayHead, BeginsAtTheBeginningOrInReverseAtTheEnd)
{
  const PlayHead forwards({100, 90000}, grid(), false);
  EXPECT_EQ(forwards.getPosition(), 100);
  EXPECT_EQ(forwards.remaining(), 89900);
  expectSegment(forwards.segment(), 100, 90000);
  const PlayHead backwards({100, 90000}, grid(), true);
  EXPECT_EQ(backwards.getPosition(), 90000);
  EXPECT_EQ(backwards.remaining(), 89900);
  expectSegment(backwards.segment(), 90000, 100);
}

TEST(PlayHead, NeverLeavesTheRange)
{
  PlayHead head({-500, 441000}, grid(), false);
  head.moveBySeconds(-1.0);
  EXPECT_EQ(head.getPosition(), -500);
  head.moveBySeconds(2.5);
  EXPECT_EQ(head.getPosition(), -500 + 110250);
  head.moveBySeconds(100.0);
  EXPECT_EQ(head.getPosition(), 441000);
  EXPECT_TRUE(head.isAtEnd());
  head.stepBy(1);
  EXPECT_EQ(head.getPosition(), 441000);
  head.face(true);
  EXPECT_FALSE(head.isAtEnd());
  head.rewind();
  EXPECT_EQ(head.getPosition(), 441000);
  head.face(false);
  head.rewind();
  EXPECT_EQ(head.getPosition(), -500);
}

TEST(PlayHead, StepsToTheBeginningsOfFrames)
{
  PlayHead head({0, 441000}, grid(25.0), false);
  head.moveTo(1764 * 3 + 900);
  head.stepBy(1);
  EXPECT_EQ(head.getPosition(), 1764 * 4);
  expectSegment(head.frameSegment(false), 1764 * 4, 1764 * 5);
  expectSegment(head.frameSegment(true), 1764 * 5, 1764 * 4);
  head.stepBy(-2);
  EXPECT_EQ(head.getPosition(), 1764 * 2);
  head.moveTo(441000);
  EXPECT_EQ(head.frameSegment(false).length(), 0);
}

TEST(PlayHead, LoopIsRunIntoAndThenGoesRound)
{
  PlayHead head({0, 441000}, grid(), false);
  head.moveTo(100000);
  ASSERT_TRUE(head.endLoopHere());
  head.moveTo(50000);
  ASSERT_TRUE(head.beginLoopHere());
  expectSegment(head.segment(), 50000, 100000, true);
  head.moveTo(20000);
  expectSegment(head.segment(), 20000, 100000);
  head.arriveBehind(head.segment());
  EXPECT_EQ(head.getPosition(), 100000);
  EXPECT_FALSE(head.isAtEnd());
  expectSegment(head.segment(), 50000, 100000, true);
  head.moveTo(300000);
  expectSegment(head.segment(), 50000, 100000, true);
  head.face(true);
  expectSegment(head.segment(), 300000, 50000);
  head.moveTo(50000);
  expectSegment(head.segment(), 100000, 50000, true);
  head.dropLoop();
  expectSegment(head.segment(), 50000, 0);
}

TEST(PlayHead, LoopIsAtLeastATenthOfASecondLong)
{
  PlayHead head({0, 441000}, grid(), false);
  EXPECT_FALSE(head.endLoopHere());
  EXPECT_FALSE(head.getLoop());
  head.moveTo(4409);
  EXPECT_FALSE(head.endLoopHere());
  head.moveTo(4410);
  EXPECT_TRUE(head.endLoopHere());
  // Behind its end it can only reach to the end of the range.
  head.moveTo(200000);
  EXPECT_TRUE(head.beginLoopHere());
  EXPECT_EQ(head.getLoop()->from, 200000);
  EXPECT_EQ(head.getLoop()->to, 441000);
  head.moveTo(441000);
  EXPECT_FALSE(head.beginLoopHere());
  EXPECT_EQ(head.getLoop()->from, 200000);
  PlayHead shortHead({0, 4000}, grid(), false);
  EXPECT_FALSE(shortHead.loopAll());
}

TEST(PlayHead, ShuttleDoublesUpToEightAndTurnsAtSpeedOne)
{
  PlayHead head({0, 441000}, grid(), false);
  for (const int speed : {2, 4, 8, 8}) {
    head.shuttle(false);
    EXPECT_EQ(head.getSpeed(), speed);
  }
  head.shuttle(true);
  EXPECT_EQ(head.getSpeed(), 1);
  EXPECT_TRUE(head.isBackwards());
  head.shuttle(true);
  EXPECT_EQ(head.getSpeed(), 2);
  head.face(true);
  EXPECT_EQ(head.getSpeed(), 1);
}

TEST(PlayHead, ShuttlePlaysPiecesAndSkipsTheRest)
{
  constexpr long long kPiece = 8820;
  PlayHead head({0, 100000}, grid(), false);
  head.shuttle(false);
  head.shuttle(false);
  expectSegment(head.segment(), 0, kPiece);
  head.arriveBehind(head.segment());
  EXPECT_EQ(head.getPosition(), 4 * kPiece);
  head.moveTo(99000);
  expectSegment(head.segment(), 99000, 100000);
  head.arriveBehind(head.segment());
  EXPECT_TRUE(head.isAtEnd());
  head.face(true);
  head.shuttle(true);
  expectSegment(head.segment(), 100000, 100000 - kPiece);
  head.arriveBehind(head.segment());
  EXPECT_EQ(head.getPosition(), 100000 - 2 * kPiece);
}

// Whatever is done, what is played lies in the range and gets somewhere.
TEST(PlayHead, RandomUseStaysInTheRangeAndMovesOn)
{
  std::mt19937 random(7);
  const FrameSpan range = {-30000, 300000};
  PlayHead head(range, grid(), false);
  for (int i = 0; i < 20000; ++i) {
    switch (random() % 8) {
    case 0: head.moveBySeconds(static_cast<double>(random() % 200) / 10.0 - 10.0); break;
    case 1: head.stepBy(static_cast<int>(random() % 9) - 4); break;
    case 2: head.beginLoopHere(); break;
    case 3: head.endLoopHere(); break;
    case 4: head.dropLoop(); break;
    case 5: head.shuttle(random() % 2 == 0); break;
    case 6: head.face(random() % 2 == 0); break;
    default: break;
    }
    ASSERT_GE(head.getPosition(), range.from);
    ASSERT_LE(head.getPosition(), range.to);
    ASSERT_GE(head.remaining(), 0);
    const PlaySegment segment = head.segment();
    ASSERT_GE(segment.transportStart(), range.from);
    ASSERT_LE(std::max(segment.start, segment.end), range.to);
    ASSERT_EQ(segment.length() == 0, head.isAtEnd());
    if (segment.length() > 0) {
      ASSERT_EQ(segment.isBackwards(), head.isBackwards());
      head.arriveBehind(segment);
    }
  }
}

} // namespace
