// `tov play` where there is no terminal.
#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

#include "tests/app/PlayTest.h"

namespace {

using nlohmann::json;
using support::holds;
using support::Outcome;
using support::Program;
using support::StatusLine;

class PlayUnattended : public support::PlayTest {
protected:
  /** What was told in JSON, up to the last line. */
  std::vector<json> told(const std::vector<std::string>& arguments) const
  {
    const Outcome outcome = play(arguments);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    const std::vector<json> lines = support::jsonLines(outcome.out);
    EXPECT_GE(lines.size(), 2u);
    return lines;
  }

  std::string textOf(const std::string& name) const
  {
    const std::vector<std::uint8_t> bytes = folder.read(name);
    return std::string(bytes.begin(), bytes.end());
  }

  /** Whether the file comes to hold so many lines. */
  bool waitForLines(const std::string& name, std::size_t count) const
  {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < limit) {
      if (std::filesystem::exists(folder.path(name)) &&
          support::linesOf(textOf(name)).size() >= count)
        return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }
};

TEST_F(PlayUnattended, PlaysToTheEndAndTellsALineASecondOnStandardError)
{
  const Outcome outcome = play({"a.wav", "--from", "18.9"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.out, "");
  const std::vector<std::string> lines = support::linesOf(outcome.err);
  ASSERT_GE(lines.size(), 3u);
  double earlier = 18.8;
  for (const std::string& text : lines) {
    const std::optional<StatusLine> line = support::statusLineOf(text);
    ASSERT_TRUE(line) << text;
    EXPECT_GT(line->position, earlier);
    EXPECT_NEAR(line->position + line->remaining, 20.0, 0.0015);
    earlier = line->position;
  }
  EXPECT_EQ(earlier, 20.0);
}

TEST_F(PlayUnattended, JsonLinesHoldPositionRemainingLevelsAndState)
{
  const std::vector<json> lines =
      told({"a.wav", "--from", "18.9", "--json", "--volume", "0.5", "--fps", "25"});
  double earlier = 18.8;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const json& line = lines[i];
    const bool isLast = i + 1 == lines.size();
    EXPECT_EQ(line["event"], isLast ? "done" : "position");
    EXPECT_EQ(line["state"], isLast ? "paused" : "playing");
    const double position = line["position"].get<double>();
    EXPECT_GT(position, earlier);
    EXPECT_NEAR(position + line["remaining"].get<double>(), 20.0, 1e-9);
    EXPECT_EQ(line["clips"], (std::vector<int>{0, 0}));
    EXPECT_EQ(line["loop"], nullptr);
    EXPECT_EQ(line["volume"], 0.5);
    earlier = position;
  }
  EXPECT_EQ(earlier, 20.0);
  EXPECT_EQ(lines.back()["timecode"], "00:00:20:00");
  EXPECT_NEAR(lines[1]["levelDbfs"][0].get<double>(), support::decibels(0.125), 0.5);
  EXPECT_NEAR(lines[1]["peakDbfs"][1].get<double>(), support::decibels(0.125), 0.01);
}

TEST_F(PlayUnattended, ReversePlaysFromTheEndToTheBeginning)
{
  const std::vector<json> lines =
      told({"a.wav", "--from", "-0.1", "--to", "1", "--reverse", "--progress", "json"});
  double earlier = 1.1;
  for (const json& line : lines) {
    const double position = line["position"].get<double>();
    EXPECT_LT(position, earlier);
    EXPECT_NEAR(position - line["remaining"].get<double>(), -0.1, 1e-9);
    earlier = position;
  }
  EXPECT_EQ(lines.front()["state"], "backwards");
  EXPECT_EQ(lines.front()["position"], 1.0);
  EXPECT_EQ(earlier, -0.1);
  EXPECT_EQ(lines.back()["timecode"], "-00:00:00:03");
}

TEST_F(PlayUnattended, LoopGoesOnUntilItIsInterrupted)
{
  support::Launch looping =
      launchPlay({"a.wav", "--from", "1", "--to", "1.3", "--loop", "--json", "--mute"});
  const std::string lines = folder.path("lines");
  looping.beforeExec = [lines] {
    ::dup2(::open(lines.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), 1);
  };
  Program program(looping);
  // A second, more than three rounds.
  ASSERT_TRUE(waitForLines("lines", 2));
  program.send(SIGINT);
  EXPECT_EQ(program.wait().exitCode, 130);
  for (const json& line : support::jsonLines(textOf("lines"))) {
    EXPECT_EQ(line["state"], "playing");
    EXPECT_GE(line["position"].get<double>(), 1.0);
    EXPECT_LT(line["position"].get<double>(), 1.3);
    EXPECT_EQ(line["loop"], (std::vector<double>{1.0, 1.3}));
    EXPECT_EQ(line["muted"], (std::vector<int>{1}));
  }
}

TEST_F(PlayUnattended, ASessionPlaysWithItsOwnSettings)
{
  succeed({"save", "shot.script", "a.wav", "--end", "0.5", "b.wav", "--solo", "--end", "0.4"});
  const std::vector<json> lines = told({"shot.script", "--json"});
  EXPECT_EQ(lines.back()["position"], 0.5);
  EXPECT_EQ(lines.back()["solo"], (std::vector<int>{2}));
  EXPECT_NEAR(lines.back()["peakDbfs"][0].get<double>(), support::decibels(0.5), 0.01);
}

TEST_F(PlayUnattended, QuietSaysNothing)
{
  for (const std::vector<std::string>& silence :
       {std::vector<std::string>{"--quiet"}, {"--progress", "none"}, {"--quiet", "--json"}}) {
    std::vector<std::string> arguments = {"a.wav", "--to", "0.1"};
    arguments.insert(arguments.end(), silence.begin(), silence.end());
    const Outcome outcome = play(arguments);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
  }
}

TEST_F(PlayUnattended, DeviceOptionGoesBeforeTheEnvironment)
{
  support::Launch launch = launchPlay({"a.wav", "--to", "0.1", "--device", "null", "--quiet"});
  launch.settings = {"PLAYOUT_DEVICE=bogus"};
  EXPECT_EQ(support::run(launch).exitCode, 0);
  launch = launchPlay({"a.wav", "--to", "0.1"});
  launch.settings = {"PLAYOUT_DEVICE=bogus"};
  const Outcome refused = support::run(launch);
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_TRUE(holds(refused.err, "playback: the audio output could not be opened"));
}

TEST_F(PlayUnattended, AnOutputThatCannotBeWrittenEndsIt)
{
  support::Launch launch = launchPlay({"a.wav", "--json"});
  launch.beforeExec = [] { ::dup2(::open("/dev/full", O_WRONLY | O_CLOEXEC), 1); };
  const Outcome outcome = support::run(launch);
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_TRUE(holds(outcome.err, "standard output: could not be written"));
}

TEST_F(PlayUnattended, ADumbTerminalIsNone)
{
  support::Launch launch = launchPlay({"a.wav", "--to", "0.1"});
  launch.settings.push_back("TERM=dumb");
  support::Pty terminal(launch);
  EXPECT_EQ(terminal.waitForEnd().exitCode, 0);
  EXPECT_TRUE(holds(terminal.text(), "paused  0:00.100"));
  EXPECT_EQ(terminal.text().find('\033'), std::string::npos);
}

TEST_F(PlayUnattended, WrongUsageIsTold)
{
  expectError({"play"}, 2, "tov play: no file to play was named");
  expectError({"play", "gone.wav"}, 1, "gone.wav: no such file");
  expectError({"play", "a.wav", "--from", "2", "--to", "1"}, 2, "--to is not behind --from");
  expectError({"play", "a.wav", "--from", "21"}, 2,
              "--from is not before the end of the last track");
  expectError({"play", "a.wav", "--to", "-1"}, 2, "--to is not behind the beginning of the mix");
  expectError({"play", "a.wav", "--start", "-30"}, 1, "mix: the mix is empty");
  expectError({"play", "a.wav", "--volume", "1.5"}, 2, "--volume: 1.5 is outside 0 to 1");
  expectError({"play", "a.wav", "--volume", "+1dB"}, 2, "--volume: +1dB is outside 0 to 1");
  expectError({"play", "a.wav", "--volume", "dB"}, 2, "--volume: \"dB\" is no volume");
  expectError({"play", "a.wav", "--filter", "50"}, 2, "--filter: 50 is outside 100 to 20000");
  expectError({"play", "a.wav", "--filter", "loud"}, 2, "--filter: \"loud\" is no whole number");
  expectError({"play", "a.wav", "--quality", "best"}, 2, "--quality");
  expectError({"play", "a.wav", "--device", "nul"}, 2, "did you mean null?");
  expectError({"play", "a.wav", "--fps", "0"}, 2, "--fps");
  expectError({"play", "a.wav", "--loop", "--to", "0.05"}, 2, "--loop: what is to be played");
  expectError({"play", "a.wav", "-o", "out.wav"}, 2, "there is no option -o");
  expectError({"play", "a.wav", "--revers"}, 2, "did you mean --reverse?");
  expectError({"pla", "a.wav"}, 2, "did you mean play?");
}

TEST_F(PlayUnattended, HelpTellsEveryOptionAndKey)
{
  const std::string help = succeed({"play", "--help"}).out;
  for (const char* const word :
       {"--gain", "--start", "--from", "--to", "--loop", "--reverse", "--volume", "--filter",
        "--quality", "--device", "--fps", "--progress", "--json", "--quiet", "--allow-missing",
        "--map", "--master", "space", "left, right", ", .", "l j", "[ ] \\", "m s", "+ -", "? q"})
    EXPECT_TRUE(holds(help, word));
  EXPECT_EQ(help.find("--bits"), std::string::npos);
}

} // namespace
