// That the seam itself does what scenarios count on.

#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/TovBuffer.h"
#include "core/TovCompressor.h"
#include "core/TovFile.h"
#include "core/TovThread.h"
#include "tests/faults/FaultSeam.h"
#include "tests/faults/PickedPoints.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

namespace {

using namespace support;

/** Which of ten calls fail, by their numbers. */
template <typename Call>
std::vector<int> failures(Fault& fault, Call fails)
{
  std::vector<int> failed;
  failed.reserve(10);
  fault.arm();
  for (int i = 1; i <= 10; ++i) {
    if (fails())
      failed.push_back(i);
  }
  fault.disarm();
  return failed;
}

class FaultSeam : public testing::Test {
protected:
  /** What a file of the library's meets at each kind of call. */
  bool fails(FaultKind kind, TovFile& file) const
  {
    char byte = 0;
    switch (kind) {
    case FaultKind::Read:
      return file.read(&byte, 1) != 1;
    case FaultKind::Write:
      return file.write(&byte, 1) != 1;
    case FaultKind::Seek:
      return file.seek(0, 0) == 0;
    case FaultKind::Open:
      return TovFile().open(path.c_str(), "r") != 0;
    case FaultKind::Close: {
      TovFile other;
      other.open(path.c_str(), "r");
      return other.close() != 0;
    }
    case FaultKind::Allocation:
      try {
        TovBuffer().allocate(100);
      } catch (const std::bad_alloc&) {
        return true;
      }
      return false;
    case FaultKind::ThreadStart:
      return !std::unique_ptr<TovThread, decltype(&TovThread::t_join)>(
          TovThread::t_create([](TovThread*, void*) {}, nullptr), TovThread::t_join);
    }
    return false;
  }

  const TempFolder folder;
  const std::string path = folder.write("file", std::vector<std::uint8_t>(100));
};

using enum FaultKind;
constexpr FaultKind kKinds[] = {Read, Write, Seek, Open, Close, Allocation, ThreadStart};

TEST_F(FaultSeam, LetsTheOneCallFailThatWasAskedFor)
{
  for (const FaultKind kind : kKinds) {
    SCOPED_TRACE(nameOf(kind));
    TovFile file;
    ASSERT_EQ(file.open(path.c_str(), "r+"), 0);
    const bool hasOthers = kind == Allocation || kind == ThreadStart;
    for (const int number : {1, 4, 10}) {
      Fault fault(kind, number, FaultReach::CallingThread);
      EXPECT_EQ(failures(fault, [&] { return fails(kind, file); }), std::vector<int>{number});
      EXPECT_TRUE(fault.happened());
      EXPECT_TRUE(fault.calls() == 10 || hasOthers) << fault.calls();
    }
    Fault none(kind, 0, FaultReach::CallingThread);
    EXPECT_EQ(failures(none, [&] { return fails(kind, file); }), std::vector<int>{});
    EXPECT_FALSE(none.happened());
    EXPECT_GE(none.calls(), 10);
  }
}

TEST_F(FaultSeam, LetsAllLaterCallsFailOfAFaultThatLasts)
{
  TovFile file;
  ASSERT_EQ(file.open(path.c_str(), "r"), 0);
  Fault fault(Read, 7, FaultReach::CallingThread, FaultLength::Lasting);
  EXPECT_EQ(failures(fault, [&] { return fails(Read, file); }), (std::vector<int>{7, 8, 9, 10}));
  EXPECT_FALSE(fails(Read, file));
  Fault none(Read, 0, FaultReach::CallingThread, FaultLength::Lasting);
  EXPECT_EQ(failures(none, [&] { return fails(Read, file); }), std::vector<int>{});
}

TEST_F(FaultSeam, LetsNothingFailWhileItIsNotArmed)
{
  TovFile file;
  ASSERT_EQ(file.open(path.c_str(), "r"), 0);
  Fault fault(Read, 2, FaultReach::CallingThread);
  EXPECT_FALSE(fails(Read, file));
  fault.arm();
  EXPECT_FALSE(fails(Read, file));
  EXPECT_FALSE(fails(Seek, file));
  fault.disarm();
  EXPECT_FALSE(fails(Read, file));
  EXPECT_FALSE(fault.happened());
  fault.arm();
  EXPECT_TRUE(fails(Read, file));
  EXPECT_TRUE(fault.happened());
}

TEST_F(FaultSeam, ReachesOtherThreadsOnlyWhenTold)
{
  for (const FaultReach reach : {FaultReach::CallingThread, FaultReach::AllThreads}) {
    bool hasFailed = false;
    Fault fault(Open, 1, reach);
    fault.arm();
    std::thread([&] { hasFailed = fails(Open, *std::make_unique<TovFile>()); }).join();
    fault.disarm();
    EXPECT_EQ(hasFailed, reach == FaultReach::AllThreads);
    EXPECT_EQ(fault.happened(), hasFailed);
  }
}

TEST_F(FaultSeam, ReachesWhatOtherLibrariesTake)
{
  // The compression library takes its memory in its own way.
  TovBuffer buffer;
  buffer.allocate(1000);
  Fault fault(Allocation, 0, FaultReach::CallingThread);
  fault.arm();
  EXPECT_EQ(TovCompressor::compressBuffer(buffer, 1000), 0);
  fault.disarm();
  EXPECT_GE(fault.calls(), 3 + 4) << "three of ours, and at least its four tables";
}

TEST_F(FaultSeam, ACloseThatFailsCloses)
{
  const int before = openDescriptors();
  TovFile file;
  ASSERT_EQ(file.open(path.c_str(), "r"), 0);
  Fault fault(Close, 1, FaultReach::CallingThread);
  fault.arm();
  EXPECT_EQ(file.close(), -1);
  fault.disarm();
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(FaultSeam, AFullDiskTakesWhatFits)
{
  TovFile file;
  ASSERT_EQ(file.open(path.c_str(), "w"), 0);
  const char bytes[10] = {};
  {
    const FileRoom room(15);
    EXPECT_EQ(file.write(bytes, 10), 10u);
    EXPECT_EQ(file.write(bytes, 10), 5u);
    EXPECT_EQ(file.write(bytes, 10), 0u);
    EXPECT_NE(file.seek(3, 0), 0);
    EXPECT_EQ(file.write(bytes, 4), 4u) << "over what is there";
    EXPECT_NE(file.seek(0, 2), 0);
  }
  EXPECT_EQ(file.write(bytes, 10), 10u);
  file.close();
  EXPECT_EQ(folder.read("file").size(), 25u);
}

TEST_F(FaultSeam, CountsBlocksThatAreNotGivenBack)
{
  const std::unique_ptr<int> before = std::make_unique<int>(1);
  std::unique_ptr<int> given = std::make_unique<int>(1);
  const TakenBlocks blocks;
  EXPECT_EQ(blocks.left(), 0u);
  std::vector<void*> taken;
  taken.reserve(1000);
  for (std::size_t i = 0; i < 1000; ++i) {
    void* const block = i % 3 == 0 ? std::calloc(i, 1) : std::malloc(i);
    taken.push_back(i % 2 == 0 ? std::realloc(block, 2 * i + 1) : block);
  }
  EXPECT_EQ(blocks.left(), 1001u);
  given.reset(); // of before, which does not count
  for (void* const block : taken)
    std::free(block);
  EXPECT_EQ(blocks.left(), 1u);
  std::unique_ptr<int> fromThread;
  std::thread([&] { fromThread = std::make_unique<int>(2); }).join();
  EXPECT_GE(blocks.left(), 2u);
}

TEST(PickedPoints, AreAllOfAShortLoop)
{
  EXPECT_EQ(pickedPoints(3, "short", false), (std::vector<long>{1, 2, 3}));
  EXPECT_EQ(pickedPoints(0, "none", true), std::vector<long>{});
}

/** An environment variable as a test wants it, null for not set, for a scope. */
class Variable {
public:
  Variable(const char* variable, const char* value) : name(variable)
  {
    if (const char* const before = std::getenv(variable))
      restored = before;
    set(value);
  }
  ~Variable() { set(restored ? restored->c_str() : nullptr); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

private:
  void set(const char* value) const
  {
    if (value)
      ::setenv(name, value, 1);
    else
      ::unsetenv(name);
  }

  const char* name;
  std::optional<std::string> restored;
};

/** Whatever the caller has set otherwise. */
struct Pick {
  explicit Pick(const char* text) : chosen("TOV_TEST_PICK", text) {}

  Variable isLong{"TOV_TEST_LONG", nullptr};
  Variable share{"TOV_FAULT_SHARE", nullptr};
  Variable chosen;
};

TEST(PickedPoints, AreATenthOfALongLoopByTheText)
{
  std::set<std::vector<long>> different;
  for (const char* const text : {"", "one", "two"}) {
    const Pick pick(text);
    const std::vector<long> points = pickedPoints(1001, "loop", true);
    EXPECT_EQ(points, pickedPoints(1001, "loop", true));
    EXPECT_NE(points, pickedPoints(1001, "other loop", true));
    EXPECT_EQ(points.size(), 101u);
    EXPECT_GE(points.front(), 1);
    EXPECT_LE(points.back(), 1001);
    for (std::size_t i = 1; i < points.size(); ++i)
      EXPECT_LT(points[i - 1], points[i]);
    different.insert(points);
  }
  EXPECT_EQ(different.size(), 3u);
}

TEST(PickedPoints, AreAllOfALongLoopInALongRun)
{
  const Pick pick("one");
  const Variable isLong("TOV_TEST_LONG", "1");
  EXPECT_EQ(pickedPoints(1001, "loop", true).size(), 1001u);
}

TEST(PickedPoints, AreTheShareThatIsAskedFor)
{
  const Pick pick("one");
  const Variable share("TOV_FAULT_SHARE", "50");
  EXPECT_EQ(pickedPoints(1001, "loop", true).size(), 21u);
  EXPECT_EQ(pickedPoints(400, "loop", true).size(), 10u) << "but ten";
  for (const char* const noNumber : {"0", "-3", "all"}) {
    const Variable bad("TOV_FAULT_SHARE", noNumber);
    EXPECT_EQ(pickedPoints(1001, "loop", true).size(), 101u) << noNumber;
  }
}

} // namespace
