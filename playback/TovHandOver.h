#pragma once

#include <atomic>

// Hand-over of singly linked nodes between threads: a list is one atomic
// pointer to its newest node, and there are only two operations, push and
// take-all.  Since nothing ever takes a single node out of a shared list, no
// node can come back between a look at the head and its exchange.
//
// Any thread, any number of them; lock-free, real-time safe.  A node belongs to
// whoever took it; what was written to it before the push is seen after the
// take.  Slot is std::atomic<Node*>, or what stands in for it.

/** Replaces what the slot holds and returns it: with null, takes the whole
 *  list, newest node first. */
template <typename Slot, typename Node>
Node* hc_test_then_swap_ptr(Slot& slot, Node* value)
{
  return slot.exchange(value, std::memory_order_acq_rel);
}

template <typename Slot>
auto hc_test_then_swap_ptr(Slot& slot, decltype(nullptr))
{
  return slot.exchange(nullptr, std::memory_order_acq_rel);
}

/** Pushes a node; returns it. */
template <typename Slot, typename Node>
Node* hc_test_then_link_i32(Slot& slot, Node* node)
{
  Node* head = slot.load(std::memory_order_relaxed);
  do {
    node->next = head;
  } while (!slot.compare_exchange_weak(head, node, std::memory_order_release,
                                       std::memory_order_relaxed));
  return node;
}

/** Turns a list that was taken, newest node first, into oldest first. */
template <typename Node>
Node* tovOldestFirst(Node* newest)
{
  Node* reversed = nullptr;
  while (newest) {
    Node* const next = newest->next;
    newest->next = reversed;
    reversed = newest;
    newest = next;
  }
  return reversed;
}
