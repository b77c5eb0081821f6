#include "core/TovBuffer.h"

#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "tests/core/AllocationCounter.h"

namespace {

bool isZero(const TovBuffer& buffer)
{
  return std::all_of(buffer.getData(), buffer.getData() + buffer.getSize(),
                     [](unsigned char byte) { return byte == 0; });
}

TEST(Buffer, FreshBufferIsEmpty)
{
  const TovBuffer buffer;
  EXPECT_EQ(buffer.getData(), nullptr);
  EXPECT_EQ(buffer.getSize(), 0u);
}

TEST(Buffer, AllocateMakesThatManyZeroBytes)
{
  for (const unsigned long bytes : {1ul, 3ul, 1024ul, 1000003ul}) {
    TovBuffer buffer;
    buffer.allocate(bytes);
    ASSERT_NE(buffer.getData(), nullptr);
    EXPECT_EQ(buffer.getSize(), bytes);
    EXPECT_TRUE(isZero(buffer)) << bytes << " bytes";
    std::memset(buffer.getData(), 0xff, bytes); // all of it is writable
  }
}

TEST(Buffer, AllocateReplacesTheBlock)
{
  TovBuffer buffer;
  buffer.allocate(100);
  std::memset(buffer.getData(), 0xff, 100);
  for (const unsigned long bytes : {100ul, 50ul, 2000ul}) {
    buffer.allocate(bytes);
    ASSERT_NE(buffer.getData(), nullptr);
    EXPECT_EQ(buffer.getSize(), bytes);
    EXPECT_TRUE(isZero(buffer)) << bytes << " bytes";
    std::memset(buffer.getData(), 0xff, bytes);
  }
}

TEST(Buffer, AllocateOfNothingFreesTheBlock)
{
  TovBuffer buffer;
  buffer.allocate(10);
  const support::AllocationCounter counter;
  buffer.allocate(0);
  EXPECT_EQ(buffer.getData(), nullptr);
  EXPECT_EQ(buffer.getSize(), 0u);
  EXPECT_EQ(counter.deallocations(), 1);
  buffer.allocate(0);
  EXPECT_EQ(buffer.getData(), nullptr);
  EXPECT_EQ(counter.allocations(), 0);
}

TEST(Buffer, EveryAllocationIsFreed)
{
  const support::AllocationCounter counter;
  {
    TovBuffer buffer;
    buffer.allocate(10);
    buffer.allocate(20);
  }
  EXPECT_EQ(counter.allocations(), 2);
  EXPECT_EQ(counter.deallocations(), 2);
}

} // namespace
