// The queue of commands and the operations on their lists.

#include <thread>
#include <vector>

#include "tests/playback/FifoTest.h"

namespace {

using support::FifoTest;
using support::SteppedHost;

class FifoCommandsTest : public FifoTest {
protected:
  ~FifoCommandsTest() override { TovAudioFIFO::deallocateCmds(list, false); }

  static TovAudioFIFOCmd* command(unsigned int type, double startTime = 0.0)
  {
    TovAudioFIFOCmd* const cmd = new TovAudioFIFOCmd;
    cmd->type = type;
    cmd->startTime = startTime;
    return cmd;
  }

  /** Makes the list one of commands of these types, with their places as start
   *  times. */
  void listOf(const std::vector<unsigned int>& types)
  {
    TovAudioFIFOCmd** end = &list;
    for (const unsigned int type : types) {
      *end = command(type, static_cast<double>(end == &list ? 0 : 1) + place++);
      end = &(*end)->next;
    }
  }

  std::vector<unsigned int> types() const
  {
    std::vector<unsigned int> found;
    for (const TovAudioFIFOCmd* cmd = list; cmd; cmd = cmd->next)
      found.push_back(cmd->type);
    return found;
  }

  TovAudioFIFOCmd* list = nullptr;
  double place = 0.0;
};

constexpr unsigned int kSpan = 0;
constexpr unsigned int kFlush = 1;
using Types = std::vector<unsigned int>;

TEST_F(FifoCommandsTest, TypesHaveTheirNumbers)
{
  EXPECT_EQ(0u, TovAudioFIFOCmd::kSpan);
  EXPECT_EQ(1u, TovAudioFIFOCmd::kFlush);
}

TEST_F(FifoCommandsTest, ClaimingGivesWhatWasQueuedNewestFirstAndOnce)
{
  for (const unsigned int type : {5u, 6u, 7u})
    fifo->queueCmd(command(type));
  list = fifo->claimCmds();
  EXPECT_EQ((Types{7, 6, 5}), types());
  EXPECT_EQ(nullptr, fifo->claimCmds());
}

TEST_F(FifoCommandsTest, AddBlockQueuesASpanFromItsStart)
{
  fifo->addBlock(TovAudioContext(48000, 3, 25.0, 7.0), 2.5, -1.5, true);
  list = fifo->claimCmds();
  ASSERT_NE(nullptr, list);
  EXPECT_EQ(nullptr, list->next);
  EXPECT_EQ(kSpan, list->type);
  EXPECT_EQ(2.5, list->startTime);
  EXPECT_EQ(-1.5, list->endTime);
  EXPECT_EQ(2.5, list->curTime);
  EXPECT_EQ(48000u, list->sampleRate);
  EXPECT_TRUE(list->loop);
  EXPECT_FALSE(list->complete);
}

TEST_F(FifoCommandsTest, ASpanThatDoesNotLoopIsQueuedSo)
{
  fifo->addBlock(TovAudioContext(44100, 0, 0.0, 0.0), 1.0, 2.0, false);
  list = fifo->claimCmds();
  EXPECT_FALSE(list->loop);
}

TEST_F(FifoCommandsTest, FlushQueuesAFlush)
{
  fifo->flush();
  list = fifo->claimCmds();
  ASSERT_NE(nullptr, list);
  EXPECT_EQ(nullptr, list->next);
  EXPECT_EQ(kFlush, list->type);
}

TEST_F(FifoCommandsTest, AFlushIsFoundAnywhereInAList)
{
  EXPECT_FALSE(TovAudioFIFO::checkForFlush(nullptr));
  listOf({kSpan, 2, 3});
  EXPECT_FALSE(TovAudioFIFO::checkForFlush(list));
  list->type = kFlush;
  EXPECT_TRUE(TovAudioFIFO::checkForFlush(list));
  list->type = kSpan;
  list->next->next->type = kFlush;
  EXPECT_TRUE(TovAudioFIFO::checkForFlush(list));
}

TEST_F(FifoCommandsTest, ACommandIsIncompleteUntilItIsMarked)
{
  listOf({kSpan});
  EXPECT_TRUE(TovAudioFIFO::isIncompleteCmd(list));
  list->complete = true;
  EXPECT_FALSE(TovAudioFIFO::isIncompleteCmd(list));
}

TEST_F(FifoCommandsTest, DeallocatingTakesTheWholeList)
{
  TovAudioFIFO::deallocateCmds(list, false);
  EXPECT_EQ(nullptr, list);
  listOf({kSpan, kFlush, kSpan});
  TovAudioFIFO::deallocateCmds(list, false);
  EXPECT_EQ(nullptr, list);
}

TEST_F(FifoCommandsTest, DeallocatingStopsBehindTheFirstFlushWhereItIsTold)
{
  listOf({kSpan, 2, kFlush, kSpan, kFlush, 3});
  TovAudioFIFO::deallocateCmds(list, true);
  EXPECT_EQ((Types{kSpan, kFlush, 3}), types());
  TovAudioFIFO::deallocateCmds(list, true);
  EXPECT_EQ((Types{3}), types());
  TovAudioFIFO::deallocateCmds(list, true);
  EXPECT_EQ(nullptr, list);
  TovAudioFIFO::deallocateCmds(list, true);
  EXPECT_EQ(nullptr, list);
}

TEST_F(FifoCommandsTest, CommandsOfUnknownTypeArePassedOver)
{
  countStops();
  fifo->queueCmd(command(2, 1.0));
  span(0, 10);
  fifo->queueCmd(command(0xFFFFFFFFu));
  span(20, 30);
  EXPECT_EQ(joined(frames(0, 10), frames(20, 30)), [this] {
    SteppedHost::step();
    return fill(20);
  }());
  EXPECT_EQ(2, provider->requestCount());
  EXPECT_EQ(0, stops);
}

TEST_F(FifoCommandsTest, AnUnknownCommandAloneLeavesTheFeederIdle)
{
  for (int i = 0; i < 10; ++i)
    fifo->queueCmd(command(7));
  EXPECT_EQ(0.01, SteppedHost::steps(11));
  EXPECT_EQ(0, provider->requestCount());
  span(0, 10);
  SteppedHost::steps(2);
  EXPECT_EQ(frames(0, 10), fill(10));
}

TEST_F(FifoCommandsTest, CommandsOfManyThreadsAreAllClaimed)
{
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this] {
      for (int j = 0; j < 100; ++j)
        fifo->queueCmd(command(9));
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  list = fifo->claimCmds();
  EXPECT_EQ(Types(400, 9u), types());
}

} // namespace
