#pragma once

#include "core/TovVArray.h"

/** The typed face of the host's pointer array. */
template <typename T>
class TovPArray : public TovVArray {
public:
  TovPArray() : TovVArray(TovVArray::null) {}
  void append(T* element) { TovVArray::append(element); }
  T* operator[](unsigned long index) const { return static_cast<T*>(getElement(index)); }
};
