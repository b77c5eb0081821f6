#include "pcm/kernels/BlockLoops.h"
#include "pcm/kernels/ConversionLoops.h"
#include "pcm/kernels/ResamplingLoops.h"
#include "pcm/kernels/TovKernels.h"

const TovKernels TovKernels::plain = {
    .name = "plain",
    .conversion = {plainConversion<EncS8>(), plainConversion<EncU8>(), plainConversion<EncS16>(),
                   plainConversion<EncU16>(), plainConversion<EncS24>(), plainConversion<EncU24>(),
                   plainConversion<EncS32>(), plainConversion<EncU32>(),
                   plainConversion<EncFloat32>(), plainConversion<EncFloat32Scaled16>()},
    .resampleUp = resamplePlainly<false>,
    .resampleDown = resamplePlainly<true>,
    .resampleByHold = ::resampleByHold,
    .amplify = ::amplify,
    .subtractRightFromLeft = ::subtractRightFromLeft,
    .applyRamp = ::applyRamp,
    .storeMix = ::storeMix,
    .addMix = ::addMix};
