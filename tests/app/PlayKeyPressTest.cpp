// Every key of `tov play`, pressed at a terminal.
#include "tests/app/PlayTest.h"

namespace {

using support::holds;
using support::StatusLine;

class PlayKeyPress : public support::PlayTest {};

TEST_F(PlayKeyPress, SpacePausesAndPlaysOnFromThere)
{
  begin({"a.wav"});
  ASSERT_TRUE(waitForPlayed(0.2));
  pty->type(" ");
  ASSERT_TRUE(waitForState("paused"));
  const double position = now().position;
  EXPECT_GE(position, 0.2);
  pty->type("-");
  ASSERT_TRUE(waitForRest("volume -1.0 dB"));
  EXPECT_EQ(now().position, position);
  pty->type(" ");
  ASSERT_TRUE(waitForState("playing"));
  EXPECT_GE(now().position, position);
  EXPECT_LT(now().position, position + 0.5);
  EXPECT_TRUE(waitForPlayed(0.1));
}

TEST_F(PlayKeyPress, ArrowsJumpASecondAndTenWithShift)
{
  begin({"a.wav"});
  pause();
  const double start = now().position;
  pty->type("\033[C");
  EXPECT_TRUE(waitForPosition(start + 1.0));
  pty->type("\033[1;2C");
  EXPECT_TRUE(waitForPosition(start + 11.0));
  pty->type("\033OC\033OC\033OD");
  EXPECT_TRUE(waitForPosition(start + 12.0));
  pty->type("\033[D\033[d");
  EXPECT_TRUE(waitForPosition(start + 1.0));
  pty->type("\033[1;2D");
  EXPECT_TRUE(waitForPosition(0.0));
  pty->type("\033[1;2C\033[1;2C\033[1;2C");
  EXPECT_TRUE(waitForPosition(20.0));
  EXPECT_EQ(now().remaining, 0.0);
  EXPECT_EQ(now().state, "paused");
  pty->type(" ");
  EXPECT_TRUE(waitForState("playing"));
  EXPECT_LT(now().position, 1.0);
}

TEST_F(PlayKeyPress, AJumpWhilePlayingPlaysOnFromThere)
{
  begin({"a.wav"});
  pty->type("\033[1;2C");
  ASSERT_TRUE(waitFor([](const StatusLine& line) { return line.position >= 10.0; }));
  EXPECT_EQ(now().state, "playing");
  EXPECT_TRUE(waitForPlayed(0.1));
}

TEST_F(PlayKeyPress, CommaAndPointPlayOneFrameAndPause)
{
  begin({"a.wav", "--fps", "25", "--from", "1"});
  pause();
  pty->type("\033[1;2D");
  ASSERT_TRUE(waitForPosition(1.0));
  ASSERT_TRUE(waitFor([](const StatusLine& line) { return line.left < -80.0; }));
  pty->type(".");
  // The frame is heard: a constant of -12 dB, from which the meter has fallen
  // by when a busy machine comes to look at it.
  EXPECT_TRUE(waitFor([](const StatusLine& line) { return line.left > -50.0; }));
  EXPECT_TRUE(waitForPosition(1.04));
  EXPECT_TRUE(waitForState("paused"));
  EXPECT_EQ(now().timecode, "00:00:01:01");
  pty->type(".");
  EXPECT_TRUE(waitForPosition(1.08));
  pty->type(",");
  EXPECT_TRUE(waitForPosition(1.04));
  EXPECT_TRUE(waitForState("paused"));
  pty->type("....");
  EXPECT_TRUE(waitForPosition(1.2));
  pty->type(",,,,,,,,,");
  EXPECT_TRUE(waitForPosition(1.0));
  pty->type(" ");
  EXPECT_TRUE(waitForState("playing"));
}

TEST_F(PlayKeyPress, JKLShuttle)
{
  begin({"a.wav", "--from", "4"});
  pty->type("\033[C\033[C");
  ASSERT_TRUE(waitFor([](const StatusLine& line) { return line.position >= 6.0; }));
  for (const char* const state : {"forward 2x", "forward 4x", "forward 8x"}) {
    pty->type("l");
    EXPECT_TRUE(waitForState(state));
  }
  const double fast = now().position;
  EXPECT_TRUE(waitFor([&](const StatusLine& line) { return line.position > fast + 2.0; }));
  pty->type("j");
  EXPECT_TRUE(waitForState("backwards"));
  const double turned = now().position;
  EXPECT_TRUE(waitFor([&](const StatusLine& line) { return line.position < turned - 0.1; }));
  pty->type("j");
  EXPECT_TRUE(waitForState("backward 2x"));
  pty->type("k");
  EXPECT_TRUE(waitForState("paused"));
  pty->type("j");
  EXPECT_TRUE(waitForState("backwards"));
  pty->type("jjj");
  EXPECT_TRUE(waitForState("backward 8x"));
  // Arrived where it was not told to go, it stays.
  EXPECT_TRUE(waitForState("paused"));
  EXPECT_TRUE(waitForPosition(4.0));
  pty->type("l");
  EXPECT_TRUE(waitForState("playing"));
}

TEST_F(PlayKeyPress, BracketsLoop)
{
  begin({"a.wav"});
  pause();
  pty->type("\033[1;2D\033[C[");
  ASSERT_TRUE(waitForRest("loop 0:01.000 to 0:20.000"));
  pty->type("......");
  ASSERT_TRUE(waitForPosition(1.25));
  pty->type("]");
  ASSERT_TRUE(waitForRest("loop 0:01.000 to 0:01.250"));
  pty->type("l");
  // Round and round.
  for (int turn = 0; turn < 2; ++turn) {
    ASSERT_TRUE(waitFor([](const StatusLine& line) { return line.position > 1.15; }));
    ASSERT_TRUE(waitFor([](const StatusLine& line) { return line.position < 1.1; }));
    EXPECT_GE(now().position, 1.0);
  }
  pty->type("\\");
  ASSERT_TRUE(waitFor(
      [](const StatusLine& line) { return line.rest.find("loop") == std::string::npos; }));
  ASSERT_TRUE(waitFor([](const StatusLine& line) { return line.position > 1.4; }));
  pause();
  pty->type("\033[1;2D");
  ASSERT_TRUE(waitForPosition(0.0));
  pty->type("]");
  EXPECT_TRUE(pty->waitForLine("(too short to loop)"));
}

TEST_F(PlayKeyPress, DigitsSelectATrackThatMuteAndSoloAreHeardOf)
{
  begin({"a.wav", "b.wav"});
  EXPECT_TRUE(waitFor([](const StatusLine& line) { return line.left == -2.5; }));
  pty->type("m");
  EXPECT_TRUE(pty->waitForLine("(select a track by its number)"));
  pty->type("9");
  EXPECT_TRUE(pty->waitForLine("(no such track)"));
  pty->type("2m");
  EXPECT_TRUE(waitForRest("track 2/2  muted 2"));
  EXPECT_EQ(now().state, "playing");
  EXPECT_TRUE(
      waitFor([](const StatusLine& line) { return line.left == -12.0 && line.right == -12.0; }));
  pty->type("ms");
  EXPECT_TRUE(waitForRest("track 2/2  solo 2"));
  EXPECT_TRUE(waitFor([](const StatusLine& line) { return line.left == -6.0; }));
  pty->type("s");
  EXPECT_TRUE(waitFor([](const StatusLine& line) { return line.left == -2.5; }));
}

TEST_F(PlayKeyPress, PlusAndMinusSetTheVolume)
{
  begin({"b.wav", "--volume", "-6dB"});
  EXPECT_TRUE(waitForRest("volume -6.0 dB"));
  EXPECT_TRUE(waitFor([](const StatusLine& line) { return line.left == -12.0; }));
  pty->type("--");
  EXPECT_TRUE(waitForRest("volume -8.0 dB"));
  pty->type("+++++");
  EXPECT_TRUE(waitForRest("volume -3.0 dB"));
  EXPECT_TRUE(waitFor([](const StatusLine& line) { return line.left == -9.0; }));
  pty->type("++++++");
  EXPECT_TRUE(waitForRest("volume 0.0 dB"));
}

TEST_F(PlayKeyPress, FStepsThroughFiltersThatAreHeard)
{
  support::IntegerSound high{44100, 16, {{}}};
  for (int i = 0; i < 20 * 44100; ++i)
    high.channels[0].push_back(i % 2 == 0 ? 8192 : -8192);
  write("high.wav", high);
  begin({"high.wav"});
  EXPECT_TRUE(waitFor([](const StatusLine& line) { return line.left == -12.0; }));
  pty->type("f");
  EXPECT_TRUE(waitForRest("low-pass 8000 Hz"));
  pty->type("ffff");
  EXPECT_TRUE(waitForRest("low-pass 500 Hz"));
  EXPECT_TRUE(waitFor([](const StatusLine& line) { return line.left < -15.0; }));
  pty->type("f");
  EXPECT_TRUE(waitFor(
      [](const StatusLine& line) { return line.rest.find("low-pass") == std::string::npos; }));
}

TEST_F(PlayKeyPress, HelpIsShownAboveTheLine)
{
  begin({"a.wav"});
  pty->type("?");
  EXPECT_TRUE(pty->waitUntil([&] { return holds(pty->text(), "? q          these lines, quit"); }));
  EXPECT_TRUE(waitForPlayed(0.1));
}

TEST_F(PlayKeyPress, WhatIsNoKeyDoesNothing)
{
  begin({"a.wav"});
  pause();
  const double position = now().position;
  pty->type("\033[5~\033[1;5C\033OP\033[[A\033]0;qq\007\033Pqk\033\\\033[200~q q\n[m,\033[201~");
  pty->type("xyzQ\t\n\x01\xc3\xa9\xff");
  pty->type("-");
  ASSERT_TRUE(waitForRest("volume -1.0 dB"));
  EXPECT_EQ(now().position, position);
  EXPECT_EQ(now().state, "paused");
  EXPECT_EQ(now().rest.find("loop"), std::string::npos);
}

TEST_F(PlayKeyPress, ALoneEscapeDoesNotSwallowLaterKeys)
{
  begin({"a.wav"});
  pty->type("\033");
  ASSERT_TRUE(waitForPlayed(0.3));
  pty->type("q");
  EXPECT_EQ(pty->waitForEnd().exitCode, 0);
}

} // namespace
