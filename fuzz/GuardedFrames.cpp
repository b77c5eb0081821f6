#include "fuzz/GuardedFrames.h"

#include <algorithm>
#include <cmath>

#include "fuzz/Input.h"
#include "tests/support/Buffers.h"

namespace fuzz {

namespace {

using support::GuardedBlock;

GuardedBlock::Tight tightness(bool isTightAtStart)
{
  return isTightAtStart ? GuardedBlock::Tight::AtStart : GuardedBlock::Tight::AtEnd;
}

} // namespace

GuardedFrames::GuardedFrames(const std::vector<float>& readable, long long writable,
                             bool isTightAtStart)
    : input(readable.size() * sizeof(float), tightness(isTightAtStart)),
      output(static_cast<std::size_t>(writable) * sizeof(float), tightness(isTightAtStart))
{
  std::copy(readable.begin(), readable.end(), input.floats());
  input.forbidWriting();
}

void GuardedFrames::checkWritten(const std::vector<float>& wanted, long long count) const
{
  for (long long i = 0; i < count; ++i) {
    const float a = out()[i];
    const float b = wanted[static_cast<std::size_t>(i)];
    require(support::bits({a}) == support::bits({b}) || (std::isnan(a) && std::isnan(b)),
            "the frames are those of the plain arithmetic");
  }
}

} // namespace fuzz
