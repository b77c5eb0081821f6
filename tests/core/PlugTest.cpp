#include "core/TovPlug.h"

#include <atomic>
#include <cfloat>
#include <climits>
#include <thread>

#include <gtest/gtest.h>

namespace {

TEST(Plug, FreshPlugReadsZero)
{
  const TovPlug plug;
  EXPECT_EQ(plug.asInt(), 0);
  EXPECT_EQ(plug.asFloat(), 0.0f);
}

TEST(Plug, NumbersConvertToBothTypes)
{
  const struct {
    const char* text;
    int asInt;
    float asFloat;
  } rows[] = {
      {"0", 0, 0.0f},       {"1", 1, 1.0f},         {"-1", -1, -1.0f},
      {"44100", 44100, 44100.0f}, {"24", 24, 24.0f}, {"23.976", 23, 23.976f},
      {"-23.976", -23, -23.976f}, {"0.999", 0, 0.999f}, {"-0.5", 0, -0.5f},
      {"1e3", 1000, 1000.0f}, {"29.97", 29, 29.97f},
  };
  for (const auto& row : rows) {
    TovPlug plug;
    plug.set(row.text);
    EXPECT_EQ(plug.asInt(), row.asInt) << row.text;
    EXPECT_EQ(plug.asFloat(), row.asFloat) << row.text;
  }
}

TEST(Plug, WholeNumbersKeepAllTheirDigitsAsIntegers)
{
  TovPlug plug;
  plug.set("2147483647");
  EXPECT_EQ(plug.asInt(), INT_MAX);
  plug.set("-2147483648");
  EXPECT_EQ(plug.asInt(), INT_MIN);
  plug.set("16777217");
  EXPECT_EQ(plug.asInt(), 16777217);
  plug.set("-2147483647");
  EXPECT_EQ(plug.asInt(), -2147483647);
}

TEST(Plug, TextThatIsNoNumberReadsZero)
{
  for (const char* text : {"", " ", "abc", "-", "+", ".", "e5", "on", "true", "--5", "\n", "nan"}) {
    TovPlug plug;
    plug.set("5");
    plug.set(text);
    EXPECT_EQ(plug.asInt(), 0) << '"' << text << '"';
    EXPECT_EQ(plug.asFloat(), 0.0f) << '"' << text << '"';
  }
}

TEST(Plug, NullReadsZero)
{
  TovPlug plug;
  plug.set("5");
  plug.set(nullptr);
  EXPECT_EQ(plug.asInt(), 0);
  EXPECT_EQ(plug.asFloat(), 0.0f);
}

TEST(Plug, IntegersOutOfRangeSaturate)
{
  for (const char* text : {"2147483648", "99999999999", "1e30", "1e300", "1e4000",
                           "999999999999999999999999999999999"}) {
    TovPlug plug;
    plug.set(text);
    EXPECT_EQ(plug.asInt(), INT_MAX) << text;
  }
  for (const char* text : {"-2147483649", "-99999999999", "-1e30", "-1e300", "-1e4000"}) {
    TovPlug plug;
    plug.set(text);
    EXPECT_EQ(plug.asInt(), INT_MIN) << text;
  }
}

TEST(Plug, FloatsOutOfRangeSaturate)
{
  TovPlug plug;
  for (const char* text : {"1e39", "1e300", "1e4000"}) {
    plug.set(text);
    EXPECT_GE(plug.asFloat(), FLT_MAX) << text;
  }
  for (const char* text : {"-1e39", "-1e300", "-1e4000"}) {
    plug.set(text);
    EXPECT_LE(plug.asFloat(), -FLT_MAX) << text;
  }
  plug.set("1e-400");
  EXPECT_EQ(plug.asFloat(), 0.0f);
}

TEST(Plug, TextIsNotKept)
{
  char text[] = "12";
  TovPlug plug;
  plug.set(text);
  text[0] = '9';
  EXPECT_EQ(plug.asInt(), 12);
}

TEST(Plug, LastSetHolds)
{
  TovPlug plug;
  plug.set("1");
  plug.set("2.5");
  EXPECT_EQ(plug.asInt(), 2);
  EXPECT_EQ(plug.asFloat(), 2.5f);
}

TEST(PlugThreads, ReaderSeesOneOfTheValuesThatWereSet)
{
  TovPlug plug;
  plug.set("1111");
  std::atomic<bool> isDone{false};
  bool hasStrayValue = false;
  std::thread reader([&] {
    while (!isDone) {
      const int asInt = plug.asInt();
      const float asFloat = plug.asFloat();
      hasStrayValue |= asInt != 1111 && asInt != -2222;
      hasStrayValue |= asFloat != 1111.0f && asFloat != -2222.0f;
    }
  });
  for (int i = 0; i < 50000; ++i)
    plug.set(i % 2 ? "1111" : "-2222");
  isDone = true;
  reader.join();
  EXPECT_FALSE(hasStrayValue);
  EXPECT_EQ(plug.asInt(), 1111);
}

} // namespace
