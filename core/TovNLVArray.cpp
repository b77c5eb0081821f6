#include "core/TovNLVArray.h"

#include <algorithm>
#include <climits>
#include <new>

TovNLVArray::TovNLVArray() noexcept
    : heap(nullptr), inlineStore{nullptr, nullptr, nullptr}, count(0), capacity(kInlineCapacity)
{
}

TovNLVArray::TovNLVArray(const TovNLVArray& other) : TovNLVArray()
{
  copy(other);
}

TovNLVArray& TovNLVArray::operator=(const TovNLVArray& other)
{
  if (this != &other)
    copy(other);
  return *this;
}

TovNLVArray::~TovNLVArray()
{
  clear();
}

void* TovNLVArray::getElement(int index) const
{
  return index >= 0 && index < count ? store()[index] : nullptr;
}

void TovNLVArray::setElement(int index, void* value)
{
  if (index >= 0 && index < count)
    store()[index] = value;
}

void TovNLVArray::growTo(int n)
{
  if (n <= capacity)
    return;

  constexpr int kStep = 16;
  if (n > INT_MAX - kStep)
    throw std::bad_alloc();
  const int newCapacity = n / kStep * kStep + kStep;

  void** const newHeap = new void*[static_cast<std::size_t>(newCapacity)];
  std::copy_n(store(), count, newHeap);
  delete[] heap;
  heap = newHeap;
  capacity = newCapacity;
}

void TovNLVArray::append(void* value)
{
  if (count == INT_MAX)
    throw std::bad_alloc(); // GCOVR_EXCL_LINE: 16 GiB of elements
  growTo(count + 1);
  store()[count] = value;
  ++count;
}

void TovNLVArray::copy(const TovNLVArray& other)
{
  if (this == &other)
    return;

  // The old elements are of no use to the copy, so that growing moves none.
  count = 0;
  growTo(other.count);
  std::copy_n(other.store(), other.count, store());
  count = other.count;
}

void TovNLVArray::clear()
{
  delete[] heap;
  heap = nullptr;
  count = 0;
  capacity = kInlineCapacity;
}
