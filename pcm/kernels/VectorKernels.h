#pragma once

// The set of a source that stands for an instruction set with vectors.  That
// source defines what PeriodicResampling.h asks for, and then includes this.

#include "pcm/kernels/BlockLoops.h"
#include "pcm/kernels/ConversionVectors.h"
#include "pcm/kernels/PeriodicResampling.h"

namespace {

constexpr TovKernels vectorKernels(const char* name)
{
  return {.name = name,
          .conversion = {vectorConversion<EncS8>(), vectorConversion<EncU8>(),
                         vectorConversion<EncS16>(), vectorConversion<EncU16>(),
                         vectorConversion<EncS24>(), vectorConversion<EncU24>(),
                         vectorConversion<EncS32>(), vectorConversion<EncU32>(),
                         vectorConversion<EncFloat32>(), vectorConversion<EncFloat32Scaled16>()},
          .resampleUp = resampleUpByPeriods,
          .resampleDown = resampleByPeriods<StretchedLaneFilter>,
          .resampleByHold = ::resampleByHold,
          .amplify = ::amplify,
          .subtractRightFromLeft = ::subtractRightFromLeft,
          .applyRamp = ::applyRamp,
          .storeMix = ::storeMix,
          .addMix = ::addMix};
}

} // namespace
