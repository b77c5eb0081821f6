#include "core/TovNLVArray.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

#include <gtest/gtest.h>

#include "tests/core/AllocationCounter.h"

namespace {

/** The fields of an array in their order. */
struct Fields {
  void** heap;
  void* inlineStore[3];
  int count;
  int capacity;
};

static_assert(sizeof(TovNLVArray) == sizeof(Fields));
static_assert(sizeof(Fields) == 4 * sizeof(void*) + 2 * sizeof(int));
static_assert(!std::is_polymorphic_v<TovNLVArray>);

Fields fieldsOf(const TovNLVArray& array)
{
  Fields fields;
  std::memcpy(&fields, static_cast<const void*>(&array), sizeof fields);
  return fields;
}

void* word(std::intptr_t value)
{
  return reinterpret_cast<void*>(value);
}

void appendWords(TovNLVArray& array, int count)
{
  for (int i = 0; i < count; ++i)
    array.append(word(1000 + i));
}

void expectWords(const TovNLVArray& array, int count)
{
  ASSERT_EQ(array.getCount(), count);
  for (int i = 0; i < count; ++i)
    ASSERT_EQ(array.getElement(i), word(1000 + i)) << "element " << i;
}

TEST(NLVArray, FreshArrayIsEmptyWithTheInlineStoreAndNoHeap)
{
  const support::AllocationCounter counter;
  const TovNLVArray array;
  EXPECT_EQ(fieldsOf(array).heap, nullptr);
  EXPECT_EQ(fieldsOf(array).count, 0);
  EXPECT_EQ(fieldsOf(array).capacity, 3);
  EXPECT_EQ(array.getCount(), 0);
  EXPECT_EQ(array.getCapacity(), 3);
  EXPECT_EQ(counter.allocations(), 0);
}

TEST(NLVArray, ThreeElementsLiveInlineAndAllocateNothing)
{
  const support::AllocationCounter counter;
  TovNLVArray array;
  appendWords(array, 3);
  EXPECT_EQ(counter.allocations(), 0);
  EXPECT_EQ(array.getCapacity(), 3);
  const Fields fields = fieldsOf(array);
  EXPECT_EQ(fields.heap, nullptr);
  EXPECT_EQ(fields.count, 3);
  EXPECT_EQ(fields.capacity, 3);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(fields.inlineStore[i], word(1000 + i)) << "element " << i;
  expectWords(array, 3);
}

TEST(NLVArray, FourthElementMovesAllToAHeapStoreOfSixteenInOrder)
{
  TovNLVArray array;
  appendWords(array, 3);
  const support::AllocationCounter counter;
  array.append(word(1003));
  EXPECT_EQ(counter.allocations(), 1);
  EXPECT_EQ(counter.deallocations(), 0);
  const Fields fields = fieldsOf(array);
  ASSERT_NE(fields.heap, nullptr);
  EXPECT_EQ(fields.count, 4);
  EXPECT_EQ(fields.capacity, 16);
  EXPECT_EQ(array.getCapacity(), 16);
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(fields.heap[i], word(1000 + i)) << "element " << i;
  expectWords(array, 4);
}

TEST(NLVArray, SixteenElementsFillTheFirstHeapStoreAndTheNextDoublesIt)
{
  TovNLVArray array;
  appendWords(array, 16);
  EXPECT_EQ(array.getCapacity(), 16);
  const support::AllocationCounter counter;
  array.append(word(1016));
  EXPECT_EQ(array.getCapacity(), 32);
  EXPECT_EQ(counter.allocations(), 1);
  EXPECT_EQ(counter.deallocations(), 1) << "the old heap store is freed";
  expectWords(array, 17);
}

TEST(NLVArray, ManyElementsKeepTheirOrder)
{
  TovNLVArray array;
  for (int i = 0; i < 1000; ++i) {
    array.append(word(1000 + i));
    const int expected = i < 3 ? 3 : (i / 16 + 1) * 16;
    ASSERT_EQ(array.getCapacity(), expected) << i + 1 << " elements";
  }
  expectWords(array, 1000);
}

TEST(NLVArray, GrowToRoundsDownToAMultipleOfSixteenAndAddsSixteen)
{
  const struct { int n, capacity; } rows[] = {{4, 16},  {15, 16}, {16, 32},   {17, 32},
                                              {31, 32}, {32, 48}, {100, 112}, {4096, 4112}};
  for (const auto& row : rows) {
    TovNLVArray array;
    appendWords(array, 2);
    array.growTo(row.n);
    EXPECT_EQ(array.getCapacity(), row.capacity) << "growTo " << row.n;
    expectWords(array, 2);
  }
}

TEST(NLVArray, GrowToFromAHeapStoreMovesTheElementsAndFreesTheOldStore)
{
  TovNLVArray array;
  appendWords(array, 9);
  const support::AllocationCounter counter;
  array.growTo(17);
  EXPECT_EQ(array.getCapacity(), 32);
  EXPECT_EQ(counter.allocations(), 1);
  EXPECT_EQ(counter.deallocations(), 1);
  expectWords(array, 9);
}

TEST(NLVArray, GrowToWithinTheInlineCapacityChangesNothing)
{
  TovNLVArray array;
  appendWords(array, 2);
  const support::AllocationCounter counter;
  for (const int n : {-2147483647 - 1, -16, -1, 0, 1, 2, 3})
    array.growTo(n);
  EXPECT_EQ(counter.allocations(), 0);
  EXPECT_EQ(fieldsOf(array).heap, nullptr);
  EXPECT_EQ(array.getCapacity(), 3);
  expectWords(array, 2);
}

TEST(NLVArray, GrowToWithinTheHeapCapacityKeepsTheStore)
{
  TovNLVArray array;
  appendWords(array, 5);
  void** const store = fieldsOf(array).heap;
  const support::AllocationCounter counter;
  for (const int n : {-1, 0, 3, 4, 5, 15, 16})
    array.growTo(n);
  EXPECT_EQ(counter.allocations(), 0);
  EXPECT_EQ(counter.deallocations(), 0);
  EXPECT_EQ(fieldsOf(array).heap, store);
  EXPECT_EQ(array.getCapacity(), 16);
  expectWords(array, 5);
}

TEST(NLVArray, ClearOfAnInlineArrayFreesNothing)
{
  TovNLVArray array;
  appendWords(array, 3);
  const support::AllocationCounter counter;
  array.clear();
  EXPECT_EQ(counter.deallocations(), 0);
  EXPECT_EQ(fieldsOf(array).heap, nullptr);
  EXPECT_EQ(array.getCount(), 0);
  EXPECT_EQ(array.getCapacity(), 3);
}

TEST(NLVArray, ClearOfAHeapArrayFreesItsStoreAndGoesBackToTheInlineStore)
{
  TovNLVArray array;
  appendWords(array, 20);
  const support::AllocationCounter counter;
  array.clear();
  EXPECT_EQ(counter.deallocations(), 1);
  EXPECT_EQ(fieldsOf(array).heap, nullptr);
  EXPECT_EQ(array.getCount(), 0);
  EXPECT_EQ(array.getCapacity(), 3);
  array.clear();
  EXPECT_EQ(counter.deallocations(), 1) << "a second clear frees nothing";
  appendWords(array, 3);
  EXPECT_EQ(counter.allocations(), 0) << "three elements stand inline again";
  expectWords(array, 3);
}

TEST(NLVArray, NothingButClearShrinksTheArray)
{
  TovNLVArray array;
  appendWords(array, 40);
  const TovNLVArray empty;
  array.copy(empty);
  EXPECT_EQ(array.getCount(), 0);
  EXPECT_EQ(array.getCapacity(), 48);
  array.growTo(1);
  EXPECT_EQ(array.getCapacity(), 48);
}

TEST(NLVArray, DestructorFreesTheHeapStore)
{
  const support::AllocationCounter counter;
  {
    TovNLVArray array;
    appendWords(array, 33);
  }
  EXPECT_EQ(counter.allocations(), 3);
  EXPECT_EQ(counter.deallocations(), 3);
}

TEST(NLVArray, ElementsOutsideTheCountReadAsNull)
{
  for (const int count : {0, 2, 3, 5, 16}) {
    TovNLVArray array;
    appendWords(array, count);
    for (const int index : {-2147483647 - 1, -16, -1, count, count + 1, 1000, 2147483647})
      EXPECT_EQ(array.getElement(index), nullptr) << index << " of " << count;
  }
}

TEST(NLVArray, ElementsLeftBehindByAShorterCopyAreNoLongerRead)
{
  TovNLVArray array;
  appendWords(array, 3);
  TovNLVArray shorter;
  appendWords(shorter, 1);
  array.copy(shorter);
  EXPECT_EQ(array.getElement(1), nullptr);
  EXPECT_EQ(array.getElement(2), nullptr);
}

TEST(NLVArray, SetElementReplacesOneElementInEitherStore)
{
  for (const int count : {3, 7}) {
    TovNLVArray array;
    appendWords(array, count);
    array.setElement(count - 1, word(5));
    EXPECT_EQ(array.getElement(count - 1), word(5));
    array.setElement(count - 1, word(1000 + count - 1));
    expectWords(array, count);
  }
}

TEST(NLVArray, SetElementOutsideTheCountChangesNothing)
{
  for (const int count : {0, 2, 3, 7, 16}) {
    TovNLVArray array;
    appendWords(array, count);
    const int capacity = array.getCapacity();
    for (const int index : {-2147483647 - 1, -1, count, count + 1, 1000, 2147483647})
      array.setElement(index, word(5));
    EXPECT_EQ(array.getCapacity(), capacity);
    expectWords(array, count);
    array.append(word(1000 + count));
    expectWords(array, count + 1);
  }
}

} // namespace
