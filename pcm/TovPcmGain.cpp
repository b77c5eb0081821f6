#include "pcm/TovPcm.h"

#include <algorithm>
#include <cmath>

#include "pcm/kernels/TovKernels.h"

float TovPcm::dBToFactor(float dB)
{
  return static_cast<float>(std::pow(10.0, dB / 20.0));
}

void TovPcm::amplifyDB(float* out, const float* in, long long frames, float dB)
{
  TovKernels::chosen().amplify(out, in, dBToFactor(dB), static_cast<int>(frames));
}

void TovPcm::removeCenterChannel(float* outLeft, float* outRight, const float* inLeft,
                                 const float* inRight, long long frames)
{
  TovKernels::chosen().subtractRightFromLeft(outLeft, outRight, inLeft, inRight,
                                             static_cast<int>(frames));
}

int TovPcm::getContribution(float* leftToLeft, float* leftToRight, float* rightToLeft,
                            float* rightToRight, float gain, float pan, float wide)
{
  // The spread shrinks as the pan moves off centre, so that the wider channel
  // never passes the edge.
  const float spread = (pan >= 0.0f ? 1.0f - pan : pan + 1.0f) * wide;
  const float leftPosition = (std::clamp(pan - spread, -1.0f, 1.0f) + 1.0f) * 0.5f;
  const float rightPosition = (std::clamp(pan + spread, -1.0f, 1.0f) + 1.0f) * 0.5f;
  *leftToLeft = (1.0f - leftPosition) * gain;
  *leftToRight = leftPosition * gain;
  *rightToLeft = (1.0f - rightPosition) * gain;
  *rightToRight = rightPosition * gain;

  const float silent = dBToFactor(kSilenceDB);
  const bool leftIsHeard = *leftToLeft > silent || *rightToLeft > silent;
  const bool rightIsHeard = *leftToRight > silent || *rightToRight > silent;
  return (leftIsHeard ? 2 : 0) | (rightIsHeard ? 1 : 0);
}
