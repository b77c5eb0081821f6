#pragma once

#include <cstddef>
#include <new>

// The program's own operator new and operator delete.  Included by one source
// of a program, behind what they go on to:
//
//   void* take(std::size_t bytes);                               null: no memory
//   void* takeAligned(std::size_t bytes, std::align_val_t boundary);    the same
//   void give(void* block);                                       may get a null
//
// All forms are replaced: the ones left out would not reach these under a
// sanitizer, which brings its own.

namespace {

std::size_t atLeastOne(std::size_t bytes)
{
  return bytes ? bytes : 1;
}

void* orThrow(void* block)
{
  if (!block)
    throw std::bad_alloc();
  return block;
}

} // namespace

void* operator new(std::size_t bytes)
{
  return orThrow(take(atLeastOne(bytes)));
}
void* operator new[](std::size_t bytes)
{
  return orThrow(take(atLeastOne(bytes)));
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept
{
  return take(atLeastOne(bytes));
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept
{
  return take(atLeastOne(bytes));
}
void* operator new(std::size_t bytes, std::align_val_t boundary)
{
  return orThrow(takeAligned(atLeastOne(bytes), boundary));
}
void* operator new[](std::size_t bytes, std::align_val_t boundary)
{
  return orThrow(takeAligned(atLeastOne(bytes), boundary));
}
void* operator new(std::size_t bytes, std::align_val_t boundary, const std::nothrow_t&) noexcept
{
  return takeAligned(atLeastOne(bytes), boundary);
}
void* operator new[](std::size_t bytes, std::align_val_t boundary, const std::nothrow_t&) noexcept
{
  return takeAligned(atLeastOne(bytes), boundary);
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
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept { give(block); }
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept
{
  give(block);
}
