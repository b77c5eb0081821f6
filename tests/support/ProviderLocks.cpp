#include "tests/support/ProviderLocks.h"

#include <atomic>
#include <thread>

#include "graph/TovAudioProvider.h"

namespace support {

bool isLockHeld(const TovAudioProvider& provider)
{
  if (!provider.lockAttempt())
    return true;
  provider.lockRelease();
  return false;
}

HeldLock::HeldLock(const TovAudioProvider& provider) : held(provider)
{
  held.lockAcquire();
}

HeldLock::~HeldLock()
{
  held.lockRelease();
}

bool waitsForLock(const TovAudioProvider& provider, const std::function<void()>& operation)
{
  std::atomic<bool> started{false};
  std::atomic<bool> finished{false};
  provider.lockAcquire();
  std::thread thread([&] {
    started = true;
    operation();
    finished = true;
  });
  while (!started)
    std::this_thread::yield();
  for (int turn = 0; turn < 3000 && !finished; ++turn)
    std::this_thread::yield();
  const bool waited = !finished;
  provider.lockRelease();
  thread.join();
  return waited;
}

} // namespace support
