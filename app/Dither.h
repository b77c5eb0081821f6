#pragma once

#include <cstdint>

/** Noise in [0, 1) that is a function of its arguments alone: the same on every
 *  machine, in every run and wherever a render is cut. */
double noiseAt(std::uint64_t stream, long long position);

/** Rounds samples to the exact values of an integer format, with triangular
 *  noise of one step either way, so that what a writer then truncates is
 *  already what it stores. */
class Dither {
public:
  explicit Dither(int bits);

  /** In place; @p frame is the timeline frame of the first sample. */
  void quantise(float* samples, int count, int channel, long long frame) const;

private:
  double fullScale; ///< codes from 0 to full scale
};
