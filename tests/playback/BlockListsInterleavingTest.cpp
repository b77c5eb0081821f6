// Every order in which the operations of the feeder and of the output can fall
// between each other, and the proof that a broken list does not get through.

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/playback/BlockListsRun.h"
#include "tests/playback/Interleaving.h"

namespace {

using support::BlockListsRun;
using support::Exploration;
using support::FeederStep;
using support::Interleaving;
using support::ListsProgram;
using support::SteppedAtomic;

using enum FeederStep;

struct Explored {
  std::string wrong; ///< the first thing that was wrong
  long long states;
  long long runs;
};

/** Goes through all orders, up to the first in which something is wrong. */
template <template <typename> class Atomic>
Explored explore(const ListsProgram& program)
{
  static std::string wrong;
  wrong.clear();
  BlockListsRun<Atomic>* present = nullptr;
  const Exploration exploration(
      [&](const Interleaving::Choice& choice) {
        BlockListsRun<Atomic> run(program);
        present = &run;
        const std::string verdict = run.verdict(choice);
        if (wrong.empty())
          wrong = verdict;
      },
      [&] { return present->state(); }, [] { return !wrong.empty(); });
  return {wrong, exploration.states, exploration.runs};
}

/** Goes through orders drawn by lot. */
template <template <typename> class Atomic>
std::string drawOrders(const ListsProgram& program, int orders, unsigned int seed)
{
  std::mt19937 random(seed);
  for (int i = 0; i < orders; ++i) {
    // From changing over at every chance to hardly ever.
    const unsigned int rarity = 1U << (random() % 5);
    const std::string wrong = BlockListsRun<Atomic>(program).verdict([&](const Interleaving&) {
      const int running = Interleaving::running();
      return random() % (2 * rarity) < 1 ? 1 - running : running;
    });
    if (!wrong.empty())
      return wrong + ", order " + std::to_string(i);
  }
  return "";
}

void expectRight(const ListsProgram& program, long long leastStates)
{
  const Explored explored = explore<SteppedAtomic>(program);
  EXPECT_EQ("", explored.wrong);
  EXPECT_LE(std::min(leastStates, Exploration::mostRuns()), explored.states) << "hardly anything was tried";
  testing::Test::RecordProperty("states", std::to_string(explored.states));
}

// --- All orders -----------------------------------------------------------------

TEST(BlockListsInterleavingTest, BlocksComeOnceAndInOrder)
{
  expectRight({{Block, Block, Block, Block, Block}, {3, 3, 2, 5}, 2, 3}, 10000);
}

TEST(BlockListsInterleavingTest, TheFeederTakesWhatThePlayingGivesBack)
{
  expectRight({{Block, Block, Block, Block, Block, Block, Block, Block}, {2, 2, 2, 2, 2}, 2, 2}, 2000);
}

TEST(BlockListsInterleavingTest, AFlushDropsWhatIsOlderAndNothingElse)
{
  expectRight({{Block, Block, Flush, Block, Block}, {3, 3, 3}, 2, 3}, 10000);
}

TEST(BlockListsInterleavingTest, AFlushOfFourBlocks)
{
  expectRight({{Block, Block, Flush, Block}, {3, 3, 3}, 2, 4}, 10000);
}

TEST(BlockListsInterleavingTest, AFlushThatMeetsAFullHouse)
{
  expectRight({{Block, Block, Block, Flush, Block, Block}, {1, 4, 4}, 2, 3}, 20000);
}

TEST(BlockListsInterleavingTest, TwoFlushesInARow)
{
  expectRight({{Block, Block, Flush, Flush, Block, Block}, {3, 3, 3}, 2, 2}, 5000);
}

TEST(BlockListsInterleavingTest, EveryFlushDropsTheSpanBeforeIt)
{
  expectRight({{Block, Flush, Block, Flush, Block, Flush, Block}, {1, 2, 3}, 2, 2}, 5000);
}

TEST(BlockListsInterleavingTest, AnEndIsReportedOnce)
{
  expectRight({{Block, Last, TakeStop, TakeStop, TakeStop}, {3, 2, 2}, 2, 3}, 1000);
}

TEST(BlockListsInterleavingTest, AnEndBeforeAFlushIsNotReportedAfterIt)
{
  expectRight({{Last, TakeStop, Flush, TakeStop, Block, TakeStop}, {2, 2, 3}, 2, 2}, 1000);
}

TEST(BlockListsInterleavingTest, TheEndOfAShortSpanBehindAFlushIsNeverLost)
{
  expectRight({{Block, Block, Flush, Last, TakeStop, TakeStop}, {1, 3, 3, 3}, 2, 2}, 5000);
}

TEST(BlockListsInterleavingTest, ShortSpansWithFlushesBetween)
{
  expectRight({{Last, Flush, Last, TakeStop, Flush, Last, TakeStop}, {2, 1, 3, 2}, 2, 2}, 10000);
}

TEST(BlockListsInterleavingTest, TheWholeLifeOfTwoSpans)
{
  expectRight({{Block, Block, Last, TakeStop, Flush, TakeStop, Block, Last, TakeStop, TakeStop}, {3, 4, 3, 3, 3}, 2, 2}, 40000);
}

TEST(BlockListsInterleavingTest, FillsWithoutFramesStillCarryOutFlushes)
{
  expectRight({{Block, Block, Flush, Last, TakeStop}, {1, 0, 0, 4}, 2, 3}, 5000);
}

// --- Orders by lot ----------------------------------------------------------------

ListsProgram drawProgram(std::mt19937& random)
{
  ListsProgram program;
  program.blockFrames = static_cast<int>(1 + random() % 3);
  const FeederStep steps[] = {Block, Block, Block, Block, Last, Flush, TakeStop, TakeStop};
  for (unsigned long i = 10 + random() % 20; i > 0; --i)
    program.feeder.push_back(steps[random() % std::size(steps)]);
  for (unsigned long i = 5 + random() % 15; i > 0; --i)
    program.fills.push_back(static_cast<int>(random() % 7));
  return program;
}

TEST(BlockListsInterleavingTest, LongProgramsInManyOrders)
{
  std::mt19937 random(1729);
  const int programs = Exploration::mostRuns() < 10000 ? 10 : 300;
  for (int i = 0; i < programs; ++i) {
    const ListsProgram program = drawProgram(random);
    ASSERT_EQ("", drawOrders<SteppedAtomic>(program, 60, static_cast<unsigned int>(i)))
        << "program " << i;
  }
}

TEST(BlockListsInterleavingTest, AWeakExchangeMayFailForNoReason)
{
  std::mt19937 random(4104);
  const int programs = Exploration::mostRuns() < 10000 ? 10 : 200;
  for (int i = 0; i < programs; ++i) {
    const ListsProgram program = drawProgram(random);
    Interleaving::setSpuriousFailures(2 + i % 5);
    EXPECT_EQ("", drawOrders<SteppedAtomic>(program, 30, static_cast<unsigned int>(i)))
        << "program " << i;
    Interleaving::setSpuriousFailures(0);
  }
}

// --- Broken lists must not get through ------------------------------------------------

/** A push that compares and exchanges in two steps, so that what comes between
 *  them is lost. */
template <typename T>
class LoadAndStore : public SteppedAtomic<T> {
public:
  using SteppedAtomic<T>::SteppedAtomic;
  bool compare_exchange_weak(T& expected, T desired, std::memory_order success,
                             std::memory_order failure)
  {
    if (this->load(failure) != expected)
      return false;
    this->store(desired, success);
    return true;
  }
};

/** A push that stores the node and leaves its next link as it was. */
template <typename T>
class PlainStore : public SteppedAtomic<T> {
public:
  using SteppedAtomic<T>::SteppedAtomic;
};
template <typename Node>
Node* hc_test_then_link_i32(PlainStore<Node*>& slot, Node* node)
{
  slot.store(node, std::memory_order_release);
  return node;
}

/** The same, and the node forgets its next link. */
template <typename T>
class StoreWithoutNext : public SteppedAtomic<T> {
public:
  using SteppedAtomic<T>::SteppedAtomic;
};
template <typename Node>
Node* hc_test_then_link_i32(StoreWithoutNext<Node*>& slot, Node* node)
{
  node->next = nullptr;
  slot.store(node, std::memory_order_release);
  return node;
}

/** A take-all in two steps. */
template <typename T>
class LoadThenClear : public SteppedAtomic<T> {
public:
  using SteppedAtomic<T>::SteppedAtomic;
  T exchange(T desired, std::memory_order order)
  {
    const T before = this->load(order);
    this->store(desired, order);
    return before;
  }
};

const ListsProgram kUsual = {{Block, Block, Block, Flush, Block, Last, TakeStop}, {3, 3, 3, 3}, 2, 4};

TEST(BrokenListsTest, APushInTwoStepsIsCaught)
{
  EXPECT_NE("", explore<LoadAndStore>(kUsual).wrong);
}

TEST(BrokenListsTest, APushInTwoStepsIsRightUntilTheOtherThreadComesBetween)
{
  // First all of the feeder, then all of the output.
  EXPECT_EQ("", BlockListsRun<LoadAndStore>(kUsual).verdict([](const Interleaving&) { return 0; }));
}

TEST(BrokenListsTest, APlainStoreIsCaught)
{
  EXPECT_NE("", explore<PlainStore>(kUsual).wrong);
}

TEST(BrokenListsTest, APlainStoreWithoutNextLinkIsCaught)
{
  EXPECT_NE("", explore<StoreWithoutNext>(kUsual).wrong);
}

TEST(BrokenListsTest, ATakeAllInTwoStepsIsCaught)
{
  EXPECT_NE("", explore<LoadThenClear>(kUsual).wrong);
}

TEST(BrokenListsTest, OrdersDrawnByLotCatchThemToo)
{
  EXPECT_NE("", drawOrders<LoadAndStore>(kUsual, 2000, 1));
  EXPECT_NE("", drawOrders<PlainStore>(kUsual, 2000, 1));
  EXPECT_NE("", drawOrders<LoadThenClear>(kUsual, 2000, 1));
}

} // namespace
