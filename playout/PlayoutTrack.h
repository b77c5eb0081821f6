#pragma once

#include <atomic>
#include <vector>

#include "playout/MeterHistory.h"
#include "playout/PlayoutEngine.h"
#include "playout/VolumeRamp.h"

/** A mixer's track: pulls from its supplier in pieces, applies the volume and
 *  measures.
 *
 *      supplier -> planar buffers -> volume -> meters -> interleaved
 */
class PlayoutTrack {
public:
  static constexpr long kPieceFrames = 4096;

  /** Allocates all that is needed. */
  PlayoutTrack(PeAudioSupplierProc supplier, void* refCon, int channels, double rate);

  PlayoutTrack(const PlayoutTrack&) = delete;
  PlayoutTrack& operator=(const PlayoutTrack&) = delete;

  int channels() const noexcept { return channelCount; }
  double rate() const noexcept { return framesPerSecond; }

  /** Begins a run; the first sample has the position @p startTime.  Output
   *  callback only; real-time safe. */
  void begin(double startTime, float volume) noexcept;

  /** Writes the run's next frames.  Output callback only; real-time safe. */
  void pull(float* interleaved, long frames, float volume) noexcept;

  /** What was pulled of the present run.  Host's side. */
  const MeterHistory& meters() const noexcept { return history; }

  /** Forgets the run; not while the callback pulls.  Host's side. */
  void clear() noexcept { history.clear(); }

private:
  void pullPiece(long frames) noexcept;
  void interleave(float* interleaved, long frames) const noexcept;

  const PeAudioSupplierProc supplier;
  void* const refCon;
  const int channelCount;
  const double framesPerSecond;

  // Output callback only:
  std::vector<float> samples;   ///< a piece for each channel, one behind the other
  std::vector<float*> buffers;  ///< where they begin
  std::vector<float*> supplied; ///< the same, for the supplier, which may change them
  VolumeRamp ramp;
  double start = 0.0;
  unsigned long calls = 0;

  MeterHistory history; ///< a side for the callback, one for the host
};
