#include "core/TovNLVArray.h"

#include <climits>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/core/AllocationCounter.h"

namespace {

static_assert(sizeof(TovNLArray<int>) == sizeof(TovNLVArray));
static_assert(sizeof(TovNLPArray<float>) == sizeof(TovNLVArray));
static_assert(std::is_convertible_v<TovNLArray<int>*, TovNLVArray*>);
static_assert(std::is_convertible_v<TovNLPArray<float>*, TovNLVArray*>);
static_assert(std::is_same_v<decltype(std::declval<const TovNLArray<int>&>()[0]), int>);
static_assert(std::is_same_v<decltype(std::declval<const TovNLPArray<float>&>()[0]), float*>);

const int kValues[] = {0, -1, 1, INT_MIN, INT_MAX, -32768, 65536, -2};

TEST(NLArray, ValuesOfEitherSignRoundTripInEitherStore)
{
  TovNLArray<int> array;
  int count = 0;
  for (const int value : kValues) {
    array.append(value);
    ++count;
    ASSERT_EQ(array.getCount(), count);
    for (int i = 0; i < count; ++i)
      ASSERT_EQ(array[i], kValues[i]) << "element " << i << " of " << count;
  }
  EXPECT_EQ(array.getCapacity(), 16);
}

TEST(NLArray, NarrowTypesKeepTheirSign)
{
  TovNLArray<short> array;
  array.append(-32768);
  array.append(32767);
  TovNLArray<unsigned char> bytes;
  bytes.append(255);
  EXPECT_EQ(array[0], -32768);
  EXPECT_EQ(array[1], 32767);
  EXPECT_EQ(bytes[0], 255);
}

TEST(NLArray, SetReplacesAValueInEitherStore)
{
  for (const int count : {2, 6}) {
    TovNLArray<int> array;
    for (int i = 0; i < count; ++i)
      array.append(i);
    array.set(1, INT_MIN);
    EXPECT_EQ(array[1], INT_MIN);
    EXPECT_EQ(array[0], 0);
    EXPECT_EQ(array.getCount(), count);
  }
}

TEST(NLArray, IndicesOutsideTheCountReadZeroAndSetNothing)
{
  TovNLArray<int> array;
  array.append(-7);
  for (const int index : {INT_MIN, -1, 1, 2, 3, 16, INT_MAX}) {
    array.set(index, 99);
    EXPECT_EQ(array[index], 0) << index;
  }
  EXPECT_EQ(array.getCount(), 1);
  EXPECT_EQ(array[0], -7);
}

TEST(NLArray, CopiesHoldTheSameValues)
{
  TovNLArray<int> source;
  for (const int value : kValues)
    source.append(value);
  const TovNLArray<int> constructed(source);
  TovNLArray<int> assigned;
  assigned = source;
  TovNLArray<int> copied;
  copied.copy(source);
  for (int i = 0; i < source.getCount(); ++i) {
    EXPECT_EQ(constructed[i], kValues[i]);
    EXPECT_EQ(assigned[i], kValues[i]);
    EXPECT_EQ(copied[i], kValues[i]);
  }
}

TEST(NLArray, FreshArrayIsTheUntypedFreshArray)
{
  const support::AllocationCounter counter;
  TovNLArray<int> values;
  TovNLPArray<float> pointers;
  EXPECT_EQ(values.getCount(), 0);
  EXPECT_EQ(values.getCapacity(), 3);
  EXPECT_EQ(pointers.getCount(), 0);
  EXPECT_EQ(pointers.getCapacity(), 3);
  values.append(1);
  pointers.append(nullptr);
  EXPECT_EQ(counter.allocations(), 0);
}

TEST(NLPArray, PointersRoundTripInEitherStore)
{
  std::vector<float> samples(20);
  TovNLPArray<float> array;
  for (float& sample : samples)
    array.append(&sample);
  ASSERT_EQ(array.getCount(), 20);
  EXPECT_EQ(array.getCapacity(), 32);
  for (int i = 0; i < 20; ++i)
    EXPECT_EQ(array[i], samples.data() + i);
}

TEST(NLPArray, NullIsAnElement)
{
  float sample = 0.0f;
  TovNLPArray<float> array;
  array.append(nullptr);
  array.append(&sample);
  EXPECT_EQ(array.getCount(), 2);
  EXPECT_EQ(array[0], nullptr);
  EXPECT_EQ(array[1], &sample);
}

TEST(NLPArray, SetReplacesAPointerAndNothingOutsideTheCount)
{
  float samples[2] = {};
  TovNLPArray<float> array;
  array.append(samples);
  array.set(0, samples + 1);
  array.set(1, samples);
  array.set(-1, samples);
  EXPECT_EQ(array.getCount(), 1);
  EXPECT_EQ(array[0], samples + 1);
  EXPECT_EQ(array[1], nullptr);
  EXPECT_EQ(array[-1], nullptr);
}

TEST(NLPArray, ElementsAreReadableThroughTheUntypedArray)
{
  float sample = 0.0f;
  TovNLPArray<float> array;
  array.append(&sample);
  const TovNLVArray& untyped = array;
  EXPECT_EQ(untyped.getElement(0), &sample);
}

} // namespace
