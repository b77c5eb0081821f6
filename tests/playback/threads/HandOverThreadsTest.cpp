// Many threads that push and one that takes: what a list loses, doubles or
// reorders shows in the numbers of its nodes.

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "playback/TovHandOver.h"

namespace {

struct Node {
  Node* next = nullptr;
  int pusher = 0;
  int number = 0;
};

constexpr int kPushers = 4;

TEST(HandOverThreadsTest, NothingIsLostDoubledOrReordered)
{
  constexpr int kNodes = 50000;
  std::atomic<Node*> slot{nullptr};
  std::atomic<int> ready{0};
  std::vector<std::unique_ptr<Node[]>> nodes;
  for (int p = 0; p < kPushers; ++p)
    nodes.push_back(std::make_unique<Node[]>(kNodes));
  std::vector<std::thread> pushers;
  for (int p = 0; p < kPushers; ++p) {
    pushers.emplace_back([&, p] {
      ++ready;
      while (ready <= kPushers) // the taker too
        std::this_thread::yield();
      for (int i = 0; i < kNodes; ++i) {
        Node& node = nodes[static_cast<std::size_t>(p)][static_cast<std::size_t>(i)];
        node.pusher = p;
        node.number = i;
        hc_test_then_link_i32(slot, &node);
      }
    });
  }
  ++ready;
  int next[kPushers] = {};
  long long taken = 0;
  long long wrong = 0;
  while (taken < static_cast<long long>(kPushers) * kNodes && wrong == 0) {
    const Node* list = tovOldestFirst(hc_test_then_swap_ptr(slot, nullptr));
    if (!list)
      std::this_thread::yield();
    for (; list; list = list->next) {
      wrong += list->number == next[list->pusher] ? 0 : 1;
      ++next[list->pusher];
      ++taken;
    }
  }
  for (std::thread& thread : pushers)
    thread.join();
  EXPECT_EQ(0, wrong);
  EXPECT_EQ(nullptr, slot.load());
}

TEST(HandOverThreadsTest, NodesMayGoRoundBetweenTwoLists)
{
  // As blocks do: one thread takes all, keeps one and gives the others back.
  constexpr int kRounds = 100000;
  Node nodes[4];
  std::atomic<Node*> free{nullptr};
  std::atomic<Node*> finished{nullptr};
  for (Node& node : nodes)
    hc_test_then_link_i32(free, &node);
  std::thread maker([&] {
    for (int i = 0; i < kRounds;) {
      Node* const node = hc_test_then_swap_ptr(free, nullptr);
      if (!node) {
        std::this_thread::yield();
        continue;
      }
      for (Node* rest = node->next; rest;) {
        Node* const following = rest->next;
        hc_test_then_link_i32(free, rest);
        rest = following;
      }
      node->number = i++;
      hc_test_then_link_i32(finished, node);
    }
  });
  int expected = 0;
  int wrong = 0;
  while (expected < kRounds) {
    Node* list = tovOldestFirst(hc_test_then_swap_ptr(finished, nullptr));
    if (!list)
      std::this_thread::yield();
    while (list) {
      Node* const following = list->next;
      wrong += list->number == expected++ ? 0 : 1;
      hc_test_then_link_i32(free, list);
      list = following;
    }
  }
  maker.join();
  EXPECT_EQ(0, wrong);
  int left = 0;
  for (const Node* node = free; node && left < 10; node = node->next)
    ++left;
  EXPECT_EQ(4, left);
}

} // namespace
