#include "core/TovLock.h"

#include <atomic>
#include <barrier>
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/TovLockGuard.h"

namespace {

constexpr int kThreads = 8;

TEST(Lock, WordIsZeroWhenFreeAndNotZeroWhenHeld)
{
  unsigned int word = 0;
  TovLock::acquire(word);
  EXPECT_NE(word, 0u);
  TovLock::release(word);
  EXPECT_EQ(word, 0u);
  TovLock::acquireNice(word, 0.0001);
  EXPECT_NE(word, 0u);
  TovLock::release(word);
  EXPECT_EQ(word, 0u);
}

TEST(Lock, AttemptTakesAFreeWordOnly)
{
  unsigned int word = 0;
  EXPECT_NE(TovLock::attempt(word), 0);
  EXPECT_NE(word, 0u);
  EXPECT_EQ(TovLock::attempt(word), 0);
  EXPECT_EQ(TovLock::attempt(word), 0);
  TovLock::release(word);
  EXPECT_EQ(word, 0u);
  TovLock::acquire(word);
  EXPECT_EQ(TovLock::attempt(word), 0);
  TovLock::release(word);
  EXPECT_NE(TovLock::attempt(word), 0);
  TovLock::release(word);
}

TEST(Lock, WordsAreIndependent)
{
  unsigned int words[2] = {0, 0};
  TovLock::acquire(words[0]);
  EXPECT_NE(TovLock::attempt(words[1]), 0);
  TovLock::release(words[0]);
  EXPECT_EQ(words[0], 0u);
  EXPECT_NE(words[1], 0u);
  TovLock::release(words[1]);
}

TEST(Lock, AcquireNiceTakesAFreeWordWhateverThePause)
{
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const double pause : {0.0001, 0.0, -1.0, 1e300, kInfinity, -kInfinity, std::nan("")}) {
    unsigned int word = 0;
    TovLock::acquireNice(word, pause);
    EXPECT_EQ(TovLock::attempt(word), 0);
    TovLock::release(word);
    EXPECT_EQ(word, 0u);
  }
}

TEST(Lock, GuardHoldsTheWordForItsScope)
{
  unsigned int word = 0;
  {
    const TovLockGuard guard(word);
    EXPECT_EQ(TovLock::attempt(word), 0);
  }
  EXPECT_EQ(word, 0u);
}

/** Lets a second thread wait for a held word, and reports whether it came in
 *  only after the release. */
template <typename Acquire>
bool comesInAfterTheRelease(Acquire acquire)
{
  unsigned int word = 0;
  std::atomic<bool> isWaiting{false};
  bool isReleased = false; // guarded by the word
  bool wasReleased = false;
  TovLock::acquire(word);
  std::thread waiter([&] {
    isWaiting = true;
    acquire(word);
    wasReleased = isReleased;
    TovLock::release(word);
  });
  while (!isWaiting)
    std::this_thread::yield();
  for (int i = 0; i < 2000; ++i)
    std::this_thread::yield(); // time for a broken lock to let the waiter in
  isReleased = true;
  TovLock::release(word);
  waiter.join();
  return wasReleased && word == 0;
}

TEST(LockThreads, AcquireWaitsForTheRelease)
{
  EXPECT_TRUE(comesInAfterTheRelease([](unsigned int& word) { TovLock::acquire(word); }));
}

TEST(LockThreads, AcquireNiceWaitsForTheReleaseWhateverThePause)
{
  for (const double pause : {0.0001, 0.0, -1.0, std::nan("")}) {
    EXPECT_TRUE(comesInAfterTheRelease(
        [pause](unsigned int& word) { TovLock::acquireNice(word, pause); }))
        << pause;
  }
}

TEST(LockThreads, EightThreadsExcludeEachOther)
{
  constexpr int kRounds = 20000;
  unsigned int word = 0;
  long long total = 0; // guarded by the word
  int inside = 0;      // guarded by the word
  bool hasOverlapped = false;
  std::barrier start(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      start.arrive_and_wait();
      for (int i = 0; i < kRounds; ++i) {
        const int way = (t + i) % 8;
        if (way == 0) {
          while (!TovLock::attempt(word))
            std::this_thread::yield();
        } else if (way == 1) {
          TovLock::acquireNice(word, 0.000001);
        } else {
          TovLock::acquire(word);
        }
        hasOverlapped |= ++inside != 1;
        ++total;
        --inside;
        TovLock::release(word);
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(total, 1ll * kThreads * kRounds);
  EXPECT_FALSE(hasOverlapped);
  EXPECT_EQ(word, 0u);
}

TEST(LockThreads, EveryWaiterComesInAtLast)
{
  unsigned int word = 0;
  int served = 0; // guarded by the word
  for (int round = 0; round < 200; ++round) {
    TovLock::acquire(word);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&] {
        const TovLockGuard guard(word);
        ++served;
      });
    }
    TovLock::release(word);
    for (std::thread& thread : threads)
      thread.join();
    ASSERT_EQ(word, 0u);
  }
  EXPECT_EQ(served, 200 * kThreads);
}

TEST(LockThreads, AttemptByManyThreadsIsWonByOne)
{
  for (int round = 0; round < 200; ++round) {
    unsigned int word = 0;
    std::atomic<int> winners{0};
    std::barrier start(4);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&] {
        start.arrive_and_wait();
        winners += TovLock::attempt(word) != 0;
      });
    }
    for (std::thread& thread : threads)
      thread.join();
    ASSERT_EQ(winners.load(), 1);
    TovLock::release(word);
    ASSERT_EQ(word, 0u);
  }
}

} // namespace
