// Every form of operator new and operator delete is counted.  What is left out
// shows under a sanitizer, which brings a form of its own; else the system's
// form goes on to one that is replaced.

#include <cstddef>

#include <gtest/gtest.h>

#include "tests/hostile/AllocatedBytes.h"
#include "tests/support/AllocationForms.h"

namespace {

using support::AllocatedBytes;
using support::AllocationForm;

TEST(AllocatedBytes, AreThoseOfEveryForm)
{
  for (const AllocationForm& form : support::allocationForms()) {
    const long long before = AllocatedBytes::now();
    void* const block = form.take();
    const long long taken = AllocatedBytes::now() - before;
    form.give(block);
    const long long left = AllocatedBytes::now() - before;
    EXPECT_GE(taken, static_cast<long long>(AllocationForm::kBytes)) << form.name;
    EXPECT_EQ(left, 0) << form.name;
  }
}

} // namespace
