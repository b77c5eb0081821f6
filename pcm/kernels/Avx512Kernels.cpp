#include <immintrin.h>

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

#include "pcm/kernels/VectorKernels.h"

const TovKernels TovKernels::avx512 = vectorKernels("avx512");
