#include "core/TovLock.h"

#include <atomic>

#include "core/TovSys.h"

namespace {

constexpr unsigned int kFree = 0;
constexpr unsigned int kHeld = 1;
constexpr unsigned int kHeldAndWaitedFor = 2;

} // namespace

int TovLock::attempt(unsigned int& word)
{
  unsigned int expected = kFree;
  return std::atomic_ref(word).compare_exchange_strong(expected, kHeld, std::memory_order_acquire,
                                                       std::memory_order_relaxed)
             ? 1
             : 0;
}

void TovLock::acquire(unsigned int& word)
{
  if (attempt(word))
    return;

  // From here on the word says that somebody waits, so that the release
  // without a waiter needs no wake-up call.
  std::atomic_ref lock(word);
  while (lock.exchange(kHeldAndWaitedFor, std::memory_order_acquire) != kFree)
    lock.wait(kHeldAndWaitedFor, std::memory_order_relaxed);
}

void TovLock::release(unsigned int& word)
{
  std::atomic_ref lock(word);
  if (lock.exchange(kFree, std::memory_order_release) == kHeldAndWaitedFor)
    lock.notify_one();
}

void TovLock::acquireNice(unsigned int& word, double pauseSeconds)
{
  while (!attempt(word))
    TovSys::sleep(pauseSeconds);
}
