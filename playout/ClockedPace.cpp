#include "playout/ClockedPace.h"

#include <cmath>

#include "playout/PlayoutClock.h"

namespace {

constexpr std::int64_t kLongestBehind = 1'000'000'000; // nanoseconds

} // namespace

void ClockedPace::begin(std::int64_t now, long long first)
{
  beginning = now;
  firstFrame = first;
}

void ClockedPace::forgive(std::int64_t now, long long pulled)
{
  if (now - dueAt(pulled) > kLongestBehind)
    begin(now - kLongestBehind, pulled);
}

std::int64_t ClockedPace::dueAt(long long pulled) const
{
  const double seconds = static_cast<double>(pulled - firstFrame) / rate;
  return beginning + static_cast<std::int64_t>(std::ceil(seconds * kNanosecondsPerSecond));
}

long long ClockedPace::playedAt(std::int64_t now) const
{
  const double seconds = static_cast<double>(now - beginning) / kNanosecondsPerSecond;
  return firstFrame + static_cast<long long>(std::floor(seconds * rate));
}
