#pragma once

#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "tests/soundserver/SoundServer.h"
#include "tests/support/FileFormats.h"

/** Records, from its construction on, what a server's sink plays. */
class Recording {
public:
  /** Returns when the first frames have arrived. */
  explicit Recording(const SoundEnvironment& environment);

  /** Every frame so far. */
  support::Signal sound();

  /** Waits until @p isOver holds, and for what the server still held then; all
   *  frames. */
  support::Signal soundWhen(const std::function<bool()>& isOver);

  /** Waits until @p seconds more have been recorded. */
  void goOn(double seconds);

private:
  long long frames();

  std::string path;
  std::unique_ptr<support::Program> program;
};

/** The frames from the first that is not silent to the last. */
support::Signal sounding(const support::Signal& sound);

/** The first frame from @p from on in which some channel is not 0; the number
 *  of frames where there is none. */
long long firstSounding(const support::Signal& sound, long long from = 0);

/** Whether @p recorded is silence, then @p expected to the last bit, then
 *  silence; silence around what is expected does not count.  Names the first
 *  frame that differs. */
::testing::AssertionResult isHeard(const support::Signal& recorded,
                                   const support::Signal& expected);

/** How many frames two sounds have in common at their beginning, to the last
 *  bit. */
long long framesInCommon(const support::Signal& a, const support::Signal& b);

long long frameCount(const support::Signal& sound);

/** The parts of a recording that are kept apart by at least @p gap silent
 *  frames. */
std::vector<support::Signal> partsOf(const support::Signal& recorded, long long gap);
