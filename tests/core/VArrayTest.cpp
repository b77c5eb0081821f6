#include "core/TovPArray.h"

#include <random>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "tests/core/AllocationCounter.h"

namespace {

static_assert(sizeof(TovVArray) == sizeof(void*));
static_assert(sizeof(TovPArray<int>) == sizeof(void*));
static_assert(sizeof(TovPArray<void>) == sizeof(void*));
static_assert(std::is_convertible_v<TovPArray<int>*, TovVArray*>);
static_assert(!std::is_polymorphic_v<TovVArray>);

std::vector<void*> elementsOf(const TovVArray& array)
{
  std::vector<void*> elements;
  for (unsigned long i = 0; i < array.getCount(); ++i)
    elements.push_back(array.getElement(i));
  return elements;
}

int targets[300];

TovVArray arrayOf(int count)
{
  TovVArray array;
  for (int i = 0; i < count; ++i)
    array.append(targets + i);
  return array;
}

std::vector<void*> firstTargets(int count)
{
  std::vector<void*> elements;
  for (int i = 0; i < count; ++i)
    elements.push_back(targets + i);
  return elements;
}

TEST(VArray, FreshArrayIsEmptyAndAllocatesNothing)
{
  const support::AllocationCounter counter;
  const TovVArray array;
  EXPECT_EQ(array.getCount(), 0u);
  EXPECT_EQ(array.getElement(0), nullptr);
  EXPECT_EQ(counter.allocations(), 0);
}

TEST(VArray, AppendKeepsTheOrder)
{
  for (const int count : {1, 2, 3, 16, 17, 300})
    EXPECT_EQ(elementsOf(arrayOf(count)), firstTargets(count));
}

TEST(VArray, NullPointersAreElements)
{
  TovVArray array;
  array.append(nullptr);
  array.append(targets);
  EXPECT_EQ(elementsOf(array), (std::vector<void*>{nullptr, targets}));
}

TEST(VArray, RemoveByIndexMovesLaterElementsDown)
{
  for (unsigned long index = 0; index < 5; ++index) {
    TovVArray array = arrayOf(5);
    array.removeByIndex(index);
    std::vector<void*> expected = firstTargets(5);
    expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(index));
    EXPECT_EQ(elementsOf(array), expected) << "without element " << index;
    EXPECT_EQ(array.getElement(4), nullptr);
  }
}

TEST(VArray, RemoveByIndexOutsideTheCountChangesNothing)
{
  TovVArray array = arrayOf(3);
  for (const unsigned long index : {3ul, 4ul, 1000ul, ~0ul})
    array.removeByIndex(index);
  EXPECT_EQ(elementsOf(array), firstTargets(3));
  TovVArray empty;
  empty.removeByIndex(0);
  EXPECT_EQ(empty.getCount(), 0u);
}

TEST(VArray, ElementsOutsideTheCountReadAsNull)
{
  const TovVArray array = arrayOf(3);
  for (const unsigned long index : {3ul, 4ul, 1000ul, ~0ul})
    EXPECT_EQ(array.getElement(index), nullptr) << index;
}

TEST(VArray, RemovingAllElementsLeavesAUsableArray)
{
  TovVArray array = arrayOf(20);
  while (array.getCount())
    array.removeByIndex(0);
  array.append(targets + 7);
  EXPECT_EQ(elementsOf(array), std::vector<void*>{targets + 7});
}

TEST(VArray, ClearEmptiesAndLeavesAUsableArray)
{
  TovVArray array = arrayOf(20);
  array.clear();
  EXPECT_EQ(array.getCount(), 0u);
  EXPECT_EQ(array.getElement(0), nullptr);
  array.clear();
  array.append(targets);
  EXPECT_EQ(elementsOf(array), firstTargets(1));
}

TEST(VArray, RandomOperationsMatchAReferenceSequence)
{
  std::mt19937 random(20240501);
  TovVArray array;
  std::vector<void*> model;
  for (int step = 0; step < 5000; ++step) {
    const unsigned long choice = random() % 100;
    if (choice < 60) {
      int* const element = targets + random() % 300;
      array.append(element);
      model.push_back(element);
    } else if (choice < 99) {
      const unsigned long index = random() % (model.size() + 2);
      array.removeByIndex(index);
      if (index < model.size())
        model.erase(model.begin() + static_cast<std::ptrdiff_t>(index));
    } else {
      array.clear();
      model.clear();
    }
    ASSERT_EQ(elementsOf(array), model) << "after step " << step;
  }
}

TEST(VArray, CopiesAreIndependent)
{
  TovVArray source = arrayOf(4);
  TovVArray constructed(source);
  TovVArray assigned = arrayOf(9);
  EXPECT_EQ(&(assigned = source), &assigned);
  source.removeByIndex(0);
  source.append(targets + 100);
  EXPECT_EQ(elementsOf(constructed), firstTargets(4));
  EXPECT_EQ(elementsOf(assigned), firstTargets(4));
  constructed.clear();
  EXPECT_EQ(elementsOf(assigned), firstTargets(4));
}

TEST(VArray, AssignmentToItselfChangesNothing)
{
  TovVArray array = arrayOf(6);
  const TovVArray& alias = array;
  EXPECT_EQ(&(array = alias), &array);
  EXPECT_EQ(elementsOf(array), firstTargets(6));
  TovVArray empty;
  const TovVArray& emptyAlias = empty;
  empty = emptyAlias;
  EXPECT_EQ(empty.getCount(), 0u);
}

TEST(VArray, SharedEmptyValueStaysEmptyWhenCopiesOfItGrow)
{
  EXPECT_EQ(TovVArray::null.getCount(), 0u);
  TovVArray copy(TovVArray::null);
  copy.append(targets);
  TovVArray assigned = arrayOf(3);
  assigned = TovVArray::null;
  EXPECT_EQ(assigned.getCount(), 0u);
  assigned.append(targets);
  TovPArray<int> typed;
  typed.append(targets);
  EXPECT_EQ(copy.getCount(), 1u);
  EXPECT_EQ(TovVArray::null.getCount(), 0u);
}

TEST(VArray, EveryAllocationIsFreed)
{
  const support::AllocationCounter counter;
  {
    TovVArray first = arrayOf(100);
    TovVArray second(first);
    first.clear();
    second = first;
    second.append(targets);
    first = second;
  }
  EXPECT_GT(counter.allocations(), 0);
  EXPECT_EQ(counter.allocations(), counter.deallocations());
}

TEST(PArray, FreshArrayIsTheSharedEmptyValue)
{
  const TovPArray<int> array;
  EXPECT_EQ(array.getCount(), 0u);
  EXPECT_EQ(array[0], nullptr);
}

TEST(PArray, TypedElementsRoundTrip)
{
  TovPArray<int> array;
  for (int i = 0; i < 40; ++i)
    array.append(targets + i);
  ASSERT_EQ(array.getCount(), 40u);
  for (unsigned long i = 0; i < 40; ++i)
    EXPECT_EQ(array[i], targets + i);
  EXPECT_EQ(array[40], nullptr);
  array.removeByIndex(3);
  EXPECT_EQ(array[3], targets + 4);
  const TovPArray<int> copy(array);
  array.clear();
  EXPECT_EQ(array.getCount(), 0u);
  EXPECT_EQ(copy.getCount(), 39u);
}

TEST(PArray, UntypedPointersAreElementsToo)
{
  TovPArray<void> array;
  array.append(targets + 1);
  EXPECT_EQ(array[0], static_cast<void*>(targets + 1));
}

} // namespace
