// Callbacks added, removed and called by several threads at once.

#include <array>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::Owned;
using support::RecordingProvider;

void count(void* data)
{
  ++*static_cast<std::atomic<long long>*>(data);
}

TEST(CallbackThreadsTest, ThreadsMayAddAndRemoveWhileOthersNotify)
{
  const Owned<RecordingProvider> provider = support::make<RecordingProvider>();
  std::atomic<long long> permanent{0};
  std::array<std::atomic<long long>, 24> passing{};
  provider->addCallback(count, &permanent);

  std::atomic<int> running{2};
  std::vector<std::thread> threads;
  for (unsigned int seed = 0; seed < 2; ++seed) {
    threads.emplace_back([&, seed] {
      std::mt19937 random(seed);
      for (int i = 0; i < 1500; ++i) {
        std::atomic<long long>& one = passing[(random() % 12) * 2 + seed];
        if (random() % 2)
          provider->addCallback(count, &one);
        else
          provider->removeCallback(count, &one);
      }
      for (std::size_t i = seed; i < passing.size(); i += 2)
        provider->removeCallback(count, &passing[i]);
      --running;
    });
  }
  std::array<long long, 2> notifications{};
  for (std::size_t thread = 0; thread < 2; ++thread) {
    threads.emplace_back([&, thread] {
      do {
        provider->callNotifyCallbacks();
        ++notifications[thread];
      } while (running > 0);
    });
  }
  for (std::thread& thread : threads)
    thread.join();

  // What nobody removed was called by every notification exactly once.
  EXPECT_EQ(notifications[0] + notifications[1], permanent);

  std::vector<long long> before;
  for (const std::atomic<long long>& one : passing)
    before.push_back(one);
  provider->callNotifyCallbacks();
  for (std::size_t i = 0; i < passing.size(); ++i)
    EXPECT_EQ(before[i], passing[i]) << "called after it was removed";
  EXPECT_EQ(notifications[0] + notifications[1] + 1, permanent);
}

/** Removes itself and comes back, each time it is called. */
struct Restless {
  TovAudioProvider* provider;
  std::atomic<int> calls{0};
};

void comeBack(void* data)
{
  Restless* const self = static_cast<Restless*>(data);
  ++self->calls;
  self->provider->removeCallback(comeBack, self);
  self->provider->addCallback(comeBack, self);
}

TEST(CallbackThreadsTest, CallbacksMayChangeTheListOnEveryThread)
{
  const Owned<RecordingProvider> provider = support::make<RecordingProvider>();
  std::array<Restless, 6> restless{};
  for (Restless& one : restless) {
    one.provider = provider.get();
    provider->addCallback(comeBack, &one);
  }
  const auto notify = [&] {
    for (int i = 0; i < 200; ++i)
      provider->callNotifyCallbacks();
  };
  std::thread first(notify);
  std::thread second(notify);
  first.join();
  second.join();

  for (Restless& one : restless) {
    one.calls = 0;
    while (one.calls == 0) // at least one registration is left
      provider->callNotifyCallbacks();
    provider->removeCallback(comeBack, &one);
    one.calls = 0;
  }
  provider->callNotifyCallbacks();
  for (const Restless& one : restless)
    EXPECT_EQ(0, one.calls);
}

} // namespace
