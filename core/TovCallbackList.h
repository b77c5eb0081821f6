#pragma once

#include <algorithm>
#include <cstddef>

#include "core/TovLockGuard.h"
#include "core/TovPArray.h"

/** Functions that are to be called, each with a pointer of its owner's, in the
 *  order in which they were added.
 *
 *  Any thread.  A Run calls nothing with the list's lock held, so that what is
 *  called may change the list: what is removed meanwhile is not called any
 *  more, what is added is called from the next run on.  A call that runs on
 *  another thread may still be under way after its removal.
 */
template <typename Function>
class TovCallbackList {
public:
  TovCallbackList() = default;
  TovCallbackList(const TovCallbackList&) = delete;
  TovCallbackList& operator=(const TovCallbackList&) = delete;
  ~TovCallbackList() { delete[] functions; }

  /** The same pair may be added more than once.  Allocates every tenth time. */
  void add(Function function, void* pointer)
  {
    const TovLockGuard guard(lock);
    if (count == capacity)
      grow();
    data.append(pointer);
    functions[count] = function;
    ++count;
  }

  /** Removes the first entry of the function, if there is one. */
  void removeFirst(Function function)
  {
    const TovLockGuard guard(lock);
    Function* const found = std::find(functions, functions + count, function);
    if (found != functions + count)
      erase(static_cast<int>(found - functions));
  }

  /** Removes every entry of the pair. */
  void removeEvery(Function function, void* pointer)
  {
    const TovLockGuard guard(lock);
    for (int i = 0; i < count;) {
      if (functions[i] == function && data[static_cast<unsigned long>(i)] == pointer)
        erase(i);
      else
        ++i;
    }
  }

  /** One walk over the list.  Walks may overlap, on one thread (a callback
   *  that leads to the next walk) and on several. */
  class Run {
  public:
    explicit Run(TovCallbackList& l) : list(l)
    {
      const TovLockGuard guard(list.lock);
      end = list.count;
      outer = list.runs;
      list.runs = this;
    }

    /** Runs of several threads need not end in the order they began. */
    ~Run()
    {
      const TovLockGuard guard(list.lock);
      Run** link = &list.runs;
      while (*link != this)
        link = &(*link)->outer;
      *link = outer;
    }

    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    /** The next entry to call, if there is one. */
    bool take(Function& function, void*& pointer)
    {
      const TovLockGuard guard(list.lock);
      if (next >= end)
        return false;
      function = list.functions[next];
      pointer = list.data[static_cast<unsigned long>(next)];
      ++next;
      return true;
    }

  private:
    friend class TovCallbackList;
    TovCallbackList& list;
    int next = 0;         ///< entry to call next; protected by the list's lock
    int end = 0;          ///< first entry not to call; protected by the list's lock
    Run* outer = nullptr; ///< the run begun before this one and not ended yet
  };

private:
  static constexpr int kGrowth = 10;

  void grow()
  {
    Function* const grown = new Function[static_cast<std::size_t>(capacity + kGrowth)];
    std::copy_n(functions, count, grown);
    delete[] functions;
    functions = grown;
    capacity += kGrowth;
  }

  void erase(int index)
  {
    std::copy(functions + index + 1, functions + count, functions + index);
    data.removeByIndex(static_cast<unsigned long>(index));
    --count;
    for (Run* run = runs; run; run = run->outer) {
      run->next -= index < run->next ? 1 : 0;
      run->end -= index < run->end ? 1 : 0;
    }
  }

  Function* functions = nullptr; ///< owned array; all fields protected by lock
  int capacity = 0;              ///< slots of functions
  int count = 0;                 ///< entries in use
  TovPArray<void> data;          ///< same index
  Run* runs = nullptr;           ///< walks under way, newest first
  unsigned int lock = 0;         ///< innermost: nothing is called with it held
};
