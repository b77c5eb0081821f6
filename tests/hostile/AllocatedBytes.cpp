#include "tests/hostile/AllocatedBytes.h"

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

// Constant-initialised, because static constructors allocate too.
std::atomic<long long> bytesNow = 0;
std::atomic<long long> bytesMost = 0;

void* counted(void* block) noexcept
{
  if (!block)
    return nullptr;
  const long long size = static_cast<long long>(::malloc_usable_size(block));
  const long long now = bytesNow.fetch_add(size) + size;
  long long most = bytesMost.load();
  while (most < now && !bytesMost.compare_exchange_weak(most, now)) {
  }
  return block;
}

void* take(std::size_t bytes) noexcept
{
  return counted(std::malloc(bytes));
}

void* takeAligned(std::size_t bytes, std::align_val_t alignment) noexcept
{
  const std::size_t boundary = static_cast<std::size_t>(alignment);
  return counted(std::aligned_alloc(boundary, (bytes / boundary + 1) * boundary));
}

void give(void* block) noexcept
{
  if (!block)
    return;
  bytesNow -= static_cast<long long>(::malloc_usable_size(block));
  std::free(block);
}

} // namespace

#include "tests/support/AllocationOperators.h"

namespace support {

long long AllocatedBytes::now()
{
  return bytesNow;
}

long long AllocatedBytes::most()
{
  return bytesMost;
}

void AllocatedBytes::restartMost()
{
  bytesMost = bytesNow.load();
}

} // namespace support
