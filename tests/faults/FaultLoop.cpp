#include "tests/faults/FaultLoop.h"

#include <exception>
#include <new>

#include "tests/faults/FaultReport.h"
#include "tests/faults/PickedPoints.h"
#include "tests/support/Process.h"

namespace support {

Attempt::Attempt(FaultKind kind, long number, FaultReach reach, FaultLength length)
    : faultKind(kind), faultNumber(number), faultLength(length),
      fault(kind, number, reach, length)
{
}

bool Attempt::under(const std::function<void()>& work)
{
  bool isDone = false;
  std::string surprise;
  fault.arm();
  try {
    work();
    isDone = true;
  } catch (const std::bad_alloc&) {
  } catch (const std::exception& exception) {
    fault.disarm();
    surprise = exception.what();
  } catch (...) {
    fault.disarm();
    surprise = "what is no exception";
  }
  fault.disarm();
  EXPECT_EQ(surprise, "");
  EXPECT_TRUE(isDone || (faultKind == FaultKind::Allocation && happened()) || !surprise.empty());
  return isDone;
}

void Attempt::underElsewhere(long calls, bool happened)
{
  callsElsewhere = calls;
  hasHappenedElsewhere = happened;
}

std::string FaultCase::faultName() const
{
  return std::string(nameOf(kind)) + (length == FaultLength::Lasting ? "Lasting" : "");
}

std::ostream& operator<<(std::ostream& stream, const FaultCase& faultCase)
{
  return stream << faultCase.scenario << ", " << faultCase.faultName();
}

std::vector<FaultCase> joined(std::vector<std::vector<FaultCase>> lists)
{
  std::vector<FaultCase> all;
  for (const std::vector<FaultCase>& list : lists)
    all.insert(all.end(), list.begin(), list.end());
  return all;
}

std::string caseName(const testing::TestParamInfo<FaultCase>& info)
{
  return info.param.scenario + info.param.faultName();
}

namespace {

struct Visit {
  bool happened;
  long calls;
  std::size_t blocksLeft;
};

Visit visit(Scenario& scenario, const FaultCase& tested, long number)
{
  const TakenBlocks blocks;
  Visit visit{};
  {
    Attempt attempt(tested.kind, number, scenario.reach(), tested.length);
    scenario.attempt(attempt);
    visit.happened = attempt.happened();
    visit.calls = attempt.calls();
  }
  visit.blocksLeft = blocks.left();
  return visit;
}

/** The expectations of the running test that failed. */
int failedExpectations()
{
  const testing::TestResult& result =
      *testing::UnitTest::GetInstance()->current_test_info()->result();
  int failed = 0;
  for (int i = 0; i < result.total_part_count(); ++i)
    failed += result.GetTestPartResult(i).failed();
  return failed;
}

/** One point; whether the fault came. */
bool visitPoint(Scenario& scenario, const FaultCase& tested, long number)
{
  SCOPED_TRACE(tested.faultName() + " " + std::to_string(number));
  const int descriptors = openDescriptors();
  const int failed = failedExpectations();
  Visit made = visit(scenario, tested, number);
  // A table that grew once and for all is no leak: that comes every time.
  const std::size_t onPurpose = scenario.blocksLeftOnPurpose();
  if (made.blocksLeft > onPurpose && failedExpectations() == failed)
    made = visit(scenario, tested, number);
  if (failedExpectations() == failed) { // what a failure says takes memory
    EXPECT_LE(made.blocksLeft, onPurpose) << "blocks of memory are left";
    EXPECT_TRUE(made.happened || made.blocksLeft == onPurpose) << made.blocksLeft;
  }
  EXPECT_EQ(openDescriptors(), descriptors);
  return made.happened;
}

} // namespace

void FaultLoop::run()
{
  const FaultCase& tested = GetParam();
  const std::unique_ptr<Scenario> scenario = tested.make();
  visit(*scenario, tested, 0); // what is made once and for all is there from now on
  const long calls = visit(*scenario, tested, 0).calls;
  ASSERT_GT(calls, 0) << "this kind of fault cannot happen here";

  const std::vector<long> points =
      pickedPoints(calls, tested.scenario + tested.faultName(), scenario->isLong());
  long exercised = 0;
  for (const long number : points)
    exercised += visitPoint(*scenario, tested, number);
  if (scenario->reach() == FaultReach::CallingThread) {
    EXPECT_EQ(exercised, static_cast<long>(points.size()));
  }

  // On, until a run passes clean: with other threads there may be more calls.
  long all = calls;
  while (visitPoint(*scenario, tested, all + 1)) {
    ++all;
    ++exercised;
  }
  FaultReport::add(tested.scenario, tested.faultName(), exercised, all);
}

TEST_P(FaultLoop, LeavesNothingBroken)
{
  run();
}

} // namespace support
