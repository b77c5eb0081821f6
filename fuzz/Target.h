#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "fuzz/Input.h"
#include "tests/support/Bytes.h"

namespace support {
class TempFolder;
}

namespace fuzz {

/** Takes one seed of a target's corpus: its name and its bytes. */
using SeedTaker = std::function<void(const std::string& name, const support::Bytes& bytes)>;

/** One subject that is fed with arbitrary bytes. */
struct Target {
  const char* name;

  /** Ends the process where something is wrong. */
  void (*run)(Input& input);

  /** Hands out the inputs that fuzzing starts from. */
  void (*seeds)(const SeedTaker& take);

  /** The sources whose lines the corpus is to cover, blanks between them. */
  const char* aimedAt;

  /** What an input may take on the heap at once, beside what it is given. */
  long long mostBytes = 512LL << 20;
};

/** All of them, in the order of the table in docs/reliability.md. */
std::span<const Target* const> allTargets();

/** Runs a target on an input as a host would: messages are taken and looked
 *  at, what goes wrong ends the process. */
void run(const Target& target, const std::uint8_t* data, std::size_t size);

/** A folder for the files of this process. */
const support::TempFolder& scratch();

} // namespace fuzz
