// The mixer's settings per input and as a whole: clamps, notifications, locks,
// sliding, copies, activation.

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioMixer.h"
#include "tests/support/Buffers.h"
#include "tests/support/Listener.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/Setting.h"

namespace {

using support::Call;
using support::Operation;
using support::Owned;
using support::RecordingProvider;

using Operations = std::vector<std::pair<const char*, std::function<void()>>>;

class MixerSettingsTest : public ::testing::Test {
protected:
  MixerSettingsTest()
  {
    for (RecordingProvider* const provider : {a.get(), b.get(), stranger.get()})
      provider->watch(mixer.get());
    mixer->addProvider(a.get());
    mixer->addProvider(b.get());
  }

  Operations settersFor(RecordingProvider* provider)
  {
    return {{"setGain", [=, this] { mixer->setGain(provider, 2.0f); }},
            {"setPan", [=, this] { mixer->setPan(provider, 0.5f); }},
            {"setWide", [=, this] { mixer->setWide(provider, 0.25f); }},
            {"setMute", [=, this] { mixer->setMute(provider, true); }},
            {"setSolo", [=, this] { mixer->setSolo(provider, true); }},
            {"setStartTime", [=, this] { mixer->setStartTime(provider, 1.5); }},
            {"setEndTime", [=, this] { mixer->setEndTime(provider, 2.5); }},
            {"setTimeShift", [=, this] { mixer->setTimeShift(provider, 3.5); }}};
  }

  Operations gettersFor(RecordingProvider* provider)
  {
    return {{"getGain", [=, this] { mixer->getGain(provider); }},
            {"getPan", [=, this] { mixer->getPan(provider); }},
            {"getWide", [=, this] { mixer->getWide(provider); }},
            {"getMute", [=, this] { mixer->getMute(provider); }},
            {"getSolo", [=, this] { mixer->getSolo(provider); }},
            {"getStartTime", [=, this] { mixer->getStartTime(provider); }},
            {"getEndTime", [=, this] { mixer->getEndTime(provider); }},
            {"getTimeShift", [=, this] { mixer->getTimeShift(provider); }}};
  }

  const TovAudioContext context = TovAudioContext(1024, 2, 30.0, 0.5);
  Owned<RecordingProvider> a = support::make<RecordingProvider>();
  Owned<RecordingProvider> b = support::make<RecordingProvider>();
  Owned<RecordingProvider> stranger = support::make<RecordingProvider>();
  Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
};

TEST_F(MixerSettingsTest, SettingsGoToTheProvidersTrackAlone)
{
  for (const auto& [name, set] : settersFor(a.get()))
    set();
  EXPECT_EQ(2.0f, mixer->getGain(a.get()));
  EXPECT_EQ(0.5f, mixer->getPan(a.get()));
  EXPECT_EQ(0.25f, mixer->getWide(a.get()));
  EXPECT_TRUE(mixer->getMute(a.get()));
  EXPECT_TRUE(mixer->getSolo(a.get()));
  EXPECT_EQ(1.5, mixer->getStartTime(a.get()));
  EXPECT_EQ(2.5, mixer->getEndTime(a.get()));
  EXPECT_EQ(3.5, mixer->getTimeShift(a.get()));
  const TovAudioTrack* const track = mixer->getTrack(0);
  EXPECT_EQ(2.0f, track->getGain());
  EXPECT_EQ(0.5f, track->getPan());
  EXPECT_EQ(0.25f, track->getWide());
  EXPECT_TRUE(track->getMute());
  EXPECT_TRUE(track->getSolo());
  EXPECT_EQ(1.5, track->getStartTime());
  EXPECT_EQ(2.5, track->getEndTime());
  EXPECT_EQ(3.5, track->getTimeShift());

  EXPECT_EQ(1.0f, mixer->getGain(b.get()));
  EXPECT_EQ(0.0f, mixer->getPan(b.get()));
  EXPECT_EQ(1.0f, mixer->getWide(b.get()));
  EXPECT_FALSE(mixer->getMute(b.get()));
  EXPECT_FALSE(mixer->getSolo(b.get()));
  EXPECT_EQ(1.0 / 24.0, mixer->getStartTime(b.get()));
  EXPECT_EQ(1.0 / 24.0, mixer->getEndTime(b.get()));
  EXPECT_EQ(0.0, mixer->getTimeShift(b.get()));
}

TEST_F(MixerSettingsTest, SettersOfAProviderAddedTwiceChangeItsFirstTrack)
{
  mixer->addProvider(a.get());
  mixer->setGain(a.get(), 3.0f);
  EXPECT_EQ(3.0f, mixer->getTrack(0)->getGain());
  EXPECT_EQ(1.0f, mixer->getTrack(2)->getGain());
}

TEST_F(MixerSettingsTest, LevelsAreClamped)
{
  constexpr float infinity = std::numeric_limits<float>::infinity();
  for (const auto& [value, expected] :
       {std::pair{9.5f, 8.0f}, std::pair{8.0f, 8.0f}, std::pair{-1.0f, 0.0f},
        std::pair{infinity, 8.0f}, std::pair{-infinity, 0.0f}, std::pair{0.125f, 0.125f}}) {
    mixer->setGain(a.get(), value);
    EXPECT_EQ(expected, mixer->getGain(a.get())) << value;
    mixer->setMasterGain(value);
    EXPECT_EQ(expected, mixer->getMasterGain()) << value;
  }
  for (const auto& [value, expected] :
       {std::pair{-3.0f, -1.0f}, std::pair{1.5f, 1.0f}, std::pair{-0.5f, -0.5f},
        std::pair{infinity, 1.0f}, std::pair{-infinity, -1.0f}}) {
    mixer->setPan(a.get(), value);
    EXPECT_EQ(expected, mixer->getPan(a.get())) << value;
    mixer->setWide(a.get(), value);
    EXPECT_EQ(expected, mixer->getWide(a.get())) << value;
  }
  mixer->setGain(a.get(), std::nanf(""));
  EXPECT_TRUE(std::isnan(mixer->getGain(a.get())));
  mixer->setMasterGain(std::nanf(""));
  EXPECT_TRUE(std::isnan(mixer->getMasterGain()));
}

TEST_F(MixerSettingsTest, AbsentProviderReadsAsAFreshOneWithTimeZero)
{
  for (RecordingProvider* const absent :
       {stranger.get(), static_cast<RecordingProvider*>(nullptr)}) {
    EXPECT_EQ(1.0f, mixer->getGain(absent));
    EXPECT_EQ(0.0f, mixer->getPan(absent));
    EXPECT_EQ(1.0f, mixer->getWide(absent));
    EXPECT_FALSE(mixer->getMute(absent));
    EXPECT_FALSE(mixer->getSolo(absent));
    EXPECT_EQ(0.0, mixer->getStartTime(absent));
    EXPECT_EQ(0.0, mixer->getEndTime(absent));
    EXPECT_EQ(0.0, mixer->getTimeShift(absent));
  }
}

TEST_F(MixerSettingsTest, SettersNotifyOnceAlsoForAnAbsentProvider)
{
  support::Listener listener(*mixer);
  for (RecordingProvider* const provider :
       {a.get(), stranger.get(), static_cast<RecordingProvider*>(nullptr)}) {
    for (const auto& [name, set] : settersFor(provider)) {
      set();
      EXPECT_EQ(1, listener.take()) << name;
    }
  }
  mixer->setMasterGain(0.5f);
  EXPECT_EQ(1, listener.take());
  mixer->setMasterGain(0.5f);
  EXPECT_EQ(1, listener.take());
  EXPECT_TRUE(listener.lockWasFree());
  EXPECT_EQ(1.0f, mixer->getGain(stranger.get()));
}

TEST_F(MixerSettingsTest, NothingElseNotifies)
{
  support::Listener listener(*mixer);
  for (const auto& [name, get] : gettersFor(a.get()))
    get();
  mixer->getNumTracks();
  mixer->getTrack(0);
  mixer->getTrack(a.get());
  mixer->getMasterGain();
  mixer->isSoloOn();
  mixer->isTrackHeard(mixer->getTrack(0));
  mixer->setDeserializeCallback(nullptr, nullptr);
  mixer->activate(context);
  support::Buffers buffers(2, 64);
  mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}), context, 1.0, 1.0625);
  mixer->deactivate();
  Owned<TovAudioProvider>(mixer->clone());
  EXPECT_EQ(0, listener.take());
}

TEST_F(MixerSettingsTest, OperationsWaitForTheMixersLock)
{
  support::Buffers buffers(2, 64);
  const TovNLArray<int> map = support::channelMap({0, 1});
  Operations operations = settersFor(a.get());
  for (const Operations& more :
       {settersFor(stranger.get()), gettersFor(a.get()), gettersFor(stranger.get())})
    operations.insert(operations.end(), more.begin(), more.end());
  for (const auto& one : Operations{
           {"setMasterGain", [&] { mixer->setMasterGain(1.0f); }},
           {"getMasterGain", [&] { mixer->getMasterGain(); }},
           {"getNumTracks", [&] { mixer->getNumTracks(); }},
           {"getTrack by index", [&] { mixer->getTrack(0); }},
           {"getTrack by provider", [&] { mixer->getTrack(a.get()); }},
           {"activate", [&] { mixer->activate(context); }},
           {"deactivate", [&] { mixer->deactivate(); }},
           {"getAudio", [&] { mixer->getAudio(buffers.pointers(), map, context, 1.0, 1.0625); }},
           {"slideAll", [&] { mixer->slideAll(1.0); }},
           {"addProvider", [&] { mixer->addProvider(stranger.get()); }},
           {"removeProvider", [&] { mixer->removeProvider(stranger.get()); }},
           {"removeProvider of an absent one", [&] { mixer->removeProvider(stranger.get()); }},
           {"clear", [&] { mixer->clear(); }}})
    operations.push_back(one);
  for (const auto& [name, operation] : operations) {
    EXPECT_TRUE(support::waitsForLock(*mixer, operation)) << name;
    EXPECT_FALSE(support::isLockHeld(*mixer)) << name;
  }
}

TEST_F(MixerSettingsTest, CloneAndSetDeserializeCallbackTakeNoLock)
{
  const support::HeldLock held(*mixer);
  mixer->setDeserializeCallback(nullptr, nullptr); // each would wait for ever
  const Owned<TovAudioProvider> clone(mixer->clone());
  EXPECT_FALSE(support::isLockHeld(*clone));
}

// --- Sliding ---------------------------------------------------------------

TEST_F(MixerSettingsTest, SlideMovesStartEndAndShift)
{
  mixer->setStartTime(a.get(), 1.0);
  mixer->setEndTime(a.get(), 2.0);
  mixer->setTimeShift(a.get(), -4.0);
  EXPECT_EQ(0, mixer->slideAll(0.25));
  EXPECT_EQ(1.25, mixer->getStartTime(a.get()));
  EXPECT_EQ(2.25, mixer->getEndTime(a.get()));
  EXPECT_EQ(-3.75, mixer->getTimeShift(a.get()));
  EXPECT_EQ(1.0 / 24.0 + 0.25, mixer->getStartTime(b.get()));
  EXPECT_EQ(0, mixer->slideAll(-10.0));
  EXPECT_EQ(-8.75, mixer->getStartTime(a.get()));
}

TEST_F(MixerSettingsTest, SlideLeavesTracksThatAreNotHeard)
{
  support::SoloOverridesMute setting("0");
  mixer->addProvider(stranger.get());
  const std::vector<RecordingProvider*> all = {a.get(), b.get(), stranger.get()};
  for (RecordingProvider* const provider : all)
    mixer->setStartTime(provider, 1.0);
  mixer->setMute(a.get(), true);
  mixer->slideAll(1.0);
  EXPECT_EQ(1.0, mixer->getStartTime(a.get()));
  EXPECT_EQ(0.0, mixer->getTimeShift(a.get()));
  EXPECT_EQ(2.0, mixer->getStartTime(b.get()));
  mixer->setSolo(a.get(), true); // muted and soloed
  mixer->setSolo(b.get(), true);
  mixer->slideAll(1.0);
  EXPECT_EQ(1.0, mixer->getStartTime(a.get()));
  EXPECT_EQ(3.0, mixer->getStartTime(b.get()));
  EXPECT_EQ(2.0, mixer->getStartTime(stranger.get()));
  setting.set("1");
  mixer->slideAll(1.0);
  EXPECT_EQ(2.0, mixer->getStartTime(a.get()));
  EXPECT_EQ(4.0, mixer->getStartTime(b.get()));
  EXPECT_EQ(2.0, mixer->getStartTime(stranger.get()));
}

struct SlideOrder {
  TovAudioMixer* mixer;
  std::vector<std::string> log;

  void add(const char* what)
  {
    log.push_back(what);
    if (support::isLockHeld(*mixer))
      log.push_back("with the lock held");
    log.push_back(std::to_string(mixer->getTrackNoLock(0)->getTimeShift()));
  }
};

void logNotified(void* data)
{
  static_cast<SlideOrder*>(data)->add("notified");
}

void logSlid(void* data)
{
  static_cast<SlideOrder*>(data)->add("slid");
}

TEST_F(MixerSettingsTest, SlideNotifiesFirstAndThenCallsTheDeserializeCallback)
{
  SlideOrder order{mixer.get(), {}};
  mixer->addCallback(logNotified, &order);
  mixer->setDeserializeCallback(logSlid, &order);
  EXPECT_TRUE(order.log.empty());
  EXPECT_EQ(0, mixer->slideAll(2.0));
  EXPECT_EQ((std::vector<std::string>{"notified", "2.000000", "slid", "2.000000"}), order.log);
  mixer->setDeserializeCallback(nullptr, nullptr);
  mixer->slideAll(1.0);
  EXPECT_EQ(6u, order.log.size());
  mixer->removeCallback(logNotified, &order);
}

TEST_F(MixerSettingsTest, SlideOfAnEmptyMixerNotifiesToo)
{
  mixer->clear();
  support::Listener listener(*mixer);
  EXPECT_EQ(0, mixer->slideAll(1.0));
  EXPECT_EQ(1, listener.take());
}

// --- Copies ----------------------------------------------------------------

void countCall(void* data)
{
  ++*static_cast<int*>(data);
}

TEST_F(MixerSettingsTest, CloneHasGainAndTracksWithInputsOfItsOwn)
{
  mixer->setMasterGain(0.5f);
  for (const auto& [name, set] : settersFor(b.get()))
    set();
  a->recording()->clear();
  const Owned<TovAudioMixer> clone(dynamic_cast<TovAudioMixer*>(mixer->clone()));
  ASSERT_NE(nullptr, clone.get());
  EXPECT_EQ(1, support::referenceCount(*clone));
  EXPECT_EQ(0.5f, clone->getMasterGain());
  ASSERT_EQ(2, clone->getNumTracks());
  for (int i = 0; i < 2; ++i) {
    EXPECT_NE(mixer->getTrack(i), clone->getTrack(i));
    EXPECT_NE(mixer->getTrack(i)->getProvider(), clone->getTrack(i)->getProvider());
    EXPECT_EQ(1, support::referenceCount(*clone->getTrack(i)->getProvider()));
  }
  EXPECT_EQ(1.0f, clone->getTrack(0)->getGain());
  EXPECT_EQ(2.0f, clone->getTrack(1)->getGain());
  EXPECT_EQ(0.5f, clone->getTrack(1)->getPan());
  EXPECT_EQ(0.25f, clone->getTrack(1)->getWide());
  EXPECT_TRUE(clone->getTrack(1)->getMute());
  EXPECT_TRUE(clone->getTrack(1)->getSolo());
  EXPECT_EQ(1.5, clone->getTrack(1)->getStartTime());
  EXPECT_EQ(2.5, clone->getTrack(1)->getEndTime());
  EXPECT_EQ(3.5, clone->getTrack(1)->getTimeShift());
  EXPECT_EQ(2, support::referenceCount(*a));
  EXPECT_EQ(1u, a->recording()->all().size()); // cloned, and nothing else
}

TEST_F(MixerSettingsTest, CloneIsNotSubscribedAndHasNoCallbacks)
{
  int notifications = 0;
  int slides = 0;
  mixer->addCallback(countCall, &notifications);
  mixer->setDeserializeCallback(countCall, &slides);
  const Owned<TovAudioMixer> clone(dynamic_cast<TovAudioMixer*>(mixer->clone()));
  RecordingProvider* const copied =
      dynamic_cast<RecordingProvider*>(clone->getTrack(0)->getProvider());
  ASSERT_NE(nullptr, copied);
  EXPECT_TRUE(copied->recording()->all().empty());
  support::Listener listener(*clone);
  copied->callNotifyCallbacks();
  EXPECT_EQ(0, listener.take());
  clone->slideAll(1.0);
  EXPECT_EQ(0, notifications);
  EXPECT_EQ(0, slides);
  mixer->removeCallback(countCall, &notifications);
}

TEST_F(MixerSettingsTest, CloneIsIndependent)
{
  const Owned<TovAudioMixer> clone(dynamic_cast<TovAudioMixer*>(mixer->clone()));
  mixer->setGain(a.get(), 4.0f);
  mixer->clear();
  EXPECT_EQ(2, clone->getNumTracks());
  EXPECT_EQ(1.0f, clone->getTrack(0)->getGain());
  EXPECT_EQ(-1, clone->getProviderIndex(a.get()));
}

// --- Activation --------------------------------------------------------------

TEST_F(MixerSettingsTest, ActivationReachesEveryInputWhateverTheyAnswer)
{
  a->setStatuses(3, 0, 0);
  b->setStatuses(1, 0, 0);
  EXPECT_EQ(0, mixer->activate(context));
  for (RecordingProvider* const provider : {a.get(), b.get()}) {
    const std::vector<Call> calls = provider->recording()->of(Operation::Activate);
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ(1024, calls[0].context.sampleRate);
    EXPECT_EQ(2, calls[0].context.quality);
    EXPECT_EQ(30.0, calls[0].context.frameRate);
    EXPECT_EQ(0.5, calls[0].context.timeOffset);
    EXPECT_TRUE(calls[0].watchedLockHeld);
    EXPECT_FALSE(calls[0].ownLockHeld);
  }
}

TEST_F(MixerSettingsTest, DeactivationReachesEveryInputAndTellsOfFailures)
{
  EXPECT_EQ(0, mixer->deactivate());
  a->setStatuses(0, 7, 0);
  EXPECT_EQ(1, mixer->deactivate());
  b->setStatuses(0, -1, 0);
  EXPECT_EQ(1, mixer->deactivate());
  a->setStatuses(0, 0, 0);
  EXPECT_EQ(1, mixer->deactivate());
  for (RecordingProvider* const provider : {a.get(), b.get()}) {
    const std::vector<Call> calls = provider->recording()->of(Operation::Deactivate);
    ASSERT_EQ(4u, calls.size());
    EXPECT_TRUE(calls[0].watchedLockHeld);
    EXPECT_FALSE(calls[0].ownLockHeld);
  }
}

TEST_F(MixerSettingsTest, ActivationOfAnEmptyMixerSucceeds)
{
  mixer->clear();
  EXPECT_EQ(0, mixer->activate(context));
  EXPECT_EQ(0, mixer->deactivate());
}

TEST_F(MixerSettingsTest, NoLockActivationRunsUnderTheCallersLock)
{
  b->setStatuses(0, 1, 0);
  const support::HeldLock held(*mixer);
  EXPECT_EQ(0, mixer->activateNoLock(context)); // would wait for ever
  EXPECT_EQ(1, mixer->deactivateNoLock());
  EXPECT_EQ(1, a->recording()->count(Operation::Activate));
  EXPECT_EQ(1, a->recording()->count(Operation::Deactivate));
}

} // namespace
