#pragma once

#include "tests/support/Program.h"

namespace support {

/** A program that goes on from one system call to the next only when told to,
 *  so that a test meets it at a known place of its work, whatever the machine
 *  does meanwhile. */
class TracedProgram {
public:
  explicit TracedProgram(Launch launch);

  /** Lets it run up to its next system call; false where it ended instead. */
  bool toNextCall();

  /** The number of the system call that it stands before. */
  long call() const { return number; }

  /** Lets it run until @p condition holds before a call; throws where it ends. */
  template <typename Condition>
  void runUntil(Condition condition);

  /** Ends it where it stands, and waits for that. */
  Outcome kill();

  /** Lets it go on untraced, with a signal if not 0, and waits for its end. */
  Outcome release(int signal = 0);

  /** Lets it go on to its end. */
  Outcome finish();

  /** The most memory it had in use, in kilobytes; known after the end. */
  long peakMemory() const { return peak; }

private:
  void resume(int signal);
  static Launch prepared(Launch launch);
  [[noreturn]] static void throwEnded();

  Program program;
  bool hasEnded = false;
  int lastStatus = 0;
  long number = -1;
  long peak = 0;
};

template <typename Condition>
void TracedProgram::runUntil(Condition condition)
{
  while (!condition()) {
    if (!toNextCall())
      throwEnded();
  }
}

} // namespace support
