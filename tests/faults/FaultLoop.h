#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/faults/FaultSeam.h"

namespace support {

/** One run of a scenario with a fault in it, or none. */
class Attempt {
public:
  /** @p number as for Fault. */
  Attempt(FaultKind kind, long number, FaultReach reach, FaultLength length);

  /** Does the work with the fault armed.  False where memory ran out, which
   *  may only be when an allocation is what failed; that any other exception
   *  comes out is a test failure. */
  bool under(const std::function<void()>& work);

  /** What a child process tells that did the work with the fault in it. */
  void underElsewhere(long calls, bool happened);

  FaultKind kind() const { return faultKind; }
  FaultLength length() const { return faultLength; }
  long number() const { return faultNumber; }
  bool happened() const { return fault.happened() || hasHappenedElsewhere; }
  long calls() const { return fault.calls() + callsElsewhere; }

private:
  FaultKind faultKind;
  long faultNumber;
  FaultLength faultLength;
  Fault fault;
  long callsElsewhere = 0;
  bool hasHappenedElsewhere = false;
};

/** What is done under faults, and what is expected of it. */
class Scenario {
public:
  virtual ~Scenario() = default;

  /** Does everything once, with what it needs made for it alone; expects what
   *  is documented of the work under the fault, and that the same work without
   *  a fault succeeds afterwards. */
  virtual void attempt(Attempt& attempt) = 0;

  /** Whether other threads are at work, so that the calls of two runs need not
   *  be the same. */
  virtual FaultReach reach() const { return FaultReach::CallingThread; }

  /** Whether all points take so long that an ordinary run picks a tenth. */
  virtual bool isLong() const { return false; }

  /** Blocks of memory that an attempt leaves and is to leave; fewer of them
   *  where the fault came. */
  virtual std::size_t blocksLeftOnPurpose() const { return 0; }
};

/** A scenario and the kind of fault that it is repeated with. */
struct FaultCase {
  std::string scenario;
  FaultKind kind;
  FaultLength length;
  std::function<std::unique_ptr<Scenario>()> make;

  /** "ReadLasting" and so on. */
  std::string faultName() const;
};

std::ostream& operator<<(std::ostream& stream, const FaultCase& faultCase);

/** One case for every kind, of faults that pass at once or that last. */
template <typename Made>
std::vector<FaultCase> casesOfLength(const std::string& name, const std::vector<FaultKind>& kinds,
                                     FaultLength length)
{
  std::vector<FaultCase> cases;
  for (const FaultKind kind : kinds)
    cases.push_back({name, kind, length, [] { return std::make_unique<Made>(); }});
  return cases;
}

std::vector<FaultCase> joined(std::vector<std::vector<FaultCase>> lists);

/** One case for every kind and length. */
template <typename Made>
std::vector<FaultCase> faultCases(const std::string& name, const std::vector<FaultKind>& kinds)
{
  return joined({casesOfLength<Made>(name, kinds, FaultLength::Once),
                 casesOfLength<Made>(name, kinds, FaultLength::Lasting)});
}

/** "ReadWavSeekLasting" and so on. */
std::string caseName(const testing::TestParamInfo<FaultCase>& info);

/** Repeats a scenario, letting the first call of the kind fail, the second, and
 *  so on until all went well.  After each: no descriptor and no memory more
 *  than before. */
class FaultLoop : public testing::TestWithParam<FaultCase> {
protected:
  void run();
};

} // namespace support
