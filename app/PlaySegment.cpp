#include "app/PlaySegment.h"

long long PlaySegment::positionAt(long long elapsed) const
{
  const long long run = std::max(elapsed, 0LL);
  const bool isRepeated = isLoop && length() > 0;
  const long long played = isRepeated ? run % length() : std::min(run, length());
  return isBackwards() ? start - played : start + played;
}
