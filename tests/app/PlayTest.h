#pragma once

#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "tests/app/Pty.h"
#include "tests/app/Tov.h"

namespace support {

/** What the status line of `tov play` tells. */
struct StatusLine {
  std::string state;
  double position = 0.0; ///< seconds
  std::string timecode;
  double remaining = 0.0;
  double left = 0.0; ///< dBFS
  double right = 0.0;
  std::string rest; ///< clips and all that follows
};

inline double secondsOf(const std::string& clock)
{
  const std::size_t colon = clock.find(':');
  const double minutes = std::stod(clock.substr(clock[0] == '-' ? 1 : 0, colon));
  const double seconds = minutes * 60.0 + std::stod(clock.substr(colon + 1));
  return clock[0] == '-' ? -seconds : seconds;
}

inline std::optional<StatusLine> statusLineOf(const std::string& line)
{
  static const std::regex kForm(
      R"(^(\S[^(]*?) +(-?\d+:\d\d\.\d{3})  (?:\([^)]*\)  )?(-?\d\d:\d\d:\d\d:\d+)  -(\d+:\d\d\.\d{3}))"
      R"(  L (?:\[[=| ]+\] )? *(-?\d+\.\d)  R (?:\[[=| ]+\] )? *(-?\d+\.\d)  (clips \d+/\d+.*)$)");
  std::smatch parts;
  if (!std::regex_match(line, parts, kForm))
    return std::nullopt;
  return StatusLine{parts[1],           secondsOf(parts[2]), parts[3], secondsOf(parts[4]),
                    std::stod(parts[5]), std::stod(parts[6]), parts[7]};
}

/** Plays two steady files of 20 seconds, of levels -12.0 and -6.0 dBFS, to
 *  nowhere. */
class PlayTest : public TovTest {
protected:
  PlayTest()
  {
    // Made once: there are many tests.
    static const Bytes quiet = wavOf(constantSound(2, 20 * 44100, 44100, 16, 8192));
    static const Bytes loud = wavOf(constantSound(2, 20 * 44100, 44100, 16, 16384));
    folder.write("a.wav", quiet);
    folder.write("b.wav", loud);
  }

  Launch launchPlay(std::vector<std::string> arguments) const
  {
    arguments.insert(arguments.begin(), "play");
    Launch playing = launch(arguments);
    playing.settings = {"PLAYOUT_DEVICE=null", "TERM=xterm"};
    return playing;
  }

  Outcome play(const std::vector<std::string>& arguments) const
  {
    return run(launchPlay(arguments));
  }

  /** Starts it at a terminal and waits until it plays. */
  void begin(const std::vector<std::string>& arguments)
  {
    pty = std::make_unique<Pty>(launchPlay(arguments));
    ASSERT_TRUE(pty->waitUntil([this] { return statusLineOf(pty->line()).has_value(); }))
        << pty->text();
  }

  /** The last whole line. */
  StatusLine now()
  {
    std::optional<StatusLine> status;
    EXPECT_TRUE(pty->waitUntil([&] { return (status = statusLineOf(pty->line())).has_value(); }))
        << pty->text();
    return status.value_or(StatusLine());
  }

  testing::AssertionResult waitFor(const std::function<bool(const StatusLine&)>& holds)
  {
    if (pty->waitUntil([&] {
          const std::optional<StatusLine> status = statusLineOf(pty->line());
          return status && holds(*status);
        }))
      return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the line is " << pty->line();
  }

  testing::AssertionResult waitForState(const std::string& state)
  {
    return waitFor([&](const StatusLine& status) { return status.state == state; });
  }

  testing::AssertionResult waitForRest(const std::string& part)
  {
    return waitFor(
        [&](const StatusLine& status) { return status.rest.find(part) != std::string::npos; });
  }

  testing::AssertionResult waitForPosition(double position)
  {
    return waitFor([&](const StatusLine& status) {
      return status.position > position - 0.0006 && status.position < position + 0.0006;
    });
  }

  /** Waits until it has played for so long. */
  testing::AssertionResult waitForPlayed(double seconds)
  {
    const double begin = now().position;
    return waitFor([&](const StatusLine& status) {
      return status.position >= begin + seconds || status.position <= begin - seconds;
    });
  }

  void pause()
  {
    pty->type("k");
    ASSERT_TRUE(waitForState("paused"));
  }

  std::unique_ptr<Pty> pty;
};

} // namespace support
