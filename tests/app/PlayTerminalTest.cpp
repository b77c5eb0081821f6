// What the terminal is like while `tov play` runs and after it, however it
// ends.
#include <csignal>
#include <filesystem>

#include "tests/app/PlayTest.h"

namespace {

using support::holds;
using support::isSame;
using support::Outcome;
using support::StatusLine;

constexpr const char* kCursorShown = "\033[?25h";

class PlayTerminal : public support::PlayTest {
protected:
  /** Starts it, and keeps what the terminal was like before: nobody but the
   *  program changes it. */
  void beginRaw(const std::vector<std::string>& arguments)
  {
    begin(arguments);
    EXPECT_TRUE(isRaw());
  }

  bool isRaw() const { return (pty->settings().c_lflag & (ICANON | ECHO)) == 0; }

  void expectRestored()
  {
    const ::termios fresh = support::Pty({.arguments = {"true"}}).settings();
    EXPECT_TRUE(isSame(pty->settings(), fresh));
    EXPECT_TRUE(pty->text().rfind(kCursorShown) != std::string::npos &&
                pty->text().rfind(kCursorShown) > pty->text().rfind("\033[?25l"));
    EXPECT_GT(pty->text().rfind("\033[?2004l"), pty->text().rfind("\033[?2004h"));
    EXPECT_EQ(pty->line(), "");
  }
};

TEST_F(PlayTerminal, IsRestoredWhenTheUserQuits)
{
  beginRaw({"a.wav"});
  pty->type("q");
  EXPECT_EQ(pty->waitForEnd().exitCode, 0);
  expectRestored();
}

TEST_F(PlayTerminal, IsRestoredAtTheEnd)
{
  beginRaw({"a.wav", "--from", "19.5"});
  EXPECT_EQ(pty->waitForEnd().exitCode, 0);
  EXPECT_TRUE(holds(pty->text(), "0:20.000"));
  expectRestored();
}

TEST_F(PlayTerminal, IsRestoredAtTheBeginningInReverse)
{
  beginRaw({"a.wav", "--to", "0.5", "--reverse"});
  EXPECT_TRUE(waitForState("backwards"));
  EXPECT_EQ(pty->waitForEnd().exitCode, 0);
  EXPECT_TRUE(holds(pty->text(), "0:00.000  00:00:00:00  -0:00.000"));
  expectRestored();
}

TEST_F(PlayTerminal, IsRestoredByCtrlCWithStatus130)
{
  beginRaw({"a.wav"});
  pty->type("\x03");
  EXPECT_EQ(pty->waitForEnd().exitCode, 130);
  const ::termios fresh = support::Pty({.arguments = {"true"}}).settings();
  EXPECT_TRUE(isSame(pty->settings(), fresh));
  EXPECT_TRUE(holds(pty->text(), "tov: interrupted"));
}

TEST_F(PlayTerminal, IsRestoredBySignalsThatAskForTheEnd)
{
  for (const int signal : {SIGTERM, SIGHUP}) {
    beginRaw({"a.wav"});
    pty->send(signal);
    EXPECT_EQ(pty->waitForEnd().exitCode, 130);
    EXPECT_FALSE(isRaw());
    EXPECT_TRUE(holds(pty->text(), kCursorShown));
  }
}

TEST_F(PlayTerminal, IsRestoredByACrash)
{
  for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGQUIT}) {
    SCOPED_TRACE(signal);
    beginRaw({"a.wav"});
    pty->send(signal);
    const Outcome outcome = pty->waitForEnd();
    // A sanitizer ends the program in its own way.
    EXPECT_TRUE(outcome.signal == signal || outcome.exitCode == 1) << outcome.exitCode;
    const ::termios fresh = support::Pty({.arguments = {"true"}}).settings();
    EXPECT_TRUE(isSame(pty->settings(), fresh));
    EXPECT_TRUE(holds(pty->text(), kCursorShown));
  }
}

TEST_F(PlayTerminal, IsRestoredWhileTheProgramIsSuspended)
{
  beginRaw({"a.wav"});
  ASSERT_TRUE(waitForPlayed(0.1));
  pty->type("\x1a");
  ASSERT_TRUE(pty->waitForStop());
  expectRestored();
  pty->goOn();
  ASSERT_TRUE(waitForState("playing"));
  EXPECT_TRUE(isRaw());
  EXPECT_TRUE(waitForPlayed(0.1));
  EXPECT_LT(now().position, 5.0);
  pty->type("q");
  EXPECT_EQ(pty->waitForEnd().exitCode, 0);
  expectRestored();
}

TEST_F(PlayTerminal, IsTakenAgainAfterAStopThatCannotBeSeen)
{
  beginRaw({"a.wav"});
  pause();
  pty->send(SIGSTOP);
  ASSERT_TRUE(pty->waitForStop());
  pty->goOn();
  pty->type("-");
  EXPECT_TRUE(waitForRest("volume -1.0 dB"));
  EXPECT_TRUE(isRaw());
  pty->type("q");
  EXPECT_EQ(pty->waitForEnd().exitCode, 0);
  expectRestored();
}

TEST_F(PlayTerminal, LineFitsTheWidthWhateverItIs)
{
  begin({"a.wav", "b.wav"});
  const struct {
    int columns;
    std::size_t shortest;
  } widths[] = {{40, 30}, {20, 17}, {79, 70}, {1, 0}, {300, 100}};
  for (const auto& [columns, shortest] : widths) {
    SCOPED_TRACE(columns);
    pty->resize(columns);
    const std::size_t longest = static_cast<std::size_t>(columns) - 1;
    EXPECT_TRUE(pty->waitUntil([&, least = shortest] {
      const std::size_t length = pty->line().size();
      return length >= least && length <= longest;
    })) << pty->line();
  }
}

TEST_F(PlayTerminal, NothingButTheLineIsWritten)
{
  begin({"a.wav"});
  ASSERT_TRUE(waitForPlayed(0.5));
  // Lines are rewritten in one piece, without a line feed and without being
  // cleared first.
  const std::string text = pty->text();
  EXPECT_EQ(text.find('\n'), std::string::npos);
  EXPECT_EQ(text.find("\r\033[K"), std::string::npos);
  EXPECT_EQ(text.find("\033[2J"), std::string::npos);
}

TEST_F(PlayTerminal, AFileThatVanishesIsToldAndTheRestPlaysOn)
{
  begin({"a.wav", "b.wav"});
  std::filesystem::remove(folder.path("b.wav"));
  ASSERT_TRUE(pty->waitUntil([&] {
    return holds(pty->text(), "b.wav: could not be read any more; the rest plays on");
  }));
  EXPECT_TRUE(waitFor([](const StatusLine& line) { return line.left == -12.0; }));
  // It is heard again when it is back and a key is pressed.
  write("b.wav", support::constantSound(2, 20 * 44100, 44100, 16, 16384));
  pty->type(" ");
  ASSERT_TRUE(waitForState("paused"));
  pty->type(" ");
  EXPECT_TRUE(waitFor([](const StatusLine& line) { return line.left == -2.5; }));
  pty->type("q");
  EXPECT_EQ(pty->waitForEnd().exitCode, 0);
}

} // namespace
