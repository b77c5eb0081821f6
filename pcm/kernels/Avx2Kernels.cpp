#include <immintrin.h>

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

#include "pcm/kernels/VectorKernels.h"

const TovKernels TovKernels::avx2 = vectorKernels("avx2");
