#pragma once

#include <cstdint>

#include "core/TovExport.h"

/** A growable array of pointer-sized elements, the first three of which live
 *  inside the object.
 *
 *  Element i stands in the heap store when the capacity is above 3, else in
 *  the inline store; every reader goes by that rule.  The array never shrinks
 *  but through clear().  Elements are values: what they point to is shared.
 *
 *  Any thread, each its own object.  Up to three elements allocate nothing.
 */
class TOV_API TovNLVArray {
public:
  TovNLVArray() noexcept;
  TovNLVArray(const TovNLVArray& other);
  TovNLVArray& operator=(const TovNLVArray& other);
  ~TovNLVArray();

  int getCount() const { return count; }
  int getCapacity() const { return capacity; }

  /** The element at @p index, or null where there is none. */
  void* getElement(int index) const;

  /** Replaces the element at @p index; does nothing where there is none. */
  void setElement(int index, void* value);

  /** Makes room for at least @p n elements: n rounded down to a multiple of
   *  16, plus 16, once the capacity is exceeded.  Allocates. */
  void growTo(int n);

  /** Adds one element at the end.  Allocates when the store is full. */
  void append(void* value);

  /** Takes over the other's elements.  Allocates when the store is too small. */
  void copy(const TovNLVArray& other);

  /** Frees the heap store; the array is as if newly built. */
  void clear();

private:
  static constexpr int kInlineCapacity = 3;

  void* const* store() const { return capacity > kInlineCapacity ? heap : inlineStore; }
  void** store() { return capacity > kInlineCapacity ? heap : inlineStore; }

  void** heap;                        ///< the store when capacity is above 3, else null
  void* inlineStore[kInlineCapacity]; ///< the store while capacity is 3
  int count;                          ///< elements in use
  int capacity;                       ///< 3, or the slots of the heap store
};

/** TovNLVArray of small values, for instance a channel map (`TovNLArray<int>`). */
template <typename T>
class TovNLArray : public TovNLVArray {
  static_assert(sizeof(T) <= sizeof(void*), "an element is one pointer-sized word");

public:
  void append(T value) { TovNLVArray::append(toWord(value)); }
  T operator[](int index) const
  {
    return static_cast<T>(reinterpret_cast<std::intptr_t>(getElement(index)));
  }
  void set(int index, T value) { setElement(index, toWord(value)); }

private:
  static void* toWord(T value)
  {
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(value));
  }
};

/** TovNLVArray of pointers, for instance one buffer per channel
 *  (`TovNLPArray<float>`).  The array owns none of what it points to. */
template <typename T>
class TovNLPArray : public TovNLVArray {
public:
  void append(T* value) { TovNLVArray::append(value); }
  T* operator[](int index) const { return static_cast<T*>(getElement(index)); }
  void set(int index, T* value) { setElement(index, value); }
};
