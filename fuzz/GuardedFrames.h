#pragma once

#include <vector>

#include "tests/support/GuardedBlock.h"

namespace fuzz {

/** The frames that a call may read and room for those that it writes, each
 *  between pages that nobody may touch. */
class GuardedFrames {
public:
  /** No byte is left between frames and page at the start of both, or at the
   *  end of both. */
  GuardedFrames(const std::vector<float>& readable, long long writable, bool isTightAtStart);

  const float* in() const { return input.floats(); }
  float* out() const { return output.floats(); }

  /** The first @p count frames written are those of the plain arithmetic, bit
   *  for bit, but that any NaN is as good as another. */
  void checkWritten(const std::vector<float>& wanted, long long count) const;

private:
  support::GuardedBlock input;
  support::GuardedBlock output;
};

} // namespace fuzz
