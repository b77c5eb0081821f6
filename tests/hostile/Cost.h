#pragma once

#include <gtest/gtest.h>

namespace support {

/** What was spent since the construction: processor time, and memory beyond
 *  what was in use then.  One at a time. */
class Cost {
public:
  static constexpr double kMostSeconds = 2.0;
  static constexpr long long kMostBytes = 64LL << 20;

  Cost();

  /** Of the calling thread. */
  double seconds() const;

  /** Most bytes from operator new at once. */
  long long bytes() const;

  /** Growth of the most memory that was resident at once.  A sanitizer keeps
   *  what was freed, so that its growth says nothing: 0 there. */
  long long residentBytes() const;

  /** Whether the memory stays within what a request may take. */
  testing::AssertionResult isBoundedInMemory() const;

  /** Whether the time does as well. */
  testing::AssertionResult isBounded() const;

private:
  double secondsBefore;
  long long bytesBefore;
  long long residentBefore;
};

} // namespace support
