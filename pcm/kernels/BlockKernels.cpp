#include <cstring>

#include "pcm/kernels/TovKernels.h"

void TovKernels::fillSilence(float* out, long long frames)
{
  if (frames > 0)
    std::memset(out, 0, static_cast<std::size_t>(frames) * sizeof *out);
}

void TovKernels::amplify(float* out, const float* in, float factor, long long frames)
{
  for (long long i = 0; i < frames; ++i)
    out[i] = factor * in[i];
}

void TovKernels::subtractRightFromLeft(float* outLeft, float* outRight, const float* inLeft,
                                       const float* inRight, long long frames)
{
  for (long long i = 0; i < frames; ++i) {
    const float difference = inLeft[i] - inRight[i];
    outLeft[i] = difference;
    outRight[i] = difference;
  }
}

void TovKernels::applyRamp(float* left, float* right, float factor, float step, long long frames)
{
  for (long long i = 0; i < frames; ++i) {
    left[i] *= factor;
    right[i] *= factor;
    factor += step;
  }
}

void TovKernels::storeMix(float* out, const float* left, const float* right, MixGains gains,
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
    fillSilence(out, frames);
}

void TovKernels::addMix(float* out, const float* left, const float* right, MixGains gains,
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
