#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

/** What a peak meter has shown in a run, kept so that it can be asked for any
 *  span of the last hours.
 *
 *  The meter rises at once and falls by 20 dB per second, that is to a tenth.
 *  What it shows at the end of a span that it entered at 0 is the largest of
 *
 *      |sample| * 10^-(seconds from the sample to the end of the span)
 *
 *  and the largest over a span is the largest over its parts, each carried on
 *  to the end.  So the run is cut into steps of 1024 frames, and kept of each
 *  is what a meter that entered the step at 0 shows at the step's end:
 *
 *      step      0       1       2        measured
 *           |-------|-------|-------|----|
 *      kept         v0      v1      v2   v3
 *               from ^            ^ to
 *
 *      level = max(v1 carried on to `to`, v2)
 *
 *  The steps in which a span begins and ends count whole.
 *
 *  Callback's side: measure().  Host's side: the others.  The callback writes
 *  a step's value first and the count of measured frames after it; a value
 *  that is newer than the count belongs to the same step, or to one that is
 *  not read.
 *
 *  Memory: 4 bytes per step and channel, which is 4 MB for three hours of
 *  stereo at 44100, 64 MB for eight channels at 192000.
 */
class MeterHistory {
public:
  static constexpr long kStepFrames = 1024;

  /** Allocates all that is needed. */
  MeterHistory(int channels, double rate);

  /** Forgets everything, for a new run; not while the callback measures. */
  void clear() noexcept { measured.store(0, std::memory_order_relaxed); }

  /** Continues the run.  Output callback only; real-time safe. */
  void measure(const float* const* buffers, long frames) noexcept;

  /** Frames measured since clear(). */
  long long length() const noexcept { return measured.load(std::memory_order_acquire); }

  /** The level of a channel for a span, whose ends count from the run's start
   *  and may be any finite numbers: what is outside of the run counts as its
   *  start or its end, a @p from behind @p to as the start.  0 for an empty
   *  span, and for what is older than is kept. */
  float level(int channel, double from, double to) const noexcept;

private:
  std::atomic<float>& stepOf(long long step, int channel) noexcept;
  const std::atomic<float>& stepOf(long long step, int channel) const noexcept;

  const int channels;
  const double rate;
  const double fallPerFrame; ///< what a level becomes from one frame to the next
  const double fallPerStep;
  const long long keptSteps;             ///< a power of two
  std::vector<std::atomic<float>> steps; ///< a ring; written by the callback only
  std::vector<double> meters;            ///< in the present step, per channel; output callback only
  std::atomic<long long> measured = 0;   ///< written by the callback, cleared by the host's side
  static_assert(std::atomic<float>::is_always_lock_free);
  static_assert(std::atomic<long long>::is_always_lock_free);
};
