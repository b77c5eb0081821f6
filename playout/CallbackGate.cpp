#include "playout/CallbackGate.h"

#include <thread>

namespace {

constexpr std::chrono::milliseconds kPause(1);

} // namespace

bool CallbackGate::waitUntilOutside(std::chrono::nanoseconds atMost) const
{
  const std::uint64_t seen = passages.load(std::memory_order_seq_cst);
  const bool inside = seen % 2 != 0;
  if (!inside)
    return true;

  // Any change will do: calls may follow each other so closely that the gate
  // is never seen empty.
  //
  // Looks are counted, not the time: a computer that stood still gave the
  // callback no time to end in either.
  const auto hasPassed = [&] { return passages.load(std::memory_order_acquire) != seen; };
  for (auto waited = 0 * kPause; waited < atMost && !hasPassed(); waited += kPause)
    std::this_thread::sleep_for(kPause);
  return hasPassed();
}
