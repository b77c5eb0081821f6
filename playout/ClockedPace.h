#pragma once

#include <cstdint>

/** When a device that follows the clock pulls which period, and what it has
 *  played: arithmetic without a thread.
 *
 *      periods        | 0 | 1 | 2 | ...
 *      pulled at      t0  t1  t2          t(n) = t0 + n * period / rate
 *      played at t    (t - t0) * rate
 *
 *  Each moment is computed from the beginning, so that nothing adds up.  Times
 *  are nanoseconds, frames are counted from the beginning.
 */
class ClockedPace {
public:
  static constexpr long kPeriodFrames = 512;

  explicit ClockedPace(double framesPerSecond) : rate(framesPerSecond) {}

  /** The first period, which is frame @p firstFrame, is due @p now. */
  void begin(std::int64_t now, long long firstFrame);

  /** Leaves out what lies more than a second behind: after a stall (a computer
   *  that slept) the missing hours are not pulled in a burst.  @p pulled is
   *  where the pulling stands. */
  void forgive(std::int64_t now, long long pulled);

  /** When the frame @p pulled, the first of a period, is to be pulled. */
  std::int64_t dueAt(long long pulled) const;

  /** Frames that have been played at @p now; may run ahead of the pulling. */
  long long playedAt(std::int64_t now) const;

private:
  double rate;
  std::int64_t beginning = 0;
  long long firstFrame = 0; ///< due at the beginning
};
