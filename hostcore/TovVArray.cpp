#include "core/TovVArray.h"

#include <utility>
#include <vector>

struct TovVArray::Store {
  std::vector<void*> elements;
};

constinit const TovVArray TovVArray::null;

TovVArray::TovVArray(const TovVArray& other)
    : store(other.store ? new Store(*other.store) : nullptr)
{
}

TovVArray& TovVArray::operator=(const TovVArray& other)
{
  TovVArray copy(other);
  std::swap(store, copy.store);
  return *this;
}

TovVArray::~TovVArray()
{
  clear();
}

unsigned long TovVArray::getCount() const
{
  return store ? static_cast<unsigned long>(store->elements.size()) : 0;
}

void* TovVArray::getElement(unsigned long index) const
{
  return index < getCount() ? store->elements[index] : nullptr;
}

void TovVArray::append(void* element)
{
  if (!store)
    store = new Store;
  store->elements.push_back(element);
}

void TovVArray::removeByIndex(unsigned long index)
{
  if (index < getCount())
    store->elements.erase(store->elements.begin() + static_cast<std::ptrdiff_t>(index));
}

void TovVArray::clear()
{
  delete store;
  store = nullptr;
}
