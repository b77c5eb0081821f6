// What is said during and after a render.
#include <fcntl.h>
#include <stdexcept>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include "tests/app/Tov.h"

namespace {

using nlohmann::json;
using support::holds;
using support::IntegerSound;
using support::Launch;
using support::Outcome;

/** A terminal that a program can write to. */
class Terminal {
public:
  Terminal() : master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK))
  {
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0)
      throw std::runtime_error("no terminal");
    slave = ::open(::ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
  }

  ~Terminal()
  {
    ::close(slave);
    ::close(master);
  }

  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  int end() const { return slave; }

  /** What was written up to now. */
  std::string text() const
  {
    std::string read;
    char buffer[4096];
    for (::ssize_t count = 0; (count = ::read(master, buffer, sizeof buffer)) > 0;)
      read.append(buffer, static_cast<std::size_t>(count));
    return read;
  }

private:
  int master;
  int slave = -1;
};

class Reporting : public support::TovTest {
protected:
  Reporting()
  {
    write("a.wav", support::constantSound(2, 480000, 48000, 16, 8192));
    write("loud.wav", support::constantSound(4, 96000, 48000, 16, 32000));
  }

  /** Runs with standard error at a terminal and gives what appeared there. */
  std::string atTerminal(const std::vector<std::string>& arguments) const
  {
    const Terminal terminal;
    Launch withTerminal = launch(arguments);
    const int end = terminal.end();
    withTerminal.beforeExec = [end] { ::dup2(end, 2); };
    EXPECT_EQ(support::run(withTerminal).exitCode, 0);
    return terminal.text();
  }
};

TEST_F(Reporting, QuietSaysNothingButErrors)
{
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"mix", "loud.wav", "--gain", "6", "--bits", "32", "--quiet", "-o",
                                 "out.wav"},
        {"mix", "--quiet", "loud.wav", "--progress", "json", "-o", "out.wav"},
        {"convert", "loud.wav", "out.wav", "--gain", "6", "--quiet"}}) {
    const Outcome outcome = succeed(command);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(read("out.wav").frames(), 96000);
  }
  EXPECT_EQ(atTerminal({"mix", "a.wav", "--quiet", "-o", "out.wav"}), "");
  expectError({"mix", "gone.wav", "--quiet", "-o", "out.wav"}, 1, "gone.wav: no such file");
  expectError({"mix", "a.wav", "--quiet", "--bits", "9", "-o", "out.wav"}, 2, "--bits");
}

TEST_F(Reporting, JsonIsOneObjectPerLineUpToTheResult)
{
  const Outcome outcome = succeed({"mix", "a.wav", "--start", "1", "--gain", "6", "--pan", "-0.5",
                                   "loud.wav", "--mute", "--progress", "json", "-o", "out.wav"});
  const std::vector<json> lines = support::jsonLines(outcome.out);
  ASSERT_GE(lines.size(), 2u);
  double earlier = -1.0;
  for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
    const json& line = lines[i];
    EXPECT_EQ(line["event"], "progress");
    EXPECT_EQ(line["totalFrames"], 528000);
    const double percent = line["percent"].get<double>();
    EXPECT_GT(percent, earlier);
    EXPECT_NEAR(percent, line["frames"].get<double>() / 5280.0, 1e-9);
    EXPECT_GT(line["timesRealTime"].get<double>(), 0.0);
    EXPECT_GE(line["secondsLeft"].get<double>(), 0.0);
    earlier = percent;
  }
  EXPECT_EQ(earlier, 100.0);
  EXPECT_EQ(lines[lines.size() - 2]["secondsLeft"], 0.0);
  const json& done = lines.back();
  EXPECT_EQ(done["event"], "done");
  EXPECT_EQ(done["output"], "out.wav");
  EXPECT_EQ(done["sampleRate"], 48000);
  EXPECT_EQ(done["bits"], 24);
  EXPECT_EQ(done["frames"], 528000);
  EXPECT_EQ(done["seconds"], 11.0);
  EXPECT_EQ(done["clipped"], (std::vector<int>{0, 0}));
  EXPECT_NEAR(done["peakDbfs"][0].get<double>(), support::decibels(0.25 * 1.5) + 6.0, 0.01);
  EXPECT_GT(done["timesRealTime"].get<double>(), 0.0);
  ASSERT_EQ(done["tracks"].size(), 2u);
  EXPECT_EQ(done["tracks"][0]["file"], "a.wav");
  EXPECT_EQ(done["tracks"][0]["gain"], 6.0);
  EXPECT_EQ(done["tracks"][0]["pan"], -0.5);
  EXPECT_EQ(done["tracks"][0]["width"], 1.0);
  EXPECT_EQ(done["tracks"][0]["start"], 1.0);
  EXPECT_EQ(done["tracks"][0]["end"], 11.0);
  EXPECT_EQ(done["tracks"][0]["heard"], true);
  EXPECT_EQ(done["tracks"][1]["heard"], false);
}

TEST_F(Reporting, JsonOfConvertIsTheSame)
{
  const Outcome outcome =
      succeed({"convert", "a.wav", "out.aiff", "--rate", "44100", "--progress", "json"});
  const std::vector<json> lines = support::jsonLines(outcome.out);
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[0]["event"], "progress");
  EXPECT_EQ(lines[lines.size() - 2]["percent"], 100.0);
  EXPECT_EQ(lines.back()["event"], "done");
  EXPECT_EQ(lines.back()["frames"], 441000);
  EXPECT_EQ(lines.back()["sampleRate"], 44100);
}

TEST_F(Reporting, JsonHoldsNothingElseOnStandardOutput)
{
  const Outcome outcome = succeed(
      {"mix", "loud.wav", "--gain", "6", "--bits", "32", "--progress", "json", "-o", "out.wav"});
  EXPECT_GE(support::jsonLines(outcome.out).size(), 2u);
  EXPECT_TRUE(holds(outcome.err, "of its 4 channels"));
}

TEST_F(Reporting, AtATerminalALineTellsPercentSpeedAndTimeLeft)
{
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"mix", "a.wav", "-o", "out.wav"},
        {"convert", "a.wav", "out.aiff"}}) {
    const std::string text = atTerminal(command);
    EXPECT_TRUE(holds(text, "%"));
    EXPECT_TRUE(holds(text, " x real time"));
    EXPECT_TRUE(holds(text, "left"));
    EXPECT_TRUE(holds(text, "\r"));
  }
}

TEST_F(Reporting, ElsewhereThereIsNoLineUnlessAskedFor)
{
  EXPECT_EQ(succeed({"mix", "a.wav", "-o", "out.wav"}).err, "");
  EXPECT_EQ(succeed({"convert", "a.wav", "out.aiff"}).err, "");
  EXPECT_TRUE(holds(succeed({"mix", "a.wav", "--progress", "text", "-o", "out.wav"}).err, "%"));
  EXPECT_EQ(atTerminal({"mix", "a.wav", "--progress", "none", "-o", "out.wav"}), "");
}

} // namespace
