#include "core/TovGlobals.h"

#include <array>
#include <atomic>
#include <barrier>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

namespace {

static_assert(std::is_same_v<TovId, int>);
static_assert(kTovIdInteger == 6);
static_assert(kTovIdFloat == 10);

/** The name of a setting that nothing has declared, asked for or set. */
TovName freshName()
{
  static std::atomic<int> next{0};
  return TovName::sprintf("test.setting%d", next++);
}

TEST(Globals, DefReturnsAPlugWithTheDefault)
{
  TovPlug* const plug = TovGlobals::def(freshName(), "42", kTovIdInteger);
  ASSERT_NE(plug, nullptr);
  EXPECT_EQ(plug->asInt(), 42);
  EXPECT_EQ(plug->asFloat(), 42.0f);
}

TEST(Globals, DefTakesAnInternedDefaultToo)
{
  TovPlug* const plug = TovGlobals::def(freshName(), TovName::getString(44100), kTovIdInteger);
  ASSERT_NE(plug, nullptr);
  EXPECT_EQ(plug->asInt(), 44100);
  TovPlug* const empty = TovGlobals::def(freshName(), TovName::nullName, kTovIdInteger);
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(empty->asInt(), 0);
}

TEST(Globals, NullDefaultReadsAsZero)
{
  const char* const none = nullptr;
  for (const TovId type : {kTovIdInteger, kTovIdFloat}) {
    TovPlug* const plug = TovGlobals::def(freshName(), none, type);
    ASSERT_NE(plug, nullptr);
    EXPECT_EQ(plug->asInt(), 0);
    EXPECT_EQ(plug->asFloat(), 0.0f);
  }
}

TEST(Globals, RefOfAnUndeclaredSettingMakesItAndReadsZero)
{
  for (const int argument : {0, 1}) {
    const TovName name = freshName();
    TovPlug* const plug = TovGlobals::ref(name, kTovIdFloat, argument);
    ASSERT_NE(plug, nullptr);
    EXPECT_EQ(plug->asInt(), 0);
    EXPECT_EQ(plug->asFloat(), 0.0f);
    EXPECT_EQ(TovGlobals::ref(name, kTovIdFloat, argument), plug);
  }
}

TEST(Globals, DefThenRefGiveOnePlug)
{
  const TovName name = freshName();
  TovPlug* const declared = TovGlobals::def(name, "7", kTovIdInteger);
  EXPECT_EQ(TovGlobals::ref(name, kTovIdInteger, 1), declared);
  EXPECT_EQ(declared->asInt(), 7);
}

TEST(Globals, RefThenDefGiveOnePlugWithTheDeclaredDefault)
{
  const TovName name = freshName();
  TovPlug* const plug = TovGlobals::ref(name, kTovIdInteger, 1);
  EXPECT_EQ(TovGlobals::def(name, "7", kTovIdInteger), plug);
  EXPECT_EQ(plug->asInt(), 7);
  EXPECT_EQ(TovGlobals::ref(name, kTovIdInteger, 1), plug);
  EXPECT_EQ(plug->asInt(), 7);
}

TEST(Globals, FirstDeclarationsDefaultHolds)
{
  const TovName name = freshName();
  TovPlug* const plug = TovGlobals::def(name, "7", kTovIdInteger);
  EXPECT_EQ(TovGlobals::def(name, "8", kTovIdInteger), plug);
  EXPECT_EQ(TovGlobals::def(name, TovName::getString(9), kTovIdInteger), plug);
  EXPECT_EQ(plug->asInt(), 7);
}

TEST(Globals, HostsValueIsSeenAtOnceThroughEveryPlug)
{
  const TovName name = freshName();
  TovPlug* const declared = TovGlobals::def(name, "1", kTovIdInteger);
  TovPlug* const referred = TovGlobals::ref(name, kTovIdInteger, 1);
  referred->set("2");
  EXPECT_EQ(declared->asInt(), 2);
  declared->set("3");
  EXPECT_EQ(referred->asInt(), 3);
}

TEST(Globals, HostsValueWinsOverALaterDeclaration)
{
  const TovName name = freshName();
  TovPlug* const plug = TovGlobals::ref(name, kTovIdInteger, 1);
  plug->set("5");
  TovGlobals::def(name, "7", kTovIdInteger);
  EXPECT_EQ(plug->asInt(), 5);
  TovGlobals::def(name, TovName::getString(8), kTovIdInteger);
  EXPECT_EQ(plug->asInt(), 5);
}

TEST(Globals, HostsNullWinsOverALaterDeclarationToo)
{
  const TovName name = freshName();
  TovPlug* const plug = TovGlobals::ref(name, kTovIdInteger, 1);
  plug->set(nullptr);
  TovGlobals::def(name, "7", kTovIdInteger);
  EXPECT_EQ(plug->asInt(), 0);
}

TEST(Globals, HostsValueWinsOverAnEarlierAndALaterDeclaration)
{
  const TovName name = freshName();
  TovPlug* const plug = TovGlobals::def(name, "7", kTovIdInteger);
  plug->set("5");
  TovGlobals::def(name, "8", kTovIdInteger);
  TovGlobals::ref(name, kTovIdInteger, 1);
  EXPECT_EQ(plug->asInt(), 5);
}

TEST(Globals, SettingsAreIndependent)
{
  const TovName names[] = {freshName(), freshName(), freshName()};
  std::set<TovPlug*> plugs;
  for (const TovName& name : names)
    plugs.insert(TovGlobals::def(name, "1", kTovIdInteger));
  EXPECT_EQ(plugs.size(), 3u);
  TovGlobals::ref(names[1], kTovIdInteger, 1)->set("9");
  EXPECT_EQ(TovGlobals::ref(names[0], kTovIdInteger, 1)->asInt(), 1);
  EXPECT_EQ(TovGlobals::ref(names[1], kTovIdInteger, 1)->asInt(), 9);
  EXPECT_EQ(TovGlobals::ref(names[2], kTovIdInteger, 1)->asInt(), 1);
}

TEST(Globals, PlugsStayWhereTheyAreWhileTheRegistryGrows)
{
  const TovName name = freshName();
  TovPlug* const plug = TovGlobals::def(name, "7", kTovIdInteger);
  for (int i = 0; i < 2000; ++i)
    TovGlobals::ref(freshName(), kTovIdInteger, 1);
  EXPECT_EQ(TovGlobals::ref(name, kTovIdInteger, 1), plug);
  EXPECT_EQ(plug->asInt(), 7);
}

TEST(GlobalsThreads, ConcurrentRefsGiveOnePlugEach)
{
  constexpr int kThreads = 8;
  constexpr std::size_t kSettings = 5000;
  constexpr std::size_t kRound = 50; // the threads meet again before each
  std::vector<TovName> names;
  for (std::size_t i = 0; i < kSettings; ++i)
    names.push_back(freshName());
  std::array<std::vector<TovPlug*>, kThreads> plugs;
  std::barrier meeting(kThreads);
  std::vector<std::thread> threads;
  for (std::vector<TovPlug*>& own : plugs) {
    threads.emplace_back([&names, &meeting, &own] {
      for (std::size_t i = 0; i < kSettings; ++i) {
        if (i % kRound == 0)
          meeting.arrive_and_wait();
        own.push_back(TovGlobals::ref(names[i], kTovIdInteger, 1));
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  std::set<TovPlug*> distinct(plugs[0].begin(), plugs[0].end());
  EXPECT_EQ(distinct.size(), kSettings);
  EXPECT_EQ(distinct.count(nullptr), 0u);
  for (const std::vector<TovPlug*>& own : plugs)
    EXPECT_TRUE(own == plugs[0]);
}

TEST(GlobalsThreads, ConcurrentDeclarationsAgreeOnOneDefault)
{
  constexpr int kThreads = 8;
  for (int round = 0; round < 50; ++round) {
    const TovName name = freshName();
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    std::array<TovPlug*, kThreads> plugs = {};
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        start.arrive_and_wait();
        plugs[static_cast<std::size_t>(t)] =
            TovGlobals::def(name, TovName::getString(100 + t), kTovIdInteger);
      });
    }
    for (std::thread& thread : threads)
      thread.join();
    for (TovPlug* const plug : plugs)
      ASSERT_EQ(plug, plugs[0]);
    const int value = plugs[0]->asInt();
    ASSERT_GE(value, 100);
    ASSERT_LT(value, 100 + kThreads);
    TovGlobals::def(name, "7", kTovIdInteger);
    ASSERT_EQ(plugs[0]->asInt(), value);
  }
}

// Whichever comes first, the host's value stands in the end.  The default is
// long, so that taking it over lasts until the host's value comes.
TEST(GlobalsThreads, HostsValueWinsOverADeclarationAtTheSameTime)
{
  constexpr int kRounds = 100;
  const std::string longDefault = "7." + std::string(300000, '0');
  int lost = 0;
  for (int i = 0; i < kRounds; ++i) {
    const TovName name = freshName();
    TovPlug* const plug = TovGlobals::ref(name, kTovIdInteger, 1);
    std::barrier start(2);
    std::thread declarer([&] {
      start.arrive_and_wait();
      TovGlobals::def(name, longDefault.c_str(), kTovIdInteger);
    });
    start.arrive_and_wait();
    plug->set("5");
    declarer.join();
    lost += plug->asInt() != 5;
  }
  EXPECT_EQ(lost, 0) << "of " << kRounds << " values of the host";
}

} // namespace
