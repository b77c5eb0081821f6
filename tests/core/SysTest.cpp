#include "core/TovSys.h"

#include <chrono>
#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "tests/core/ChildProcess.h"

namespace {

/** Whether sleep() returns at all, tried where an endless sleep is ended. */
int sleepInChild(double seconds)
{
  return support::runInChild([seconds] {
    TovSys::sleep(seconds);
    return 0;
  });
}

TEST(Sys, SleepOfNothingReturns)
{
  EXPECT_EQ(sleepInChild(0.0), 0);
  EXPECT_EQ(sleepInChild(-0.0), 0);
}

TEST(Sys, SleepOfANegativeTimeReturns)
{
  EXPECT_EQ(sleepInChild(-0.01), 0);
  EXPECT_EQ(sleepInChild(-1e300), 0);
  EXPECT_EQ(sleepInChild(-std::numeric_limits<double>::infinity()), 0);
}

TEST(Sys, SleepOfNanReturns)
{
  EXPECT_EQ(sleepInChild(std::nan("")), 0);
  EXPECT_EQ(sleepInChild(-std::nan("")), 0);
}

// Only a lower bound, which holds on a machine of any speed and load.
TEST(Sys, SleepLastsAtLeastItsTime)
{
  for (const double seconds : {0.0001, 0.01, 0.02}) {
    const auto before = std::chrono::steady_clock::now();
    TovSys::sleep(seconds);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::duration<double>(seconds));
  }
}

TEST(Sys, StrcasecmpIsZeroForTextsThatDifferInCaseOnly)
{
  EXPECT_EQ(TovSys::strcasecmp("", ""), 0);
  EXPECT_EQ(TovSys::strcasecmp("wav", "wav"), 0);
  EXPECT_EQ(TovSys::strcasecmp("AIFF", "aiff"), 0);
  EXPECT_EQ(TovSys::strcasecmp("Audio IFF", "aUDIO iff"), 0);
  EXPECT_EQ(TovSys::strcasecmp("abcdefghijklmnopqrstuvwxyz", "ABCDEFGHIJKLMNOPQRSTUVWXYZ"), 0);
}

TEST(Sys, StrcasecmpIsNotZeroForOtherTexts)
{
  const char* const pairs[][2] = {{"wav", "wave"}, {"", "a"},    {"aif", "wav"},
                                  {"aa", "ab"},    {"a b", "ab"}, {"1", "2"}};
  for (const auto& pair : pairs) {
    EXPECT_NE(TovSys::strcasecmp(pair[0], pair[1]), 0) << pair[0] << " and " << pair[1];
    EXPECT_NE(TovSys::strcasecmp(pair[1], pair[0]), 0) << pair[1] << " and " << pair[0];
  }
}

TEST(Sys, StrcasecmpJoinsLettersOfTwoCasesAndNothingElse)
{
  for (int first = 1; first < 256; ++first) {
    for (int second = 1; second < 256; ++second) {
      const auto folded = [](int c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; };
      const std::string a(1, static_cast<char>(first));
      const std::string b(1, static_cast<char>(second));
      ASSERT_EQ(TovSys::strcasecmp(a.c_str(), b.c_str()) == 0, folded(first) == folded(second))
          << first << " and " << second;
    }
  }
}

} // namespace
