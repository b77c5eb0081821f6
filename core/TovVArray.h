#pragma once

#include "core/TovExport.h"

/** The host's growable array of pointers, one word wide.
 *
 *  Owns its store, not what the elements point to.  Any thread, each its own
 *  object.
 */
class TOV_HOSTCORE_API TovVArray {
public:
  /** The shared empty value, ready before any constructor runs. */
  static const TovVArray null;

  constexpr TovVArray() noexcept : store(nullptr) {}
  TovVArray(const TovVArray& other);
  TovVArray& operator=(const TovVArray& other);
  ~TovVArray();

  unsigned long getCount() const;

  /** The element at @p index, or null where there is none. */
  void* getElement(unsigned long index) const;

  /** Adds one element at the end.  Allocates. */
  void append(void* element);

  /** Removes the element at @p index, later ones move down; does nothing
   *  where there is none. */
  void removeByIndex(unsigned long index);

  /** Removes all elements and frees the store. */
  void clear();

private:
  struct Store;
  Store* store; ///< null while empty
};
