#pragma once

#include <cstddef>
#include <new>
#include <vector>

// clang++ has these only where it is told to use them.
void operator delete(void* block, std::size_t) noexcept;
void operator delete[](void* block, std::size_t) noexcept;
void operator delete(void* block, std::size_t, std::align_val_t) noexcept;
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept;

namespace support {

/** A form of operator new, and one of operator delete for its block. */
struct AllocationForm {
  const char* name;
  bool throws;
  void* (*take)(); ///< kBytes, at kBoundary where the form tells of one
  void (*give)(void* block);

  static constexpr std::size_t kBytes = 24;
  static constexpr std::align_val_t kBoundary{256};
};

/** All forms that a program may replace. */
inline std::vector<AllocationForm> allocationForms()
{
  using Form = AllocationForm;
  return {
      {"plain", true, [] { return ::operator new(Form::kBytes); },
       [](void* block) { ::operator delete(block); }},
      {"array", true, [] { return ::operator new[](Form::kBytes); },
       [](void* block) { ::operator delete[](block); }},
      {"sized", true, [] { return ::operator new(Form::kBytes); },
       [](void* block) { ::operator delete(block, Form::kBytes); }},
      {"sized array", true, [] { return ::operator new[](Form::kBytes); },
       [](void* block) { ::operator delete[](block, Form::kBytes); }},
      {"nothrow", false, [] { return ::operator new(Form::kBytes, std::nothrow); },
       [](void* block) { ::operator delete(block, std::nothrow); }},
      {"nothrow array", false, [] { return ::operator new[](Form::kBytes, std::nothrow); },
       [](void* block) { ::operator delete[](block, std::nothrow); }},
      {"aligned", true, [] { return ::operator new(Form::kBytes, Form::kBoundary); },
       [](void* block) { ::operator delete(block, Form::kBoundary); }},
      {"aligned array", true, [] { return ::operator new[](Form::kBytes, Form::kBoundary); },
       [](void* block) { ::operator delete[](block, Form::kBoundary); }},
      {"aligned sized", true, [] { return ::operator new(Form::kBytes, Form::kBoundary); },
       [](void* block) { ::operator delete(block, Form::kBytes, Form::kBoundary); }},
      {"aligned sized array", true, [] { return ::operator new[](Form::kBytes, Form::kBoundary); },
       [](void* block) { ::operator delete[](block, Form::kBytes, Form::kBoundary); }},
      {"aligned nothrow", false,
       [] { return ::operator new(Form::kBytes, Form::kBoundary, std::nothrow); },
       [](void* block) { ::operator delete(block, Form::kBoundary, std::nothrow); }},
      {"aligned nothrow array", false,
       [] { return ::operator new[](Form::kBytes, Form::kBoundary, std::nothrow); },
       [](void* block) { ::operator delete[](block, Form::kBoundary, std::nothrow); }},
  };
}

} // namespace support
