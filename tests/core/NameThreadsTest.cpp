#include "core/TovName.h"

#include <array>
#include <atomic>
#include <barrier>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

constexpr int kThreads = 8;

TEST(NameThreads, EqualTextsInternedAtOnceAreOneSharedString)
{
  constexpr int kTexts = 2000;
  std::array<std::vector<TovName>, kThreads> names;
  std::barrier start(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&names, &start, t] {
      std::vector<TovName>& own = names[static_cast<std::size_t>(t)];
      own.resize(kTexts);
      start.arrive_and_wait();
      for (int i = 0; i < kTexts; ++i) {
        const int text = (i + t * 250) % kTexts;
        own[static_cast<std::size_t>(text)] = TovName::sprintf("concurrent text %d", text);
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  for (std::size_t i = 0; i < kTexts; ++i) {
    const std::string expected = "concurrent text " + std::to_string(i);
    for (const std::vector<TovName>& own : names) {
      ASSERT_EQ(own[i].c_str(), expected);
      ASSERT_EQ(own[i].c_str(), names[0][i].c_str()) << "one string for all threads";
      ASSERT_TRUE(own[i] == names[0][i]);
    }
  }
}

// The last name of a text dies on one thread while another interns the text:
// two threads share a text each, so that this comes often.
TEST(NameThreads, TextsThatComeAndGoKeepTheirText)
{
  const char* const texts[] = {"first to come", "second to come", "third to come", "last to come"};
  std::atomic<int> wrong{0};
  std::barrier start(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&wrong, &start, expected = texts[t / 2]] {
      start.arrive_and_wait();
      for (int i = 0; i < 50000; ++i) {
        const TovName first = TovName::getString(expected);
        const TovName second = first;
        if (std::strcmp(second.c_str(), expected) != 0)
          wrong.fetch_add(1);
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(wrong.load(), 0);
}

TEST(NameThreads, OneNameMayBeCopiedByManyThreads)
{
  const TovName shared = TovName::getString("copied by many");
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&shared, &wrong] {
      TovName own;
      for (int i = 0; i < 20000; ++i) {
        own = shared;
        const TovName copy(own);
        if (copy.c_str() != shared.c_str())
          wrong.fetch_add(1);
        own = TovName::nullName;
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_STREQ(shared.c_str(), "copied by many");
}

} // namespace
