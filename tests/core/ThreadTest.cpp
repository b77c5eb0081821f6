#include "core/TovThread.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Call {
  TovThread* thread = nullptr;
  std::thread::id id;
  int calls = 0;
};

void record(TovThread* thread, void* argument)
{
  Call* const call = static_cast<Call*>(argument);
  call->thread = thread;
  call->id = std::this_thread::get_id();
  ++call->calls;
}

TEST(Thread, FunctionRunsOnceOnAThreadOfItsOwnWithItsArgument)
{
  Call call;
  TovThread* const thread = TovThread::t_create(record, &call);
  ASSERT_NE(thread, nullptr);
  TovThread::t_join(thread);
  EXPECT_EQ(call.calls, 1);
  EXPECT_NE(call.thread, nullptr);
  EXPECT_NE(call.id, std::this_thread::get_id());
}

TEST(Thread, JoinWaitsForTheEndOfTheFunction)
{
  struct Gate {
    std::atomic<bool> isOpen{false};
    int result = 0;
  } gate;
  TovThread* const thread = TovThread::t_create(
      [](TovThread*, void* argument) {
        Gate* const own = static_cast<Gate*>(argument);
        while (!own->isOpen)
          std::this_thread::yield();
        for (int i = 0; i < 1000; ++i)
          std::this_thread::yield();
        own->result = 42;
      },
      &gate);
  ASSERT_NE(thread, nullptr);
  gate.isOpen = true;
  TovThread::t_join(thread);
  EXPECT_EQ(gate.result, 42);
}

TEST(Thread, CreateDoesNotWaitForTheFunction)
{
  std::atomic<bool> isOpen{false};
  TovThread* const thread = TovThread::t_create(
      [](TovThread*, void* argument) {
        while (!*static_cast<std::atomic<bool>*>(argument))
          std::this_thread::yield();
      },
      &isOpen);
  ASSERT_NE(thread, nullptr);
  isOpen = true; // reached only because t_create() returned before
  TovThread::t_join(thread);
  EXPECT_TRUE(isOpen);
}

TEST(Thread, NullArgumentArrivesAsNull)
{
  static std::atomic<bool> wasNull;
  wasNull = false;
  TovThread::t_join(TovThread::t_create(
      [](TovThread*, void* argument) { wasNull = argument == nullptr; }, nullptr));
  EXPECT_TRUE(wasNull);
}

TEST(Thread, JoinOfNullDoesNothing)
{
  TovThread::t_join(nullptr);
  Call call;
  TovThread::t_join(TovThread::t_create(record, &call));
  EXPECT_EQ(call.calls, 1);
}

TEST(Thread, ManyThreadsRunAtOnceAndJoinInAnyOrder)
{
  struct Meeting {
    std::atomic<int> arrived{0};
  } meeting;
  std::vector<TovThread*> threads;
  for (int t = 0; t < 8; ++t) {
    threads.push_back(TovThread::t_create(
        [](TovThread*, void* argument) {
          Meeting* const own = static_cast<Meeting*>(argument);
          ++own->arrived;
          while (own->arrived < 8)
            std::this_thread::yield();
        },
        &meeting));
    ASSERT_NE(threads.back(), nullptr);
  }
  for (auto thread = threads.rbegin(); thread != threads.rend(); ++thread)
    TovThread::t_join(*thread);
  EXPECT_EQ(meeting.arrived, 8);
}

TEST(Thread, ThreadThatEndedEarlierIsJoined)
{
  for (int i = 0; i < 500; ++i) {
    Call call;
    TovThread* const thread = TovThread::t_create(record, &call);
    ASSERT_NE(thread, nullptr);
    for (int j = 0; j < i % 7; ++j)
      std::this_thread::yield();
    TovThread::t_join(thread);
    ASSERT_EQ(call.calls, 1);
  }
}

} // namespace
