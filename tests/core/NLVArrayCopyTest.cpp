#include "core/TovNLVArray.h"

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "tests/core/AllocationCounter.h"

namespace {

void* word(std::intptr_t value)
{
  return reinterpret_cast<void*>(value);
}

TovNLVArray arrayOf(int count, int first)
{
  TovNLVArray array;
  for (int i = 0; i < count; ++i)
    array.append(word(first + i));
  return array;
}

std::vector<void*> elementsOf(const TovNLVArray& array)
{
  std::vector<void*> elements;
  for (int i = 0; i < array.getCount(); ++i)
    elements.push_back(array.getElement(i));
  return elements;
}

const int kSizes[] = {0, 1, 2, 3, 4, 5, 15, 16, 17, 31, 32, 33, 47, 48, 100};

int grownCapacity(int capacity, int count)
{
  return count > capacity ? count / 16 * 16 + 16 : capacity;
}

TEST(NLVArrayCopy, FiveElementsIntoAnEmptyArrayGiveCapacitySixteen)
{
  const TovNLVArray source = arrayOf(5, 100);
  TovNLVArray target;
  target.copy(source);
  EXPECT_EQ(target.getCapacity(), 16);
  EXPECT_EQ(elementsOf(target), elementsOf(arrayOf(5, 100)));
}

TEST(NLVArrayCopy, TwoElementsStayInTheInlineStore)
{
  const TovNLVArray source = arrayOf(2, 100);
  const support::AllocationCounter counter;
  TovNLVArray target;
  target.copy(source);
  EXPECT_EQ(counter.allocations(), 0);
  EXPECT_EQ(target.getCapacity(), 3);
  ASSERT_EQ(target.getCount(), 2);
  EXPECT_EQ(target.getElement(0), word(100));
  EXPECT_EQ(target.getElement(1), word(101));
}

TEST(NLVArrayCopy, TwoElementsOfAHeapStoreComeToTheInlineStore)
{
  TovNLVArray source = arrayOf(2, 100);
  source.growTo(20);
  ASSERT_EQ(source.getCapacity(), 32);
  TovNLVArray target;
  target.copy(source);
  EXPECT_EQ(target.getCapacity(), 3);
  EXPECT_EQ(elementsOf(target), elementsOf(source));
}

// Every pair of sizes, so that the old store is smaller than the other's count
// in all ways; reading past it shows under the address sanitizer.
TEST(NLVArrayCopy, AnySizeIntoAnySizeGivesTheSourcesElements)
{
  for (const int sourceCount : kSizes) {
    for (const int targetCount : kSizes) {
      SCOPED_TRACE(testing::Message() << sourceCount << " into " << targetCount);
      const TovNLVArray source = arrayOf(sourceCount, 100);
      TovNLVArray target = arrayOf(targetCount, 9000);
      const int capacity = target.getCapacity();
      target.copy(source);
      EXPECT_EQ(target.getCapacity(), grownCapacity(capacity, sourceCount));
      EXPECT_EQ(elementsOf(target), elementsOf(arrayOf(sourceCount, 100)));
      EXPECT_EQ(elementsOf(source), elementsOf(arrayOf(sourceCount, 100)));
    }
  }
}

TEST(NLVArrayCopy, ShorterCopyKeepsTheStoreAndAllocatesNothing)
{
  const TovNLVArray source = arrayOf(4, 100);
  TovNLVArray target = arrayOf(40, 9000);
  const support::AllocationCounter counter;
  target.copy(source);
  EXPECT_EQ(counter.allocations(), 0);
  EXPECT_EQ(counter.deallocations(), 0);
  EXPECT_EQ(target.getCapacity(), 48);
}

TEST(NLVArrayCopy, CopyIntoALargerStoreFreesTheOldOne)
{
  const TovNLVArray source = arrayOf(40, 100);
  TovNLVArray target = arrayOf(10, 9000);
  const support::AllocationCounter counter;
  target.copy(source);
  EXPECT_EQ(counter.allocations(), 1);
  EXPECT_EQ(counter.deallocations(), 1);
}

TEST(NLVArrayCopy, CopyOntoItselfChangesNothing)
{
  for (const int count : kSizes) {
    TovNLVArray array = arrayOf(count, 100);
    const int capacity = array.getCapacity();
    array.copy(array);
    EXPECT_EQ(array.getCapacity(), capacity);
    EXPECT_EQ(elementsOf(array), elementsOf(arrayOf(count, 100))) << count << " elements";
  }
}

TEST(NLVArrayCopy, AssignmentToItselfChangesNothingAndReturnsTheArray)
{
  for (const int count : kSizes) {
    TovNLVArray array = arrayOf(count, 100);
    const TovNLVArray& alias = array;
    EXPECT_EQ(&(array = alias), &array);
    EXPECT_EQ(elementsOf(array), elementsOf(arrayOf(count, 100))) << count << " elements";
  }
}

TEST(NLVArrayCopy, CopyConstructorAndAssignmentCopy)
{
  for (const int count : kSizes) {
    const TovNLVArray source = arrayOf(count, 100);
    const TovNLVArray constructed(source);
    TovNLVArray assigned = arrayOf(4, 9000);
    EXPECT_EQ(&(assigned = source), &assigned);
    EXPECT_EQ(constructed.getCapacity(), grownCapacity(3, count));
    EXPECT_EQ(assigned.getCapacity(), grownCapacity(16, count));
    EXPECT_EQ(elementsOf(constructed), elementsOf(source)) << count << " elements";
    EXPECT_EQ(elementsOf(assigned), elementsOf(source)) << count << " elements";
  }
}

TEST(NLVArrayCopy, CopiesHaveStoresOfTheirOwn)
{
  for (const int count : {3, 5}) {
    TovNLVArray source = arrayOf(count, 100);
    TovNLVArray duplicate(source);
    source.setElement(0, word(1));
    source.append(word(2));
    duplicate.setElement(1, word(3));
    EXPECT_EQ(duplicate.getElement(0), word(100));
    EXPECT_EQ(duplicate.getCount(), count);
    EXPECT_EQ(source.getElement(1), word(101));
    source.clear();
    EXPECT_EQ(duplicate.getElement(count - 1), word(100 + count - 1));
  }
}

TEST(NLVArrayCopy, PointedToDataIsShared)
{
  float sample = 0.25f;
  TovNLPArray<float> source;
  source.append(&sample);
  const TovNLPArray<float> duplicate(source);
  EXPECT_EQ(duplicate[0], &sample);
  sample = 0.75f;
  EXPECT_EQ(*duplicate[0], 0.75f);
}

TEST(NLVArrayCopy, EveryAllocationIsFreed)
{
  const support::AllocationCounter counter;
  {
    TovNLVArray first = arrayOf(50, 100);
    TovNLVArray second(first);
    TovNLVArray third;
    third = second;
    second.clear();
    first.copy(second);
    third.copy(third);
  }
  EXPECT_GT(counter.allocations(), 0);
  EXPECT_EQ(counter.allocations(), counter.deallocations());
}

} // namespace
