#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "pcm/kernels/TovKernels.h"

// Band-limited interpolation.  The output at position x, in input frames, is
// the input weighted by a windowed sinc that is centred on x.  One wing of it
// is in a table of samplesPerCrossing entries per input frame, with linear
// interpolation between entries:
//
//             in[c-2]   in[c-1]    x   in[c]     in[c+1]
//      ----------|---------|-------+----|---------|---------->
//                          |<-1-d->|<-d>|
//                <--- left wing ---+---- right wing ---->
//
//   1. c = ceil(x), d = c - x: the distance to the first frame on the right.
//   2. Right wing: table positions d, d + 1, d + 2 ... times in[c], in[c+1] ...
//   3. Left wing: table positions 1 - d, 2 - d ... times in[c-1], in[c-2] ...
//   4. Going down in rate, the filter is stretched by 1 / ratio to lower its
//      cut-off: steps along the table are ratio instead of 1, and the sum is
//      scaled by ratio.
//
// Positions are double, d and everything about the table single precision;
// the sum is single precision, right wing first, nearest frame first.

// ceil() and floorf() are those of C: the ones of C++ are inline, and the linker
// might take one instruction set's copy for the whole program.

namespace {

/** Step (2) or (3) at unit steps along the table. */
float addWing(float sum, const TovKernels::FilterWing& wing, float distance, const float* nearest,
              int direction)
{
  const float position = distance * static_cast<float>(wing.samplesPerCrossing);
  const float index = ::floorf(position);
  const float fraction = position - index;
  int i = static_cast<int>(index);
  do {
    sum += (wing.value[i] + fraction * wing.delta[i]) * *nearest;
    nearest += direction;
    i += wing.samplesPerCrossing;
  } while (i < wing.length);
  return sum;
}

/** Step (2) or (3) at steps of @p ratioF.  The distance is summed up in single
 *  precision, which over thousands of taps drifts, and stalls at extreme
 *  ratios: @p mostTaps keeps the reading inside the handles. */
float addStretchedWing(float sum, const TovKernels::FilterWing& wing, float distance, float ratioF,
                       const float* nearest, int direction, long long mostTaps)
{
  const float entries = static_cast<float>(wing.samplesPerCrossing);
  const float length = static_cast<float>(wing.length);
  float position = entries * distance;
  do {
    const float index = ::floorf(position);
    const int i = static_cast<int>(index);
    sum += (wing.value[i] + (position - index) * wing.delta[i]) * *nearest;
    nearest += direction;
    distance += ratioF;
    position = entries * distance;
  } while (position < length && --mostTaps > 0);
  return sum;
}

/** One output at the distance @p d below the input frame @p right. */
float interpolated(const TovKernels::FilterWing& wing, const float* right, float d)
{
  const float sum = addWing(0.0f, wing, d, right, 1); // Step (2)
  return addWing(sum, wing, 1.0f - d, right - 1, -1); // Step (3)
}

/** The distances along a stretched filter.  Just above an input frame d rounds
 *  to 1, and then the left distance may come out below 0. */
float stretchedRight(float d, double ratio)
{
  return static_cast<float>(d * ratio);
}

float stretchedLeft(float rightDistance, float ratioF)
{
  const float leftDistance = ratioF - rightDistance;
  return leftDistance > 0.0f ? leftDistance : 0.0f;
}

/** Steps (2) to (4) at the stretched distance below the input frame @p right. */
float interpolatedStretched(const TovKernels::Resampling& r, const float* right,
                            float rightDistance)
{
  const float leftDistance = stretchedLeft(rightDistance, r.ratioF);
  const float sum = addStretchedWing(0.0f, r.wing, rightDistance, r.ratioF, right, 1, r.handles);
  return addStretchedWing(sum, r.wing, leftDistance, r.ratioF, right - 1, -1, r.handles) * r.ratioF;
}

template <bool kStretched>
void resampleChannel(float* out, const float* in, const TovKernels::Resampling& r, double x,
                     long long frames)
{
  for (long long n = 0; n < frames; ++n) {
    const double c = ::ceil(x); // Step (1)
    const float d = static_cast<float>(c - x);
    const float* const right = in + static_cast<std::ptrdiff_t>(c);
    out[n] = kStretched ? interpolatedStretched(r, right, stretchedRight(d, r.ratio))
                        : interpolated(r.wing, right, d);
    x += r.step;
  }
}

template <bool kStretched>
void resamplePlainly(float* const* outputs, const float* const* inputs, int channels,
                     const TovKernels::Resampling& r, long long frames)
{
  for (int i = 0; i < channels; ++i)
    resampleChannel<kStretched>(outputs[i], inputs[i], r, r.phase, frames);
}

void resampleByHold(float* out, const float* in, long long step, long long frames)
{
  std::uint64_t position = 0; // may wrap at absurd rates: only the low 48 bits count
  for (long long n = 0; n < frames; ++n) {
    out[n] = in[static_cast<std::uint32_t>(position >> 16)];
    position += static_cast<std::uint64_t>(step);
  }
}

} // namespace
