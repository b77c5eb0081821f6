#pragma once

#include "core/TovLock.h"

/** Holds a lock word for a scope, on every way out of it. */
class TovLockGuard {
public:
  explicit TovLockGuard(unsigned int& lockWord) : word(lockWord) { TovLock::acquire(word); }
  ~TovLockGuard() { TovLock::release(word); }
  TovLockGuard(const TovLockGuard&) = delete;
  TovLockGuard& operator=(const TovLockGuard&) = delete;

private:
  unsigned int& word;
};
