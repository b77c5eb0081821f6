// Allocation functions run before anything is set up and within the system's
// own locks: here only plain variables are used, and no instrumented code.

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "tests/faults/FaultDue.h"
#include "tests/faults/FaultSeam.h"

#define TOV_EXPORTED __attribute__((visibility("default")))

// Where a sanitizer brings functions of its own they are the ones to go on to.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
__attribute__((weak)) void* __interceptor_malloc(std::size_t);
__attribute__((weak)) void* __interceptor_calloc(std::size_t, std::size_t);
__attribute__((weak)) void* __interceptor_realloc(void*, std::size_t);
__attribute__((weak)) void* __interceptor_memalign(std::size_t, std::size_t);
__attribute__((weak)) void __interceptor_free(void*);
}

namespace {

using support::FaultKind;
using support::isDue;

/** The blocks taken and not given back: a table with open addressing. */
constexpr std::size_t kSlots = 1 << 17;
void* const kGone = reinterpret_cast<void*>(std::uintptr_t{1});
void* slots[kSlots];
std::size_t blockCount = 0;
bool isCounting = false;
bool slotsLock = false;

std::size_t slotOf(const void* block)
{
  return (reinterpret_cast<std::uintptr_t>(block) >> 4) * 0x9e3779b97f4a7c15u >> 47;
}

class SlotsGuard {
public:
  SlotsGuard()
  {
    while (__atomic_test_and_set(&slotsLock, __ATOMIC_ACQUIRE)) {
    }
  }
  ~SlotsGuard() { __atomic_clear(&slotsLock, __ATOMIC_RELEASE); }
  SlotsGuard(const SlotsGuard&) = delete;
  SlotsGuard& operator=(const SlotsGuard&) = delete;
};

void* noteTaken(void* block)
{
  if (!block || !__atomic_load_n(&isCounting, __ATOMIC_RELAXED))
    return block;
  const SlotsGuard guard;
  std::size_t slot = slotOf(block);
  while (slots[slot] && slots[slot] != kGone)
    slot = (slot + 1) % kSlots;
  slots[slot] = block;
  if (++blockCount > kSlots / 2)
    std::abort(); // the table must not fill up
  return block;
}

void noteGiven(const void* block)
{
  if (!block || !__atomic_load_n(&isCounting, __ATOMIC_RELAXED))
    return;
  const SlotsGuard guard;
  for (std::size_t slot = slotOf(block); slots[slot]; slot = (slot + 1) % kSlots) {
    if (slots[slot] == block) {
      // What no later block of the same place was put behind is free again.
      slots[slot] = slots[(slot + 1) % kSlots] ? kGone : nullptr;
      --blockCount;
      return;
    }
  }
}

void give(void* block)
{
  noteGiven(block);
  if (__interceptor_free)
    __interceptor_free(block);
  else
    __libc_free(block);
}

void* take(std::size_t bytes)
{
  if (isDue(FaultKind::Allocation, ENOMEM))
    return nullptr;
  return noteTaken(__interceptor_malloc ? __interceptor_malloc(bytes) : __libc_malloc(bytes));
}

void* takeAligned(std::size_t boundary, std::size_t bytes)
{
  if (isDue(FaultKind::Allocation, ENOMEM))
    return nullptr;
  return noteTaken(__interceptor_memalign ? __interceptor_memalign(boundary, bytes)
                                          : __libc_memalign(boundary, bytes));
}

void* takeAligned(std::size_t bytes, std::align_val_t alignment)
{
  return takeAligned(static_cast<std::size_t>(alignment), bytes);
}

} // namespace

extern "C" {

TOV_EXPORTED void* malloc(std::size_t bytes) noexcept
{
  return take(bytes);
}

TOV_EXPORTED void* calloc(std::size_t count, std::size_t bytes) noexcept
{
  if (isDue(FaultKind::Allocation, ENOMEM))
    return nullptr;
  return noteTaken(__interceptor_calloc ? __interceptor_calloc(count, bytes)
                                        : __libc_calloc(count, bytes));
}

TOV_EXPORTED void* realloc(void* block, std::size_t bytes) noexcept
{
  if (isDue(FaultKind::Allocation, ENOMEM))
    return nullptr;
  noteGiven(block);
  return noteTaken(__interceptor_realloc ? __interceptor_realloc(block, bytes)
                                         : __libc_realloc(block, bytes));
}

TOV_EXPORTED void* memalign(std::size_t boundary, std::size_t bytes) noexcept
{
  return takeAligned(boundary, bytes);
}

TOV_EXPORTED void* aligned_alloc(std::size_t boundary, std::size_t bytes) noexcept
{
  return takeAligned(boundary, bytes);
}

TOV_EXPORTED int posix_memalign(void** block, std::size_t boundary, std::size_t bytes) noexcept
{
  void* const taken = takeAligned(boundary, bytes);
  if (!taken)
    return ENOMEM;
  *block = taken;
  return 0;
}

TOV_EXPORTED void free(void* block) noexcept
{
  give(block);
}

} // extern "C"

#include "tests/support/AllocationOperators.h"

namespace support {

TakenBlocks::TakenBlocks()
{
  std::fill_n(slots, kSlots, nullptr);
  blockCount = 0;
  __atomic_store_n(&isCounting, true, __ATOMIC_RELEASE);
}

TakenBlocks::~TakenBlocks()
{
  __atomic_store_n(&isCounting, false, __ATOMIC_RELEASE);
}

std::size_t TakenBlocks::left() const
{
  const SlotsGuard guard;
  return blockCount;
}

} // namespace support
