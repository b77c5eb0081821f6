#pragma once

// Included once by each source that stands for an instruction set: the compiler
// makes of these loops what the instructions allow, and the bits stay.

#include "pcm/kernels/TovKernels.h"

namespace {

void amplify(float* out, const float* in, float factor, long long frames)
{
  for (long long i = 0; i < frames; ++i)
    out[i] = factor * in[i];
}

void subtractRightFromLeft(float* outLeft, float* outRight, const float* inLeft,
                           const float* inRight, long long frames)
{
  for (long long i = 0; i < frames; ++i) {
    const float difference = inLeft[i] - inRight[i];
    outLeft[i] = difference;
    outRight[i] = difference;
  }
}

void applyRamp(float* left, float* right, float factor, float step, long long frames)
{
  for (long long i = 0; i < frames; ++i) {
    left[i] *= factor;
    right[i] *= factor;
    factor += step;
  }
}

void storeMix(float* out, const float* left, const float* right, TovKernels::MixGains gains,
              long long frames)
{
  if (gains.fromLeft != 0.0f && gains.fromRight != 0.0f)
    for (long long i = 0; i < frames; ++i)
      out[i] = gains.fromLeft * left[i] + gains.fromRight * right[i];
  else if (gains.fromLeft != 0.0f)
    amplify(out, left, gains.fromLeft, frames);
  else if (gains.fromRight != 0.0f)
    amplify(out, right, gains.fromRight, frames);
  else
    TovKernels::fillSilence(out, frames);
}

void addMix(float* out, const float* left, const float* right, TovKernels::MixGains gains,
            long long frames)
{
  if (gains.fromLeft != 0.0f && gains.fromRight != 0.0f)
    for (long long i = 0; i < frames; ++i)
      out[i] += gains.fromLeft * left[i] + gains.fromRight * right[i];
  else if (gains.fromLeft != 0.0f)
    for (long long i = 0; i < frames; ++i)
      out[i] += gains.fromLeft * left[i];
  else if (gains.fromRight != 0.0f)
    for (long long i = 0; i < frames; ++i)
      out[i] += gains.fromRight * right[i];
}

} // namespace
