// The list of playback callbacks that every player has.

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "playback/TovAudioPlayerNull.h"

namespace {

/** One call of a callback. */
struct Heard {
  int function;
  int data;
  TovAudioPlayer* player;
  TovAudioPlayer::Status status;
  float a;
  float b;
  bool operator==(const Heard&) const = default;
};

constexpr int kFunctions = 25;
constexpr int kNoData = -1;

std::vector<Heard> heard;
std::map<int, std::function<void()>> reactions; ///< of each function, when it is called

template <int kNumber>
void callback(void* data, TovAudioPlayer* player, TovAudioPlayer::Status status, float a, float b)
{
  heard.push_back({kNumber, data ? *static_cast<int*>(data) : kNoData, player, status, a, b});
  const auto reaction = reactions.find(kNumber);
  if (reaction != reactions.end()) {
    const std::function<void()> react = reaction->second; // which may take itself away
    react();
  }
}

template <int... kNumbers>
std::vector<TovAudioPlayer::PlaybackCallback> callbacks(std::integer_sequence<int, kNumbers...>)
{
  return {callback<kNumbers>...};
}

class PlayerCallbacksTest : public testing::Test {
protected:
  PlayerCallbacksTest() : functions(callbacks(std::make_integer_sequence<int, kFunctions>()))
  {
    for (int i = 0; i < 100; ++i)
      numbers.push_back(i);
    heard.clear();
    reactions.clear();
  }
  ~PlayerCallbacksTest() override { reactions.clear(); }

  void add(int function, int data) { player.addPlaybackCallback(functions.at(index(function)), &numbers.at(index(data))); }
  void remove(int function) { player.removePlaybackCallback(functions.at(index(function))); }

  /** The functions and data that one notification calls, in order. */
  std::vector<std::pair<int, int>> notified()
  {
    heard.clear();
    player.callPlaybackCallbacks(TovAudioPlayer::Playing, 0.0f, 0.0f);
    std::vector<std::pair<int, int>> pairs;
    for (const Heard& call : heard)
      pairs.emplace_back(call.function, call.data);
    return pairs;
  }

  static std::size_t index(int number) { return static_cast<std::size_t>(number); }

  TovAudioPlayerNull player;
  std::vector<TovAudioPlayer::PlaybackCallback> functions;
  std::vector<int> numbers;
};

using Pairs = std::vector<std::pair<int, int>>;

TEST_F(PlayerCallbacksTest, StatusesHaveTheirNumbers)
{
  EXPECT_EQ(0, static_cast<int>(TovAudioPlayer::Stopped));
  EXPECT_EQ(1, static_cast<int>(TovAudioPlayer::Playing));
}

TEST_F(PlayerCallbacksTest, NothingIsCalledWhereNothingIsRegistered)
{
  EXPECT_EQ(Pairs(), notified());
}

TEST_F(PlayerCallbacksTest, ACallbackHearsItsDataThePlayerTheStatusAndBothNumbers)
{
  add(3, 42);
  player.callPlaybackCallbacks(TovAudioPlayer::Playing, 1.5f, -2.5f);
  player.callPlaybackCallbacks(TovAudioPlayer::Stopped, 0.0f, 7.0f);
  const std::vector<Heard> expected = {{3, 42, &player, TovAudioPlayer::Playing, 1.5f, -2.5f},
                                       {3, 42, &player, TovAudioPlayer::Stopped, 0.0f, 7.0f}};
  EXPECT_EQ(expected, heard);
}

TEST_F(PlayerCallbacksTest, DataMayBeNull)
{
  player.addPlaybackCallback(functions[0], nullptr);
  EXPECT_EQ((Pairs{{0, kNoData}}), notified());
}

TEST_F(PlayerCallbacksTest, CallbacksAreCalledInTheOrderOfRegistrationBeyondTenAndTwenty)
{
  Pairs expected;
  for (int i = 0; i < kFunctions; ++i) {
    add(i, 2 * i);
    expected.emplace_back(i, 2 * i);
    EXPECT_EQ(expected, notified()) << i + 1 << " callbacks";
  }
}

TEST_F(PlayerCallbacksTest, OneFunctionMayBeRegisteredSeveralTimes)
{
  add(1, 10);
  add(1, 11);
  add(1, 10);
  EXPECT_EQ((Pairs{{1, 10}, {1, 11}, {1, 10}}), notified());
}

TEST_F(PlayerCallbacksTest, RemovingTakesTheFirstRegistrationWithItsData)
{
  add(0, 20);
  add(1, 21);
  add(2, 22);
  add(1, 23);
  add(3, 24);
  remove(1);
  EXPECT_EQ((Pairs{{0, 20}, {2, 22}, {1, 23}, {3, 24}}), notified());
  remove(1);
  EXPECT_EQ((Pairs{{0, 20}, {2, 22}, {3, 24}}), notified());
}

TEST_F(PlayerCallbacksTest, FirstAndLastCanBeRemoved)
{
  add(0, 1);
  add(1, 2);
  add(2, 3);
  remove(2);
  EXPECT_EQ((Pairs{{0, 1}, {1, 2}}), notified());
  remove(0);
  EXPECT_EQ((Pairs{{1, 2}}), notified());
  remove(1);
  EXPECT_EQ(Pairs(), notified());
}

TEST_F(PlayerCallbacksTest, RemovingWhatWasNeverAddedChangesNothing)
{
  remove(5);
  add(0, 1);
  add(1, 2);
  remove(5);
  EXPECT_EQ((Pairs{{0, 1}, {1, 2}}), notified());
}

TEST_F(PlayerCallbacksTest, WhatIsAddedAfterARemovalComesLast)
{
  for (int i = 0; i < 11; ++i)
    add(i, i);
  for (int i = 0; i < 5; ++i)
    remove(2 * i);
  add(0, 99);
  EXPECT_EQ((Pairs{{1, 1}, {3, 3}, {5, 5}, {7, 7}, {9, 9}, {10, 10}, {0, 99}}), notified());
}

// --- Changes during a notification ------------------------------------------

TEST_F(PlayerCallbacksTest, WhatANotificationAddsIsCalledFromTheNextOneOn)
{
  reactions[0] = [this] {
    reactions.clear();
    add(5, 50);
  };
  add(0, 1);
  add(1, 2);
  EXPECT_EQ((Pairs{{0, 1}, {1, 2}}), notified());
  EXPECT_EQ((Pairs{{0, 1}, {1, 2}, {5, 50}}), notified());
}

TEST_F(PlayerCallbacksTest, ANotificationMayMakeTheListGrow)
{
  for (int i = 0; i < 10; ++i)
    add(i, i);
  reactions[4] = [this] {
    reactions.clear();
    for (int i = 10; i < kFunctions; ++i)
      add(i, i);
  };
  EXPECT_EQ(10u, notified().size());
  EXPECT_EQ(25u, notified().size());
}

TEST_F(PlayerCallbacksTest, WhatANotificationRemovesAheadIsNotCalledByIt)
{
  for (int i = 0; i < 4; ++i)
    add(i, i);
  reactions[0] = [this] { remove(2); };
  EXPECT_EQ((Pairs{{0, 0}, {1, 1}, {3, 3}}), notified());
}

TEST_F(PlayerCallbacksTest, ACallbackMayRemoveItselfAndNoneIsPassedOver)
{
  for (int i = 0; i < 4; ++i)
    add(i, i);
  reactions[1] = [this] { remove(1); };
  EXPECT_EQ((Pairs{{0, 0}, {1, 1}, {2, 2}, {3, 3}}), notified());
  EXPECT_EQ((Pairs{{0, 0}, {2, 2}, {3, 3}}), notified());
}

TEST_F(PlayerCallbacksTest, RemovingWhatWasCalledAlreadyPassesNoneOver)
{
  for (int i = 0; i < 4; ++i)
    add(i, i);
  reactions[2] = [this] { remove(0); };
  EXPECT_EQ((Pairs{{0, 0}, {1, 1}, {2, 2}, {3, 3}}), notified());
}

TEST_F(PlayerCallbacksTest, TheLastCallbackMayRemoveAll)
{
  for (int i = 0; i < 3; ++i)
    add(i, i);
  reactions[2] = [this] {
    for (int i = 0; i < 3; ++i)
      remove(i);
  };
  EXPECT_EQ((Pairs{{0, 0}, {1, 1}, {2, 2}}), notified());
  EXPECT_EQ(Pairs(), notified());
}

TEST_F(PlayerCallbacksTest, RemovedAndAddedAgainCountsAsAdded)
{
  for (int i = 0; i < 3; ++i)
    add(i, i);
  reactions[0] = [this] {
    reactions.clear();
    remove(1);
    add(1, 10);
  };
  EXPECT_EQ((Pairs{{0, 0}, {2, 2}}), notified());
  EXPECT_EQ((Pairs{{0, 0}, {2, 2}, {1, 10}}), notified());
}

TEST_F(PlayerCallbacksTest, ANotificationInsideANotificationRemovesForBoth)
{
  for (int i = 0; i < 4; ++i)
    add(i, i);
  reactions[1] = [this] {
    reactions.clear();
    reactions[2] = [this] { remove(3); };
    player.callPlaybackCallbacks(TovAudioPlayer::Stopped, 0.0f, 0.0f);
  };
  EXPECT_EQ((Pairs{{0, 0}, {1, 1}, {0, 0}, {1, 1}, {2, 2}, {2, 2}}), notified());
}

TEST_F(PlayerCallbacksTest, PlayersHaveListsOfTheirOwn)
{
  TovAudioPlayerNull other;
  other.addPlaybackCallback(functions[7], &numbers[7]);
  add(0, 1);
  EXPECT_EQ((Pairs{{0, 1}}), notified());
  remove(7);
  heard.clear();
  other.callPlaybackCallbacks(TovAudioPlayer::Stopped, 0.0f, 0.0f);
  EXPECT_EQ((std::vector<Heard>{{7, 7, &other, TovAudioPlayer::Stopped, 0.0f, 0.0f}}), heard);
}

// --- Filter frequency ---------------------------------------------------------

TEST_F(PlayerCallbacksTest, TheFilterFrequencyIsKept)
{
  EXPECT_EQ(0, player.getFilterFreq());
  for (const int frequency : {8000, -1, 0, 2147483647, -2147483647 - 1}) {
    EXPECT_EQ(0, player.setFilterFreq(frequency));
    EXPECT_EQ(frequency, player.getFilterFreq());
  }
}

// --- The null player ------------------------------------------------------------

TEST_F(PlayerCallbacksTest, TheNullPlayerRefusesAndLeavesOutputsAlone)
{
  double time = 12.5;
  float levels[2] = {3.0f, 4.0f};
  float volume = 5.0f;
  EXPECT_EQ(1, player.play(0.0, 1.0, false));
  EXPECT_EQ(1, player.stop());
  EXPECT_EQ(0, player.isPlaying());
  EXPECT_EQ(1, player.getCurrentTime(&time));
  EXPECT_EQ(1, player.getLevels(levels, &player));
  EXPECT_EQ(1, player.getVolume(&volume));
  EXPECT_EQ(1, player.setVolume(0.5f));
  EXPECT_EQ(1, player.getCurrentTime(nullptr));
  EXPECT_EQ(1, player.getLevels(nullptr, nullptr));
  EXPECT_EQ(1, player.getVolume(nullptr));
  EXPECT_EQ(12.5, time);
  EXPECT_EQ(3.0f, levels[0]);
  EXPECT_EQ(4.0f, levels[1]);
  EXPECT_EQ(5.0f, volume);
}

TEST_F(PlayerCallbacksTest, TheNullPlayerSendsNoNotificationsAndCallsNoStopCallback)
{
  int calls = 0;
  add(0, 0);
  player.setStopRequestCallback([](void* data) { ++*static_cast<int*>(data); }, &calls);
  player.play(0.0, 0.0, false);
  player.play(0.0, 1.0, true);
  player.stop();
  EXPECT_TRUE(heard.empty());
  EXPECT_EQ(0, calls);
}

TEST_F(PlayerCallbacksTest, APlayerMayBeDestroyedThroughItsBaseWithCallbacksRegistered)
{
  std::unique_ptr<TovAudioPlayer> other = std::make_unique<TovAudioPlayerNull>();
  for (int i = 0; i < 15; ++i)
    other->addPlaybackCallback(functions[0], nullptr);
  other.reset();
  EXPECT_TRUE(heard.empty()); // its end is no notification
}

} // namespace
