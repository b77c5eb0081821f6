#include "pcm/kernels/TovKernels.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

#if defined(__x86_64__) && defined(__GNUC__)

bool hasAvx2()
{
  return __builtin_cpu_supports("avx2");
}

bool hasAvx512()
{
  return hasAvx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
}

#endif

/** A set, and whether this processor has its instructions. */
struct Candidate {
  const TovKernels& kernels;
  bool (*isPossible)();
};

// The fastest first.
constexpr Candidate kCandidates[] = {
#if defined(__x86_64__) && defined(__GNUC__)
    {TovKernels::avx512, hasAvx512},
    {TovKernels::avx2, hasAvx2},
#endif
    {TovKernels::plain, [] { return true; }},
};

const TovKernels& choose()
{
  const char* const wanted = std::getenv("TOV_KERNELS");
  if (const TovKernels* const kernels = wanted ? TovKernels::find(wanted) : nullptr)
    return *kernels;
  return std::find_if(std::begin(kCandidates), std::end(kCandidates),
                      [](const Candidate& candidate) { return candidate.isPossible(); })
      ->kernels;
}

} // namespace

const TovKernels& TovKernels::chosen()
{
  static const TovKernels& kernels = choose();
  return kernels;
}

const TovKernels* TovKernels::find(const char* name)
{
  for (const Candidate& candidate : kCandidates)
    if (std::strcmp(candidate.kernels.name, name) == 0 && candidate.isPossible())
      return &candidate.kernels;
  return nullptr;
}

void TovKernels::fillSilence(float* out, long long frames)
{
  if (frames > 0)
    std::memset(out, 0, static_cast<std::size_t>(frames) * sizeof *out);
}
