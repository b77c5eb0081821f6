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
  return counted(std::malloc(bytes ? bytes : 1));
}

void* takeAligned(std::size_t bytes, std::align_val_t alignment) noexcept
{
  const std::size_t boundary = static_cast<std::size_t>(alignment);
  return counted(std::aligned_alloc(boundary, (bytes / boundary + 1) * boundary));
}

void* orThrow(void* block)
{
  if (!block)
    throw std::bad_alloc();
  return block;
}

void give(void* block) noexcept
{
  if (!block)
    return;
  bytesNow -= static_cast<long long>(::malloc_usable_size(block));
  std::free(block);
}

} // namespace

// All forms are replaced: the ones left out would not reach these under a
// sanitizer, which brings its own.
void* operator new(std::size_t bytes) { return orThrow(take(bytes)); }
void* operator new[](std::size_t bytes) { return orThrow(take(bytes)); }
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return take(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return take(bytes); }
void* operator new(std::size_t bytes, std::align_val_t a) { return orThrow(takeAligned(bytes, a)); }
void* operator new[](std::size_t bytes, std::align_val_t a)
{
  return orThrow(takeAligned(bytes, a));
}
void operator delete(void* block) noexcept { give(block); }
void operator delete[](void* block) noexcept { give(block); }
void operator delete(void* block, std::size_t) noexcept { give(block); }
void operator delete[](void* block, std::size_t) noexcept { give(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { give(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { give(block); }
void operator delete(void* block, std::align_val_t) noexcept { give(block); }
void operator delete[](void* block, std::align_val_t) noexcept { give(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { give(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { give(block); }

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
