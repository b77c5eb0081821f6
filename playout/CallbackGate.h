#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

/** Lets the host's side wait until a callback that is under way has ended; the
 *  callback never waits.
 *
 *  Host's side: tell the callback to stop (a sequentially consistent store),
 *  then waitUntilOutside().  Callback: enter(), look whether to stop (a
 *  sequentially consistent load), work, leave().  Either the callback sees
 *  that it is to stop, or the host's side sees that it is inside.
 */
class CallbackGate {
public:
  /** Output callback only; real-time safe. */
  void enter() noexcept { passages.fetch_add(1, std::memory_order_seq_cst); }
  void leave() noexcept { passages.fetch_add(1, std::memory_order_release); }

  /** False where the call that was under way still is, @p atMost later.
   *  Blocks. */
  bool waitUntilOutside(std::chrono::nanoseconds atMost) const;

private:
  std::atomic<std::uint64_t> passages = 0; ///< in and out: odd while inside
  static_assert(std::atomic<std::uint64_t>::is_always_lock_free);
};
