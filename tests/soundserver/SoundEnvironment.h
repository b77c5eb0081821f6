#pragma once

#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

#include "tests/support/TempFolder.h"

/** Has every sound library in this process look into a folder of its own,
 *  where there is neither a server nor a card, whatever the machine has, and
 *  gives the calling thread a real-time priority where that is allowed.  Set before a
 *  library is first used, by one thread. */
class SoundEnvironment {
public:
  SoundEnvironment();
  ~SoundEnvironment();
  SoundEnvironment(const SoundEnvironment&) = delete;
  SoundEnvironment& operator=(const SoundEnvironment&) = delete;

  /** The engine's choice: auto, cubeb or null.  "cubeb" to begin with. */
  void choosePlayoutDevice(const std::string& device);

  const support::TempFolder& folder() const { return root; }

  /** The socket where a server is looked for. */
  std::string socket() const { return root.path("socket"); }

private:
  class Variable;

  support::TempFolder root;
  std::vector<std::unique_ptr<Variable>> variables;
};

/** Gives a thread, 0 for the calling one, a real-time priority where that is
 *  allowed.  Sound that is late is heard with gaps, and these would be taken
 *  for errors. */
void putAhead(::pid_t thread);
