// Registering, removing and calling notify callbacks.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Listener.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::Owned;
using support::RecordingProvider;

/** A callback that writes its name into a log and then does something. */
struct Entry {
  std::vector<std::string>* log;
  std::string name;
  std::function<void()> then;
};

void called(void* data)
{
  Entry* const entry = static_cast<Entry*>(data);
  entry->log->push_back(entry->name);
  if (entry->then) {
    const std::function<void()> action = entry->then;
    action();
  }
}

void calledToo(void* data)
{
  Entry* const entry = static_cast<Entry*>(data);
  entry->log->push_back(entry->name + "'");
}

class CallbacksTest : public ::testing::Test {
protected:
  using Log = std::vector<std::string>;

  Entry& entry(const std::string& name, std::function<void()> then = {})
  {
    entries.push_back(std::make_unique<Entry>(Entry{&log, name, std::move(then)}));
    return *entries.back();
  }

  Entry& added(const std::string& name, std::function<void()> then = {})
  {
    Entry& made = entry(name, std::move(then));
    provider->addCallback(called, &made);
    return made;
  }

  Log notify()
  {
    log.clear();
    provider->callNotifyCallbacks();
    return log;
  }

  Log log;
  std::vector<std::unique_ptr<Entry>> entries;
  Owned<RecordingProvider> provider = support::make<RecordingProvider>();
};

TEST_F(CallbacksTest, WithoutCallbacksNothingHappens)
{
  EXPECT_EQ(Log{}, notify());
}

TEST_F(CallbacksTest, AreCalledInTheOrderOfTheirRegistrationWithTheirData)
{
  added("a");
  added("b");
  added("c");
  EXPECT_EQ((Log{"a", "b", "c"}), notify());
  EXPECT_EQ((Log{"a", "b", "c"}), notify());
}

TEST_F(CallbacksTest, SamePairMayBeRegisteredMoreThanOnce)
{
  Entry& a = added("a");
  added("b");
  provider->addCallback(called, &a);
  EXPECT_EQ((Log{"a", "b", "a"}), notify());
}

TEST_F(CallbacksTest, RemovingTakesEveryRegistrationOfThePair)
{
  Entry& a = added("a");
  provider->addCallback(called, &a);
  added("b");
  provider->addCallback(called, &a);
  provider->addCallback(called, &a);
  provider->removeCallback(called, &a);
  EXPECT_EQ((Log{"b"}), notify());
}

TEST_F(CallbacksTest, RemovingNeedsFunctionAndDataBoth)
{
  Entry& a = added("a");
  Entry& b = added("b");
  provider->addCallback(calledToo, &a);
  provider->removeCallback(calledToo, &b);
  EXPECT_EQ((Log{"a", "b", "a'"}), notify());
  provider->removeCallback(called, &a);
  EXPECT_EQ((Log{"b", "a'"}), notify());
  provider->removeCallback(calledToo, &a);
  EXPECT_EQ((Log{"b"}), notify());
}

TEST_F(CallbacksTest, RemovingKeepsTheOrderOfTheOthers)
{
  std::vector<Entry*> made;
  for (const char* name : {"a", "b", "c", "d", "e"})
    made.push_back(&added(name));
  provider->removeCallback(called, made[2]);
  EXPECT_EQ((Log{"a", "b", "d", "e"}), notify());
  provider->removeCallback(called, made[0]);
  EXPECT_EQ((Log{"b", "d", "e"}), notify());
  provider->removeCallback(called, made[4]);
  EXPECT_EQ((Log{"b", "d"}), notify());
  added("f");
  EXPECT_EQ((Log{"b", "d", "f"}), notify());
}

TEST_F(CallbacksTest, RemovingWhatIsNotThereChangesNothing)
{
  provider->removeCallback(called, &entry("unknown"));
  added("a");
  provider->removeCallback(called, &entry("unknown"));
  provider->removeCallback(called, nullptr);
  EXPECT_EQ((Log{"a"}), notify());
}

TEST_F(CallbacksTest, NullIsDataAsAnyOther)
{
  static int calls = 0;
  calls = 0;
  const auto count = [](void* data) { calls += data == nullptr ? 1 : 100; };
  provider->addCallback(count, nullptr);
  provider->callNotifyCallbacks();
  EXPECT_EQ(1, calls);
  provider->removeCallback(count, nullptr);
  provider->callNotifyCallbacks();
  EXPECT_EQ(1, calls);
}

TEST_F(CallbacksTest, GrowBeyondEverySlotCount)
{
  Log expected;
  for (int i = 0; i < 47; ++i) {
    const std::string name = "callback " + std::to_string(i);
    added(name);
    expected.push_back(name);
    ASSERT_EQ(expected, notify()) << i + 1 << " callbacks";
  }
}

TEST_F(CallbacksTest, ElevenMayBeRemovedAndAddedAgain)
{
  std::vector<Entry*> made;
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 11; ++i)
      made.push_back(&added(std::to_string(i)));
    EXPECT_EQ(11u, notify().size());
    for (Entry* const one : made)
      provider->removeCallback(called, one);
    made.clear();
    EXPECT_EQ(Log{}, notify());
  }
}

TEST_F(CallbacksTest, DestructionCallsNone)
{
  added("a");
  log.clear();
  provider.drop();
  EXPECT_EQ(Log{}, log);
}

TEST_F(CallbacksTest, NoProviderLockIsHeldWhileTheyRun)
{
  bool wasHeld = true;
  added("a", [&] { wasHeld = support::isLockHeld(*provider); });
  EXPECT_EQ((Log{"a"}), notify());
  EXPECT_FALSE(wasHeld);
}

TEST_F(CallbacksTest, CallingThemTakesNoProviderLock)
{
  added("a");
  const support::HeldLock held(*provider);
  EXPECT_EQ((Log{"a"}), notify()); // would wait for ever
}

TEST_F(CallbacksTest, AddingAndRemovingTakeTheProviderLock)
{
  Entry& a = entry("a");
  EXPECT_TRUE(support::waitsForLock(*provider, [&] { provider->addCallback(called, &a); }));
  EXPECT_EQ((Log{"a"}), notify());
  EXPECT_TRUE(support::waitsForLock(*provider, [&] { provider->removeCallback(called, &a); }));
  EXPECT_EQ(Log{}, notify());
  EXPECT_FALSE(support::isLockHeld(*provider));
}

TEST_F(CallbacksTest, OneMayRemoveItself)
{
  added("a");
  Entry& b = entry("b");
  b.then = [&] { provider->removeCallback(called, &b); };
  provider->addCallback(called, &b);
  added("c");
  EXPECT_EQ((Log{"a", "b", "c"}), notify());
  EXPECT_EQ((Log{"a", "c"}), notify());
}

TEST_F(CallbacksTest, EveryOneMayRemoveItself)
{
  for (int i = 0; i < 12; ++i) {
    Entry& own = entry(std::to_string(i));
    own.then = [this, &own] { provider->removeCallback(called, &own); };
    provider->addCallback(called, &own);
  }
  EXPECT_EQ(12u, notify().size());
  EXPECT_EQ(Log{}, notify());
}

TEST_F(CallbacksTest, OneThatRemovesItsOtherRegistrationsIsNotCalledAgain)
{
  Entry& a = entry("a");
  a.then = [&] { provider->removeCallback(called, &a); };
  provider->addCallback(called, &a);
  added("b");
  provider->addCallback(called, &a);
  EXPECT_EQ((Log{"a", "b"}), notify());
}

TEST_F(CallbacksTest, ALaterOneRemovedMeanwhileIsNotCalled)
{
  Entry& a = added("a");
  added("b");
  Entry& c = added("c");
  added("d");
  a.then = [&] { provider->removeCallback(called, &c); };
  EXPECT_EQ((Log{"a", "b", "d"}), notify());
  EXPECT_EQ((Log{"a", "b", "d"}), notify());
}

TEST_F(CallbacksTest, TheNextOneRemovedMeanwhileIsNotCalledAndNoneIsSkipped)
{
  Entry& a = added("a");
  Entry& b = added("b");
  added("c");
  a.then = [&] { provider->removeCallback(called, &b); };
  EXPECT_EQ((Log{"a", "c"}), notify());
}

TEST_F(CallbacksTest, AnEarlierOneRemovedMeanwhileSkipsNone)
{
  Entry& a = added("a");
  Entry& b = added("b");
  Entry& c = added("c");
  added("d");
  added("e");
  c.then = [&] {
    provider->removeCallback(called, &a);
    provider->removeCallback(called, &b);
  };
  EXPECT_EQ((Log{"a", "b", "c", "d", "e"}), notify());
  EXPECT_EQ((Log{"c", "d", "e"}), notify());
}

TEST_F(CallbacksTest, EarlierLaterAndItselfMayGoAtOnce)
{
  std::vector<Entry*> made;
  for (const char* name : {"a", "b", "c", "d", "e", "f"})
    made.push_back(&added(name));
  made[2]->then = [&] {
    for (const std::size_t index : {4u, 2u, 0u})
      provider->removeCallback(called, made[index]);
  };
  EXPECT_EQ((Log{"a", "b", "c", "d", "f"}), notify());
  EXPECT_EQ((Log{"b", "d", "f"}), notify());
}

TEST_F(CallbacksTest, AllMayGoAtOnce)
{
  std::vector<Entry*> made;
  for (int i = 0; i < 25; ++i)
    made.push_back(&added(std::to_string(i)));
  made[7]->then = [&] {
    for (Entry* const one : made)
      provider->removeCallback(called, one);
  };
  EXPECT_EQ(8u, notify().size());
  EXPECT_EQ(Log{}, notify());
}

TEST_F(CallbacksTest, OneAddedMeanwhileIsCalledFromTheNextTimeOn)
{
  Entry& late = entry("late");
  Entry& a = entry("a");
  a.then = [&] {
    provider->addCallback(called, &late);
    a.then = {};
  };
  provider->addCallback(called, &a);
  added("b");
  EXPECT_EQ((Log{"a", "b"}), notify());
  EXPECT_EQ((Log{"a", "b", "late"}), notify());
}

TEST_F(CallbacksTest, ManyAddedMeanwhileLeaveTheRunningNotificationIntact)
{
  Entry& a = added("a");
  Entry& b = added("b");
  a.then = [&] {
    for (int i = 0; i < 30; ++i)
      provider->addCallback(calledToo, &b);
    a.then = {};
  };
  EXPECT_EQ((Log{"a", "b"}), notify());
  EXPECT_EQ(32u, notify().size());
}

TEST_F(CallbacksTest, OneRemovedAndAddedAgainMeanwhileIsCalledFromTheNextTimeOn)
{
  Entry& a = added("a");
  Entry& b = added("b");
  added("c");
  a.then = [&] {
    provider->removeCallback(called, &b);
    provider->addCallback(called, &b);
    a.then = {};
  };
  EXPECT_EQ((Log{"a", "c"}), notify());
  EXPECT_EQ((Log{"a", "c", "b"}), notify());
}

TEST_F(CallbacksTest, OneMayNotifyAgain)
{
  Entry& a = entry("a");
  a.then = [&] {
    a.then = {};
    provider->callNotifyCallbacks();
  };
  provider->addCallback(called, &a);
  added("b");
  EXPECT_EQ((Log{"a", "a", "b", "b"}), notify());
}

TEST_F(CallbacksTest, WhatANestedNotificationRemovesIsCalledByNeither)
{
  Entry& a = added("a");
  Entry& b = added("b");
  Entry& c = added("c");
  added("d");
  a.then = [&] {
    a.then = [&] { provider->removeCallback(called, &c); };
    provider->callNotifyCallbacks();
    provider->removeCallback(called, &b);
  };
  EXPECT_EQ((Log{"a", "a", "b", "d", "d"}), notify());
}

TEST_F(CallbacksTest, OneMayChangeAnotherProvidersList)
{
  const Owned<RecordingProvider> other = support::make<RecordingProvider>();
  Entry& b = entry("b");
  added("a", [&] {
    other->addCallback(called, &b);
    other->callNotifyCallbacks();
    other->removeCallback(called, &b);
    other->callNotifyCallbacks();
  });
  EXPECT_EQ((Log{"a", "b"}), notify());
}

TEST_F(CallbacksTest, OneThatIsAddedAndRemovedByAnotherTakesNobodysTurn)
{
  Entry& passing = entry("passing");
  added("a", [&] {
    provider->addCallback(called, &passing);
    provider->removeCallback(called, &passing);
  });
  added("b");
  added("c");
  EXPECT_EQ((Log{"a", "b", "c"}), notify());
  EXPECT_EQ((Log{"a", "b", "c"}), notify());
}

} // namespace
