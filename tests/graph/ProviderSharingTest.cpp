// Reference counts, copies and the provider's own lock.

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Listener.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::Owned;
using support::RecordingProvider;

TEST(ProviderSharingTest, NewProviderHasItsCreatorsReference)
{
  RecordingProvider* const provider = new RecordingProvider;
  const std::shared_ptr<support::Recording> recording = provider->recording();
  EXPECT_EQ(2, provider->reference());
  EXPECT_EQ(3, provider->reference());
  EXPECT_EQ(2, provider->dereference());
  EXPECT_EQ(1, provider->dereference());
  EXPECT_FALSE(recording->isDestroyed());
  EXPECT_EQ(0, provider->dereference());
  EXPECT_TRUE(recording->isDestroyed());
}

TEST(ProviderSharingTest, CountingTakesNoLock)
{
  const Owned<RecordingProvider> provider = support::make<RecordingProvider>();
  const support::HeldLock held(*provider);
  EXPECT_EQ(2, provider->reference());
  EXPECT_EQ(1, provider->dereference());
}

TEST(ProviderSharingTest, CopyIsAsFreshAsANewProvider)
{
  const Owned<RecordingProvider> original = support::make<RecordingProvider>();
  support::Listener listener(*original);
  original->reference();
  original->allocSampleBuffers(2, 100);
  const support::HeldLock held(*original);

  const Owned<RecordingProvider> copy = support::make<RecordingProvider>(*original);
  EXPECT_EQ(1, support::referenceCount(*copy));
  EXPECT_EQ(0, copy->getSampleBuffers().getCount());
  EXPECT_EQ(0, copy->getSampleBufferFrames());
  EXPECT_FALSE(support::isLockHeld(*copy));
  copy->callNotifyCallbacks();
  EXPECT_EQ(0, listener.take());
  EXPECT_EQ(2, original->getSampleBuffers().getCount());
  original->dereference();
}

TEST(ProviderSharingTest, LockIsHeldOnceAndFreeAfterRelease)
{
  const Owned<RecordingProvider> owned = support::make<RecordingProvider>();
  const TovAudioProvider& provider = *owned; // locking needs no mutable object
  EXPECT_NE(0, provider.lockAttempt());
  EXPECT_EQ(0, provider.lockAttempt());
  provider.lockRelease();
  provider.lockAcquire();
  EXPECT_EQ(0, provider.lockAttempt());
  provider.lockRelease();
  EXPECT_NE(0, provider.lockAttempt());
  provider.lockRelease();
}

TEST(ProviderSharingTest, EveryProviderHasALockOfItsOwn)
{
  const Owned<RecordingProvider> first = support::make<RecordingProvider>();
  const Owned<RecordingProvider> second = support::make<RecordingProvider>();
  const support::HeldLock held(*first);
  EXPECT_FALSE(support::isLockHeld(*second));
}

TEST(ProviderSharingTest, AcquireWaitsForTheHolder)
{
  const Owned<RecordingProvider> provider = support::make<RecordingProvider>();
  EXPECT_TRUE(support::waitsForLock(*provider, [&] {
    provider->lockAcquire();
    provider->lockRelease();
  }));
  EXPECT_FALSE(support::isLockHeld(*provider));
}

TEST(ProviderSharingTest, LockExcludesThreadsFromEachOther)
{
  const Owned<RecordingProvider> provider = support::make<RecordingProvider>();
  int counter = 0; // guarded by the provider's lock alone
  const auto countUp = [&] {
    for (int i = 0; i < 5000; ++i) {
      provider->lockAcquire();
      ++counter;
      provider->lockRelease();
    }
  };
  std::thread first(countUp);
  std::thread second(countUp);
  first.join();
  second.join();
  EXPECT_EQ(10000, counter);
}

} // namespace
