#pragma once

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace support {

/** What is to be run and how. */
struct Launch {
  std::vector<std::string> arguments;     ///< the program first, looked for along PATH
  std::string folder = {};                ///< to run in; empty: this process's
  std::vector<std::string> settings = {}; ///< "NAME=value", added to the environment
  std::function<void()> beforeExec = {};  ///< last words in the child
};

/** How a program ended and what it had said. */
struct Outcome {
  int exitCode = -1; ///< -1 where a signal ended it
  int signal = 0;    ///< the signal that did
  std::string out;   ///< standard output
  std::string err;   ///< standard error
};

/** A child process in a group of its own, which ends with this object.  What
 *  it says goes to files, so that it never waits for its listener.  One that
 *  hangs is ended by SIGALRM after kLimitSeconds. */
class Program {
public:
  static constexpr unsigned int kLimitSeconds = 300;

  explicit Program(const Launch& launch);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  ::pid_t pid() const { return child; }
  void send(int signal) const;

  /** waitpid() that does not give up when interrupted; the status. */
  int waitForChange() const;

  /** Waits for the end. */
  Outcome wait();

  /** The outcome for the status that waitForChange() gave at the end. */
  Outcome ended(int status);

private:
  ::pid_t child = -1;
  int out = -1;
  int err = -1;
  bool isRunning = true;
};

/** Runs a program to its end. */
Outcome run(const Launch& launch);
Outcome run(const std::vector<std::string>& arguments);

/** As run(), and throws with what it said where the exit code is not 0. */
Outcome runOrThrow(const std::vector<std::string>& arguments);

} // namespace support
