// Adding, finding and removing the mixer's inputs, and what happens to their
// references and subscriptions.

#include <climits>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "tests/support/Bytes.h"
#include "tests/support/Listener.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::Call;
using support::Operation;
using support::Owned;
using support::RecordingProvider;

class MixerTracksTest : public ::testing::Test {
protected:
  Owned<RecordingProvider> input()
  {
    Owned<RecordingProvider> made = support::make<RecordingProvider>();
    made->watch(mixer.get());
    return made;
  }

  bool isSubscribed(RecordingProvider& provider)
  {
    support::Listener listener(*mixer);
    provider.callNotifyCallbacks();
    return listener.take() > 0;
  }

  void expectCall(const Call& call)
  {
    EXPECT_EQ(&TovAudioMixer::childNotifyCallbackStatic, call.function);
    EXPECT_EQ(mixer.get(), call.data);
    EXPECT_FALSE(call.ownLockHeld);
  }

  Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
};

TEST_F(MixerTracksTest, NewMixerIsEmpty)
{
  EXPECT_EQ(0, mixer->getNumTracks());
  EXPECT_EQ(1.0f, mixer->getMasterGain());
  EXPECT_EQ(nullptr, mixer->getTrack(0));
  EXPECT_FALSE(mixer->isSoloOn());
  EXPECT_EQ(1, support::referenceCount(*mixer));
}

TEST_F(MixerTracksTest, AddingAppendsATrackAndSharesTheProvider)
{
  const Owned<RecordingProvider> first = input();
  const Owned<RecordingProvider> second = input();
  support::Listener listener(*mixer);
  EXPECT_EQ(0, mixer->addProvider(first.get()));
  EXPECT_EQ(0, mixer->addProvider(second.get()));
  EXPECT_EQ(2, listener.take());
  EXPECT_TRUE(listener.lockWasFree());
  ASSERT_EQ(2, mixer->getNumTracks());
  EXPECT_EQ(first.get(), mixer->getTrack(0)->getProvider());
  EXPECT_EQ(second.get(), mixer->getTrack(1)->getProvider());
  EXPECT_EQ(2, support::referenceCount(*first));
  EXPECT_EQ(2, support::referenceCount(*second));
}

TEST_F(MixerTracksTest, AddingSubscribesUnderTheMixersLock)
{
  const Owned<RecordingProvider> provider = input();
  mixer->addProvider(provider.get());
  const std::vector<Call> calls = provider->recording()->all();
  ASSERT_EQ(1u, calls.size());
  EXPECT_EQ(Operation::AddCallback, calls[0].operation);
  expectCall(calls[0]);
  EXPECT_TRUE(calls[0].watchedLockHeld);
}

TEST_F(MixerTracksTest, InputsNotificationsArePassedOn)
{
  const Owned<RecordingProvider> provider = input();
  mixer->addProvider(provider.get());
  support::Listener listener(*mixer);
  provider->callNotifyCallbacks();
  EXPECT_EQ(1, listener.take());
  EXPECT_TRUE(listener.lockWasFree());
}

TEST_F(MixerTracksTest, PassingOnTakesNoLock)
{
  const Owned<RecordingProvider> provider = input();
  mixer->addProvider(provider.get());
  support::Listener listener(*mixer);
  const support::HeldLock held(*mixer);
  provider->callNotifyCallbacks(); // each would wait for ever
  mixer->childNotifyCallback();
  TovAudioMixer::childNotifyCallbackStatic(mixer.get());
  EXPECT_EQ(3, listener.take());
}

TEST_F(MixerTracksTest, NotificationsGoThroughMixersInMixers)
{
  const Owned<TovAudioMixer> outer = support::make<TovAudioMixer>();
  const Owned<RecordingProvider> provider = input();
  outer->addProvider(mixer.get());
  mixer->addProvider(provider.get());
  support::Listener listener(*outer);
  provider->callNotifyCallbacks();
  EXPECT_EQ(1, listener.take());
  mixer->setMasterGain(0.5f);
  EXPECT_EQ(1, listener.take());
}

TEST_F(MixerTracksTest, NullAndTheMixerItselfAreRefused)
{
  support::Listener listener(*mixer);
  const int references = support::referenceCount(*mixer);
  EXPECT_EQ(4, mixer->addProvider(nullptr));
  EXPECT_EQ(4, mixer->addProvider(mixer.get()));
  EXPECT_EQ(0, mixer->getNumTracks());
  EXPECT_EQ(0, listener.take());
  EXPECT_EQ(references, support::referenceCount(*mixer));
  mixer->callNotifyCallbacks();
  EXPECT_EQ(1, listener.take()); // not subscribed to itself
  EXPECT_FALSE(support::isLockHeld(*mixer));
}

TEST_F(MixerTracksTest, TracksAreFoundByProviderAndByIndex)
{
  std::vector<Owned<RecordingProvider>> inputs;
  for (int i = 0; i < 40; ++i) {
    inputs.push_back(input());
    mixer->addProvider(inputs.back().get());
  }
  ASSERT_EQ(40, mixer->getNumTracks());
  for (int i = 0; i < 40; ++i) {
    RecordingProvider* const provider = inputs[static_cast<std::size_t>(i)].get();
    TovAudioTrack* const track = mixer->getTrack(i);
    ASSERT_NE(nullptr, track);
    EXPECT_EQ(provider, track->getProvider());
    EXPECT_EQ(track, mixer->getTrack(provider));
    EXPECT_EQ(i, mixer->getProviderIndex(provider));
  }
  for (const int index : {-1, 40, INT_MAX, INT_MIN})
    EXPECT_EQ(nullptr, mixer->getTrack(index));
  const Owned<RecordingProvider> stranger = input();
  EXPECT_EQ(nullptr, mixer->getTrack(stranger.get()));
  EXPECT_EQ(-1, mixer->getProviderIndex(stranger.get()));
  EXPECT_EQ(nullptr, mixer->getTrack(static_cast<TovAudioProvider*>(nullptr)));
  EXPECT_EQ(-1, mixer->getProviderIndex(nullptr));
}

TEST_F(MixerTracksTest, NoLockFormsRunUnderTheCallersLock)
{
  const Owned<RecordingProvider> provider = input();
  mixer->addProvider(provider.get());
  TovAudioTrack* const track = mixer->getTrack(0);
  const support::HeldLock held(*mixer);
  EXPECT_EQ(1, mixer->getNumTracksNoLock()); // each would wait for ever
  EXPECT_EQ(track, mixer->getTrackNoLock(0));
  EXPECT_EQ(nullptr, mixer->getTrackNoLock(1));
  EXPECT_EQ(nullptr, mixer->getTrackNoLock(-1));
  EXPECT_EQ(track, mixer->getTrackNoLock(provider.get()));
  EXPECT_EQ(nullptr, mixer->getTrackNoLock(mixer.get()));
  EXPECT_EQ(0, mixer->getProviderIndex(provider.get()));
  EXPECT_FALSE(mixer->isSoloOn());
  EXPECT_TRUE(mixer->isTrackHeard(track));
}

TEST_F(MixerTracksTest, RemovingUnsubscribesAndDropsTheReference)
{
  const Owned<RecordingProvider> first = input();
  const Owned<RecordingProvider> second = input();
  const Owned<RecordingProvider> third = input();
  for (RecordingProvider* const provider : {first.get(), second.get(), third.get()})
    mixer->addProvider(provider);
  second->recording()->clear();
  support::Listener listener(*mixer);
  EXPECT_EQ(0, mixer->removeProvider(second.get()));
  EXPECT_EQ(1, listener.take());
  EXPECT_TRUE(listener.lockWasFree());
  ASSERT_EQ(2, mixer->getNumTracks());
  EXPECT_EQ(first.get(), mixer->getTrack(0)->getProvider());
  EXPECT_EQ(third.get(), mixer->getTrack(1)->getProvider());
  EXPECT_EQ(1, support::referenceCount(*second));
  const std::vector<Call> calls = second->recording()->all();
  ASSERT_EQ(1u, calls.size());
  EXPECT_EQ(Operation::RemoveCallback, calls[0].operation);
  expectCall(calls[0]);
  EXPECT_TRUE(calls[0].watchedLockHeld);
  second->callNotifyCallbacks();
  EXPECT_EQ(0, listener.take());
}

TEST_F(MixerTracksTest, RemovingAStrangerIsStatus1AndStillNotifies)
{
  const Owned<RecordingProvider> provider = input();
  const Owned<RecordingProvider> stranger = input();
  mixer->addProvider(provider.get());
  support::Listener listener(*mixer);
  EXPECT_EQ(1, mixer->removeProvider(stranger.get()));
  EXPECT_EQ(1, listener.take());
  EXPECT_EQ(1, mixer->removeProvider(nullptr));
  EXPECT_EQ(1, listener.take());
  EXPECT_TRUE(listener.lockWasFree());
  EXPECT_EQ(1, mixer->getNumTracks());
  EXPECT_TRUE(stranger->recording()->all().empty());
}

TEST_F(MixerTracksTest, RemovingTheLastReferenceDestroysTheProvider)
{
  Owned<RecordingProvider> provider = input();
  RecordingProvider* const pointer = provider.get();
  const std::shared_ptr<support::Recording> recording = provider->recording();
  mixer->addProvider(pointer);
  EXPECT_EQ(1, provider.drop());
  EXPECT_FALSE(recording->isDestroyed());
  EXPECT_EQ(0, mixer->removeProvider(pointer));
  EXPECT_TRUE(recording->isDestroyed());
}

TEST_F(MixerTracksTest, RemovingAProviderAddedTwiceTakesItsFirstTrackOnly)
{
  const Owned<RecordingProvider> twice = input();
  const Owned<RecordingProvider> other = input();
  mixer->addProvider(twice.get());
  mixer->addProvider(other.get());
  mixer->addProvider(twice.get());
  EXPECT_EQ(3, support::referenceCount(*twice));
  TovAudioTrack* const second = mixer->getTrack(2);
  EXPECT_NE(second, mixer->getTrack(twice.get()));

  EXPECT_EQ(0, mixer->removeProvider(twice.get()));
  ASSERT_EQ(2, mixer->getNumTracks());
  EXPECT_EQ(other.get(), mixer->getTrack(0)->getProvider());
  EXPECT_EQ(second, mixer->getTrack(1));
  EXPECT_EQ(2, support::referenceCount(*twice));
  EXPECT_EQ(0, mixer->removeProvider(twice.get()));
  EXPECT_EQ(1, mixer->removeProvider(twice.get()));
  EXPECT_EQ(1, support::referenceCount(*twice));
  EXPECT_FALSE(isSubscribed(*twice));
}

TEST_F(MixerTracksTest, ProviderAddedTwiceIsPassedOnTwiceAndNoMoreAfterOneRemoval)
{
  const Owned<RecordingProvider> twice = input();
  mixer->addProvider(twice.get());
  mixer->addProvider(twice.get());
  support::Listener listener(*mixer);
  twice->callNotifyCallbacks();
  EXPECT_EQ(2, listener.take());
  mixer->removeProvider(twice.get()); // removing a pair takes all its registrations
  listener.take();
  twice->callNotifyCallbacks();
  EXPECT_EQ(0, listener.take());
}

TEST_F(MixerTracksTest, ClearRemovesAllTracksAndKeepsTheGain)
{
  const Owned<RecordingProvider> first = input();
  const Owned<RecordingProvider> second = input();
  mixer->addProvider(first.get());
  mixer->addProvider(second.get());
  mixer->addProvider(first.get());
  mixer->setMasterGain(0.25f);
  support::Listener listener(*mixer);
  mixer->clear();
  EXPECT_EQ(1, listener.take());
  EXPECT_TRUE(listener.lockWasFree());
  EXPECT_EQ(0, mixer->getNumTracks());
  EXPECT_EQ(0.25f, mixer->getMasterGain());
  EXPECT_EQ(1, support::referenceCount(*first));
  EXPECT_EQ(1, support::referenceCount(*second));
  EXPECT_FALSE(isSubscribed(*first));
  EXPECT_FALSE(isSubscribed(*second));
  mixer->clear();
  EXPECT_EQ(1, listener.take());
}

TEST_F(MixerTracksTest, InitializeRemovesAllTracksResetsTheGainAndNotifiesNobody)
{
  const Owned<RecordingProvider> provider = input();
  mixer->addProvider(provider.get());
  mixer->setMasterGain(0.25f);
  support::Listener listener(*mixer);
  {
    const support::HeldLock held(*mixer);
    mixer->initialize(); // would wait for ever
  }
  EXPECT_EQ(0, listener.take());
  EXPECT_EQ(0, mixer->getNumTracks());
  EXPECT_EQ(1.0f, mixer->getMasterGain());
  EXPECT_EQ(1, support::referenceCount(*provider));
  EXPECT_FALSE(isSubscribed(*provider));
}

void countCall(void* data)
{
  ++*static_cast<int*>(data);
}

TEST_F(MixerTracksTest, InitializeKeepsTheDeserializeCallback)
{
  int calls = 0;
  mixer->setDeserializeCallback(countCall, &calls);
  mixer->initialize();
  mixer->slideAll(1.0);
  EXPECT_EQ(1, calls);
}

TEST_F(MixerTracksTest, DestructionNotifiesOnceUnsubscribesAndDropsTheInputs)
{
  const Owned<RecordingProvider> kept = input();
  Owned<RecordingProvider> passed = input();
  kept->watch(nullptr);
  passed->watch(nullptr);
  const std::shared_ptr<support::Recording> recording = passed->recording();
  mixer->addProvider(kept.get());
  mixer->addProvider(passed.get());
  passed.drop();
  int notifications = 0;
  mixer->addCallback(countCall, &notifications);
  EXPECT_EQ(0, mixer.drop());
  EXPECT_EQ(1, notifications);
  EXPECT_TRUE(recording->isDestroyed());
  EXPECT_EQ(1, support::referenceCount(*kept));
  EXPECT_EQ(1, kept->recording()->count(Operation::RemoveCallback));
  kept->callNotifyCallbacks(); // nobody is called any more
}

/** The first input's lock stays held, because it refused a blob. */
class MixerWithRejectedInputTest : public MixerTracksTest {
protected:
  MixerWithRejectedInputTest()
  {
    Owned<TovAudioFile> file = support::make<TovAudioFile>();
    mixer->addProvider(file.get());
    mixer->addProvider(later.get());
    const support::Bytes blob = support::Bytes().text("AFIL").u32be(1).zeros(40);
    file->deserialize(blob.data().data(), false);
    rejected = std::move(file);
  }

  Owned<TovAudioFile> rejected;
  Owned<RecordingProvider> later = input();
};

TEST_F(MixerWithRejectedInputTest, ClearDoesNotWait)
{
  ASSERT_TRUE(support::isLockHeld(*rejected));
  mixer->clear();
  EXPECT_EQ(0, mixer->getNumTracks());
  EXPECT_EQ(1, support::referenceCount(*rejected));
  EXPECT_EQ(1, support::referenceCount(*later));
}

TEST_F(MixerWithRejectedInputTest, InitializeDoesNotWait)
{
  mixer->initialize();
  EXPECT_EQ(0, mixer->getNumTracks());
  EXPECT_EQ(1, support::referenceCount(*rejected));
}

TEST_F(MixerWithRejectedInputTest, DestructionDoesNotWait)
{
  EXPECT_EQ(0, mixer.drop());
  EXPECT_EQ(1, support::referenceCount(*rejected));
  EXPECT_EQ(1, support::referenceCount(*later));
  rejected->callNotifyCallbacks();
}

TEST_F(MixerWithRejectedInputTest, RemovalDoesNotWait)
{
  EXPECT_EQ(0, mixer->removeProvider(rejected.get()));
  EXPECT_EQ(1, mixer->getNumTracks());
}

TEST_F(MixerWithRejectedInputTest, LastReferenceInTheMixerDestroysIt)
{
  EXPECT_EQ(1, rejected.drop());
  mixer->clear();
  EXPECT_EQ(0, mixer->getNumTracks());
}

} // namespace
