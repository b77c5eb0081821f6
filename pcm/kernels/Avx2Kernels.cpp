#include <immintrin.h>

#include "pcm/kernels/BlockLoops.h"
#include "pcm/kernels/ConversionVectors.h"
#include "pcm/kernels/TovKernels.h"

namespace {

constexpr int kLanes = 8;
typedef float Floats __attribute__((vector_size(4 * kLanes)));
typedef int Ints __attribute__((vector_size(4 * kLanes)));

bool areAllEqual(Ints a, Ints b)
{
  const __m256i equal =
      _mm256_cmpeq_epi32(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b));
  return _mm256_movemask_epi8(equal) == -1;
}

Floats gathered(const float* table, Ints index)
{
  return _mm256_i32gather_ps(table, reinterpret_cast<__m256i>(index), 4);
}

} // namespace

#include "pcm/kernels/PeriodicResampling.h"

const TovKernels TovKernels::avx2 = {
    .name = "avx2",
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
