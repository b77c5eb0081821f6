// The list that threads hand nodes over in, on one thread.

#include <atomic>
#include <vector>

#include <gtest/gtest.h>

#include "playback/TovHandOver.h"

namespace {

struct Node {
  Node* next = nullptr;
  int number = 0;
};

std::vector<int> numbers(const Node* list)
{
  std::vector<int> found;
  for (; list && found.size() < 100; list = list->next)
    found.push_back(list->number);
  return found;
}

class HandOverTest : public testing::Test {
protected:
  HandOverTest()
  {
    for (int i = 0; i < 5; ++i)
      nodes[i].number = i;
  }

  Node* push(int number) { return hc_test_then_link_i32(slot, &nodes[number]); }
  Node* takeAll() { return hc_test_then_swap_ptr(slot, nullptr); }

  Node nodes[5];
  std::atomic<Node*> slot{nullptr};
};

TEST_F(HandOverTest, PushReturnsItsNode)
{
  EXPECT_EQ(&nodes[2], push(2));
  EXPECT_EQ(&nodes[3], push(3));
}

TEST_F(HandOverTest, WhatWasPushedIsTakenNewestFirst)
{
  for (const int number : {0, 1, 2, 3})
    push(number);
  EXPECT_EQ((std::vector<int>{3, 2, 1, 0}), numbers(takeAll()));
}

TEST_F(HandOverTest, TakingLeavesNothing)
{
  EXPECT_EQ(nullptr, takeAll());
  push(0);
  takeAll();
  EXPECT_EQ(nullptr, takeAll());
}

TEST_F(HandOverTest, APushedNodeForgetsWhereItHungBefore)
{
  nodes[0].next = &nodes[4];
  push(0);
  EXPECT_EQ((std::vector<int>{0}), numbers(takeAll()));
  nodes[1].next = &nodes[4];
  push(3);
  push(1);
  EXPECT_EQ((std::vector<int>{1, 3}), numbers(takeAll()));
}

TEST_F(HandOverTest, SwapPutsAListInPlaceOfAnother)
{
  push(0);
  push(1);
  nodes[2].next = &nodes[3];
  EXPECT_EQ((std::vector<int>{1, 0}), numbers(hc_test_then_swap_ptr(slot, &nodes[2])));
  EXPECT_EQ((std::vector<int>{2, 3}), numbers(takeAll()));
}

TEST_F(HandOverTest, AListIsTurnedRound)
{
  for (const int number : {0, 1, 2, 3, 4})
    push(number);
  EXPECT_EQ((std::vector<int>{0, 1, 2, 3, 4}), numbers(tovOldestFirst(takeAll())));
}

TEST_F(HandOverTest, TurningNothingOrOneNodeRoundGivesTheSame)
{
  EXPECT_EQ(nullptr, tovOldestFirst<Node>(nullptr));
  EXPECT_EQ(&nodes[1], tovOldestFirst(&nodes[1]));
  EXPECT_EQ(nullptr, nodes[1].next);
}

/** A slot whose exchange fails until it has been tried a few times, as the
 *  weak form may, and into which others push meanwhile. */
struct ContendedSlot {
  std::atomic<Node*> slot{nullptr};
  std::vector<Node*> intruders = {};
  int spuriousFailures = 3;

  Node* load(std::memory_order order) { return slot.load(order); }
  bool compare_exchange_weak(Node*& expected, Node* value, std::memory_order success,
                             std::memory_order failure)
  {
    if (spuriousFailures > 0) {
      --spuriousFailures;
      expected = slot.load(failure);
      return false;
    }
    if (!intruders.empty()) {
      intruders.back()->next = slot;
      slot = intruders.back();
      intruders.pop_back();
    }
    return slot.compare_exchange_strong(expected, value, success, failure);
  }
};

TEST_F(HandOverTest, APushThatOthersComeBeforeLosesNone)
{
  ContendedSlot contended;
  contended.intruders = {&nodes[3], &nodes[2], &nodes[1]};
  contended.slot = &nodes[0];
  hc_test_then_link_i32(contended, &nodes[4]);
  EXPECT_EQ((std::vector<int>{4, 3, 2, 1, 0}), numbers(contended.slot));
}

} // namespace
