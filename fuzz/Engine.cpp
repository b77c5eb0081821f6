// The entry of one fuzz target, for libFuzzer.  TOV_FUZZ_TARGET is the target.

#include <atomic>
#include <ctime>

#include <sanitizer/allocator_interface.h>

#include "fuzz/Target.h"

namespace fuzz {
extern const Target TOV_FUZZ_TARGET;
}

namespace {

constexpr double kMostSeconds = 2.0;

std::atomic<long long> heapBytes{0};
std::atomic<long long> peakHeapBytes{0};

void allocated(const volatile void*, std::size_t size)
{
  const long long now = heapBytes += static_cast<long long>(size);
  if (now > peakHeapBytes)
    peakHeapBytes = now;
}

void freed(const volatile void* block)
{
  if (block)
    heapBytes -=
        static_cast<long long>(__sanitizer_get_allocated_size(const_cast<const void*>(block)));
}

/** Of this process, so that a busy machine does not count. */
double processorSeconds()
{
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  __sanitizer_install_malloc_and_free_hooks(allocated, freed);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  const double begin = processorSeconds();
  const long long heapBefore = heapBytes;
  peakHeapBytes = heapBefore;
  fuzz::run(fuzz::TOV_FUZZ_TARGET, data, size);
  fuzz::require(processorSeconds() - begin < kMostSeconds, "an input takes less than 2 seconds");
  fuzz::require(peakHeapBytes - heapBefore < fuzz::TOV_FUZZ_TARGET.mostBytes,
                "an input takes no more memory than it may");
  return 0;
}
