#pragma once

#include <atomic>
#include <cstdint>

/** What the output callback is to do: one word, so that a start and the end of
 *  the silence cannot both win.
 *
 *      silent --- tryPlay() ---> playing        (host's side)
 *      playing -- silence() ---> silent         (host's side)
 *      silent --- tryEnd() ----> ended          (callback)
 *      any ------ renew() -----> silent         (host's side, no device runs)
 *
 *  Runs are numbered, so that a stop and a start between two callbacks do not
 *  look like one run.
 */
class TransportState {
public:
  enum class Mode : std::uint64_t {
    silent,  ///< the device runs on silence, or not at all
    playing, ///< the supplier is pulled
    ended    ///< the device was told that nothing more comes
  };

  struct Value {
    Mode mode;
    std::uint64_t run;
  };

  /** Any thread; real-time safe. */
  Value get() const noexcept { return unpacked(word.load(std::memory_order_seq_cst)); }

  /** Begins the next run; false where the device has been told that nothing
   *  more comes.  Host's side, one thread at a time. */
  bool tryPlay() noexcept
  {
    const std::uint64_t nextRun = get().run + 1;
    std::uint64_t expected = packed({Mode::silent, nextRun - 1});
    return word.compare_exchange_strong(expected, packed({Mode::playing, nextRun}),
                                        std::memory_order_seq_cst);
  }

  /** Ends the run; without one, nothing happens.  Host's side, one thread at a
   *  time. */
  void silence() noexcept
  {
    const std::uint64_t run = get().run;
    std::uint64_t expected = packed({Mode::playing, run});
    word.compare_exchange_strong(expected, packed({Mode::silent, run}), std::memory_order_seq_cst);
  }

  /** Host's side, while no device runs. */
  void renew() noexcept
  {
    word.store(packed({Mode::silent, get().run}), std::memory_order_seq_cst);
  }

  /** False where a run has begun since @p seen.  Output callback only;
   *  real-time safe. */
  bool tryEnd(Value seen) noexcept
  {
    std::uint64_t expected = packed({Mode::silent, seen.run});
    return word.compare_exchange_strong(expected, packed({Mode::ended, seen.run}),
                                        std::memory_order_seq_cst);
  }

private:
  static std::uint64_t packed(Value value) noexcept
  {
    return value.run << 2 | static_cast<std::uint64_t>(value.mode);
  }
  static Value unpacked(std::uint64_t bits) noexcept
  {
    return {static_cast<Mode>(bits & 3), bits >> 2};
  }

  std::atomic<std::uint64_t> word = 0;
  static_assert(std::atomic<std::uint64_t>::is_always_lock_free);
};
