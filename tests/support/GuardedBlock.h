#pragma once

#include <cstddef>

namespace support {

/** Memory between two pages that nobody may touch: an access outside ends the
 *  process.  Only one end of the block can lie exactly at its page, so a test
 *  runs once with each. */
class GuardedBlock {
public:
  enum class Tight { AtStart, AtEnd };

  GuardedBlock(std::size_t bytes, Tight tight);
  ~GuardedBlock();
  GuardedBlock(const GuardedBlock&) = delete;
  GuardedBlock& operator=(const GuardedBlock&) = delete;

  void* data() const { return begin; }
  std::size_t size() const { return length; }

  /** As floats; the block's size should be a multiple of theirs. */
  float* floats() const { return static_cast<float*>(begin); }

  /** From now on a write ends the process as well. */
  void forbidWriting();

private:
  void* mapping;
  std::size_t mappingLength;
  std::size_t pageLength;
  void* begin;
  std::size_t length;
};

} // namespace support
