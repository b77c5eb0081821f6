#include "playout/HeardPosition.h"

#include <algorithm>

void HeardPosition::update(std::optional<long long> devicePosition, long long firstFrame,
                           long long pulled)
{
  if (devicePosition)
    heard = std::max(heard, std::min(*devicePosition - firstFrame, pulled));
}
