#include "tests/core/AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>

namespace {

// Constant-initialised, because static constructors allocate too.
thread_local long long allocationCount = 0;
thread_local long long deallocationCount = 0;
std::atomic<long long> heldCount = 0;
thread_local long long successesLeft = -1; ///< -1 while no failure is due
thread_local bool hasFailed = false;

bool failsNow()
{
  if (successesLeft < 0)
    return false;
  hasFailed = successesLeft == 0;
  --successesLeft;
  return hasFailed;
}

void* take(std::size_t bytes) noexcept
{
  if (failsNow())
    return nullptr;
  ++allocationCount;
  heldCount.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(bytes);
}

void* takeAligned(std::size_t bytes, std::align_val_t alignment) noexcept
{
  if (failsNow())
    return nullptr;
  ++allocationCount;
  heldCount.fetch_add(1, std::memory_order_relaxed);
  const std::size_t boundary = static_cast<std::size_t>(alignment);
  return std::aligned_alloc(boundary, (bytes / boundary + 1) * boundary);
}

// Volatile, or the compiler would leave out what writes to a dying block.
void* (*volatile overwrite)(void*, int, std::size_t) = std::memset;

// Freed memory is overwritten, so that what is used after its end shows without
// a sanitizer too.
void give(void* block) noexcept
{
  if (!block)
    return;
  ++deallocationCount;
  heldCount.fetch_sub(1, std::memory_order_relaxed);
  overwrite(block, 0xA5, ::malloc_usable_size(block));
  std::free(block);
}

} // namespace

#include "tests/support/AllocationOperators.h"

namespace support {

AllocationCounter::AllocationCounter()
    : allocationsBefore(allocationCount), deallocationsBefore(deallocationCount)
{
}

long long AllocationCounter::allocations() const
{
  return allocationCount - allocationsBefore;
}

long long AllocationCounter::deallocations() const
{
  return deallocationCount - deallocationsBefore;
}

long long blocksHeld()
{
  return heldCount.load(std::memory_order_relaxed);
}

FailingAllocation::FailingAllocation(long long successesBefore)
{
  hasFailed = false;
  successesLeft = successesBefore;
}

FailingAllocation::~FailingAllocation()
{
  successesLeft = -1;
}

bool FailingAllocation::happened() const
{
  return hasFailed;
}

} // namespace support
