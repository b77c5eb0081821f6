#pragma once

#include <atomic>

class TovAudioProvider;

namespace support {

/** Counts a provider's notifications, and whether the provider's lock was free
 *  during each.  Keeps a reference to the provider while it lives.  Must not go
 *  while another thread may notify: a call may still be under way there. */
class Listener {
public:
  explicit Listener(TovAudioProvider& provider);
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  /** Notifications since the construction or the last call. */
  int take() { return count.exchange(0); }

  /** Whether no notification came with the provider's lock held. */
  bool lockWasFree() const { return !sawLockHeld; }

private:
  static void notified(void* self);

  TovAudioProvider& source;
  std::atomic<int> count;
  std::atomic<bool> sawLockHeld;
};

} // namespace support
