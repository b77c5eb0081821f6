#pragma once

namespace support {

/** Counts what the calling thread takes from and gives back to operator new
 *  and operator delete, from its construction on. */
class AllocationCounter {
public:
  AllocationCounter();
  long long allocations() const;
  long long deallocations() const;

private:
  long long allocationsBefore;
  long long deallocationsBefore;
};

/** Blocks of operator new that the program holds now, of all threads. */
long long blocksHeld();

/** Lets one allocation of the calling thread fail while it lives: the first
 *  for 0, the second for 1, and so on. */
class FailingAllocation {
public:
  explicit FailingAllocation(long long successesBefore);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  bool happened() const;
};

} // namespace support
