#pragma once

#include <memory>

#include "tests/soundserver/SoundEnvironment.h"
#include "tests/support/Program.h"

/** A PulseAudio server of the test's own, which this process's sound goes to:
 *  one sink that plays into the void, floats untouched, from which a Recording
 *  takes it.  Ends with this object, or with this process. */
class SoundServer {
public:
  static constexpr int kRate = 44100;
  static constexpr int kChannels = 2;
  static constexpr const char* kMonitor = "void.monitor";

  /** None yet: sound that is played finds nothing. */
  SoundServer() = default;

  SoundEnvironment& environment() { return surroundings; }

  /** Starts it, at the same address every time; returns when it is ready.
   *  Throws where it cannot be started. */
  void start();

  /** Ends it without giving it time for anything; does not wait for that. */
  void kill();

  /** It stands still, and answers nobody, until it is killed. */
  void suspend();

private:
  SoundEnvironment surroundings;
  std::unique_ptr<support::Program> program;
};

/** A program that does not outlive this process. */
std::unique_ptr<support::Program> launchAttended(const std::vector<std::string>& arguments);

/** Throws, with what it said, where the program has ended. */
void expectRunning(support::Program& program, const std::string& name);
