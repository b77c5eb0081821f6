#include "playout/DevicePosition.h"

#include <algorithm>

namespace {

constexpr std::int64_t kBetweenQuestions = 1'000'000'000 / 60 + 1; // nanoseconds

} // namespace

DevicePosition::DevicePosition(const PlayoutClock& steadyClock, double framesPerSecond)
    : clock(steadyClock), rate(framesPerSecond)
{
}

void DevicePosition::reset()
{
  askedAt.reset();
}

std::optional<long long> DevicePosition::ask(PlayoutDevice& device)
{
  const std::int64_t now = clock.now();
  if (!askedAt || now - *askedAt >= kBetweenQuestions) {
    answer = device.position();
    askedAt = now;
  }
  if (answer < 0)
    return std::nullopt;
  const auto sinceAnswer = static_cast<double>(std::max<std::int64_t>(0, now - *askedAt));
  return answer + static_cast<long long>(sinceAnswer * rate / kNanosecondsPerSecond);
}
