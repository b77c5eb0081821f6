// An array that is asked for more elements than it can count.

#include <climits>
#include <new>

#include <gtest/gtest.h>

#include "core/TovNLVArray.h"

TEST(NLVArrayLimitTest, RoomThatCannotBeCountedIsRefusedAndNothingChanges)
{
  int values[4] = {};
  TovNLVArray array;
  for (int& value : values)
    array.append(&value);
  const int capacity = array.getCapacity();
  for (const int room : {INT_MAX, INT_MAX - 1, INT_MAX - 15})
    EXPECT_THROW(array.growTo(room), std::bad_alloc);
  EXPECT_EQ(4, array.getCount());
  EXPECT_EQ(capacity, array.getCapacity());
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(&values[i], array.getElement(i));
}
