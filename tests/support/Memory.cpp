#include "tests/support/Memory.h"

#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <string>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define HAS_SANITIZER_ALLOCATOR 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HAS_SANITIZER_ALLOCATOR 1
#endif

#ifdef HAS_SANITIZER_ALLOCATOR
// Declared here since g++ comes without the sanitizers' headers.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

namespace support {

namespace {

long long statusBytes(const std::string& field)
{
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    long long kibibytes = 0;
    if (word == field && status >> kibibytes)
      return kibibytes * 1024;
  }
  throw std::runtime_error("no " + field);
}

} // namespace

long long heapInUse()
{
#ifdef HAS_SANITIZER_ALLOCATOR
  return static_cast<long long>(__sanitizer_get_current_allocated_bytes());
#else
  const struct mallinfo2 state = mallinfo2();
  return static_cast<long long>(state.uordblks + state.hblkhd);
#endif
}

long long residentBytes()
{
  return statusBytes("VmRSS:");
}

long long peakResidentBytes()
{
  return statusBytes("VmHWM:");
}

bool hasSanitizerOverhead()
{
#ifdef HAS_SANITIZER_ALLOCATOR
  return true;
#else
  return false;
#endif
}

} // namespace support
