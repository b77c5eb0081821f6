#pragma once

#include <functional>

class TovAudioProvider;

namespace support {

/** Whether anyone, the caller included, holds the provider's lock now. */
bool isLockHeld(const TovAudioProvider& provider);

/** Holds the provider's lock for a scope. */
class HeldLock {
public:
  explicit HeldLock(const TovAudioProvider& provider);
  ~HeldLock();
  HeldLock(const HeldLock&) = delete;
  HeldLock& operator=(const HeldLock&) = delete;

private:
  const TovAudioProvider& held;
};

/** Whether @p operation, run on a thread of its own, does not come back while
 *  the provider's lock is held here.  Never false for an operation that takes
 *  the lock; the other way round it gives the thread ample time. */
bool waitsForLock(const TovAudioProvider& provider, const std::function<void()>& operation);

} // namespace support
