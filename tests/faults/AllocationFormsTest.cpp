// Every form of operator new and operator delete goes through the seam.  What
// is left out shows under a sanitizer, which brings a form of its own; else the
// system's form goes on to one that is replaced.

#include <cstdint>
#include <new>

#include "tests/faults/FaultSeam.h"
#include "tests/support/AllocationForms.h"

namespace {

using namespace support;

TEST(AllocationForms, AreCounted)
{
  for (const AllocationForm& form : allocationForms()) {
    const TakenBlocks blocks;
    void* const block = form.take();
    const std::size_t taken = blocks.left();
    form.give(block);
    const std::size_t left = blocks.left();
    EXPECT_EQ(taken, 1u) << form.name;
    EXPECT_EQ(left, 0u) << form.name;
  }
}

TEST(AllocationForms, FailAsTheyPromise)
{
  for (const AllocationForm& form : allocationForms()) {
    Fault fault(FaultKind::Allocation, 1, FaultReach::CallingThread);
    void* block = nullptr;
    bool hasThrown = false;
    fault.arm();
    try {
      block = form.take();
    } catch (const std::bad_alloc&) {
      hasThrown = true;
    }
    fault.disarm();
    EXPECT_TRUE(fault.happened()) << form.name;
    EXPECT_EQ(block, nullptr) << form.name;
    EXPECT_EQ(hasThrown, form.throws) << form.name;
  }
}

} // namespace
