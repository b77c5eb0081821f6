#include "playout/PlayoutClock.h"

#include <chrono>

namespace {

class SteadyClock final : public PlayoutClock {
public:
  std::int64_t now() const override
  {
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart).count();
  }
};

constinit const SteadyClock steadyClock;

} // namespace

const PlayoutClock& PlayoutClock::steady()
{
  return steadyClock;
}
