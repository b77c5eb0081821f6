#include "tests/kernels/KernelSets.h"

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace support {

const std::vector<const TovKernels*>& fastSets()
{
  static const std::vector<const TovKernels*> sets = [] {
    std::vector<const TovKernels*> found;
    for (const char* const name : {"avx2", "avx512"}) {
      const TovKernels* const set = TovKernels::find(name);
      std::printf("kernels: %s %s\n", name, set ? "compared" : "not on this processor");
      if (set)
        found.push_back(set);
    }
    return found;
  }();
  return sets;
}

std::vector<float> samples(std::mt19937& random, long long count, bool isWild)
{
  std::vector<float> result(static_cast<std::size_t>(count));
  std::uniform_real_distribution<float> noise(-1.25f, 1.25f);
  for (float& sample : result) {
    const std::uint32_t kind = isWild ? random() % 8 : 8;
    sample = kind == 0   ? std::bit_cast<float>(static_cast<std::uint32_t>(random()))
             : kind == 1 ? static_cast<float>(static_cast<int>(random() % 5) - 2)
             : kind == 2 ? static_cast<float>(static_cast<int>(random() % 70000) - 35000) / 32768.0f
                         : noise(random);
  }
  return result;
}

long long samplesWanted(long long ordinary, long long inLongRuns)
{
  return std::getenv("TOV_TEST_LONG") ? inLongRuns : ordinary;
}

} // namespace support
