#include <immintrin.h>

#include "pcm/kernels/BlockLoops.h"
#include "pcm/kernels/ConversionVectors.h"
#include "pcm/kernels/TovKernels.h"

namespace {

constexpr int kLanes = 16;
typedef float Floats __attribute__((vector_size(4 * kLanes)));
typedef int Ints __attribute__((vector_size(4 * kLanes)));

bool areAllEqual(Ints a, Ints b)
{
  return _mm512_cmpneq_epi32_mask(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b)) == 0;
}

Floats gathered(const float* table, Ints index)
{
  // With a mask, since g++ 12 takes the form without for an uninitialised one.
  return _mm512_mask_i32gather_ps(_mm512_setzero_ps(), 0xffff, reinterpret_cast<__m512i>(index),
                                  table, 4);
}

} // namespace

#include "pcm/kernels/PeriodicResampling.h"

const TovKernels TovKernels::avx512 = {
    .name = "avx512",
    .conversion = {vectorConversion<EncS8>(), vectorConversion<EncU8>(), vectorConversion<EncS16>(),
                   vectorConversion<EncU16>(), vectorConversion<EncS24>(),
                   vectorConversion<EncU24>(), vectorConversion<EncS32>(),
                   vectorConversion<EncU32>(), vectorConversion<EncFloat32>(),
                   vectorConversion<EncFloat32Scaled16>()},
    .resampleUp = resampleByPeriods<false>,
    .resampleDown = resampleByPeriods<true>,
    .resampleByHold = ::resampleByHold,
    .amplify = ::amplify,
    .subtractRightFromLeft = ::subtractRightFromLeft,
    .applyRamp = ::applyRamp,
    .storeMix = ::storeMix,
    .addMix = ::addMix};
