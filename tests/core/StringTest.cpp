#include "core/TovString.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/core/AllocationCounter.h"

namespace {

TEST(String, HoldsACopyOfItsText)
{
  char text[] = "SetAudio";
  const TovString string(text);
  text[0] = 'x';
  EXPECT_STREQ(string.c_str(), "SetAudio");
}

TEST(String, NullAndEmptyTextAreTheEmptyString)
{
  EXPECT_STREQ(TovString(nullptr).c_str(), "");
  EXPECT_STREQ(TovString("").c_str(), "");
}

TEST(String, LongTextsAreWhole)
{
  const std::string text(1000000, 'l');
  EXPECT_EQ(TovString(text.c_str()).c_str(), text);
}

TEST(String, CopiesAreIndependentOfTheirSource)
{
  TovString copy("old");
  {
    const TovString source("new text");
    const TovString constructed(source);
    EXPECT_STREQ(constructed.c_str(), "new text");
    EXPECT_EQ(&(copy = source), &copy);
    EXPECT_STREQ(source.c_str(), "new text");
  }
  EXPECT_STREQ(copy.c_str(), "new text");
}

TEST(String, EmptyStringsCopy)
{
  const TovString empty(nullptr);
  const TovString constructed(empty);
  TovString assigned("text");
  assigned = empty;
  EXPECT_STREQ(constructed.c_str(), "");
  EXPECT_STREQ(assigned.c_str(), "");
}

TEST(String, AssignmentToItselfChangesNothing)
{
  TovString string("itself");
  const TovString& alias = string;
  EXPECT_EQ(&(string = alias), &string);
  EXPECT_STREQ(string.c_str(), "itself");
}

TEST(String, EveryAllocationIsFreed)
{
  const support::AllocationCounter counter;
  {
    TovString first("a text too long for any inline store of a string");
    TovString second(first);
    second = TovString("another text that is too long for an inline store");
    first = second;
  }
  EXPECT_EQ(counter.allocations(), counter.deallocations());
}

} // namespace
