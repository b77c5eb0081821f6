#pragma once

/** The overall level: a factor that moves to a new value in a straight line
 *  over 10 ms, so that a change does not click.
 *
 *      i-th frame of a move over n frames:  from + (to - from) * i / n,  i = 1 .. n
 *
 *  At exactly 1 the samples stay as they are, bit for bit; at exactly 0 they
 *  become 0, whatever they were.  Output callback only; real-time safe.
 */
class VolumeRamp {
public:
  explicit VolumeRamp(double rate);

  /** Takes effect at once. */
  void jumpTo(float factor) noexcept;

  /** Moves from where the factor stands; goes on with a move to the same. */
  void moveTo(float factor) noexcept;

  void apply(float* const* buffers, int channels, long frames) noexcept;

private:
  void applyMove(float* const* buffers, int channels, long first, long frames) const noexcept;
  void applySteady(float* const* buffers, int channels, long first, long frames) const noexcept;
  float factorAt(long frameOfMove) const noexcept;

  const long movingFrames;
  long moved; ///< frames of the move so far; movingFrames when it is over
  float from = 1.0f;
  float to = 1.0f;
};
