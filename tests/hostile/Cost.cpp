#include "tests/hostile/Cost.h"

#include <algorithm>
#include <fstream>

#include <sys/resource.h>

#include "tests/hostile/AllocatedBytes.h"
#include "tests/support/Memory.h"

namespace support {

namespace {

double secondsUsed()
{
  ::rusage usage{};
  ::getrusage(RUSAGE_THREAD, &usage);
  const auto seconds = [](const ::timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/** The process's peak begins anew; where the system does not let it, the
 *  growth is only found to be smaller. */
long long restartedPeak()
{
  std::ofstream("/proc/self/clear_refs") << "5";
  return support::peakResidentBytes();
}

} // namespace

Cost::Cost()
    : secondsBefore(secondsUsed()), bytesBefore(AllocatedBytes::now()),
      residentBefore(restartedPeak())
{
  AllocatedBytes::restartMost();
}

double Cost::seconds() const
{
  return secondsUsed() - secondsBefore;
}

long long Cost::bytes() const
{
  return AllocatedBytes::most() - bytesBefore;
}

long long Cost::residentBytes() const
{
  return hasSanitizerOverhead() ? 0 : std::max(peakResidentBytes() - residentBefore, 0LL);
}

testing::AssertionResult Cost::isBoundedInMemory() const
{
  // Page tables and the heap's own rooms come on top of what is asked for.
  constexpr long long kRoundings = 8LL << 20;
  if (bytes() >= kMostBytes)
    return testing::AssertionFailure() << bytes() << " bytes allocated at once";
  if (residentBytes() >= kMostBytes + kRoundings)
    return testing::AssertionFailure() << residentBytes() << " bytes became resident";
  return testing::AssertionSuccess();
}

testing::AssertionResult Cost::isBounded() const
{
  const double spent = seconds();
  if (spent >= kMostSeconds)
    return testing::AssertionFailure() << spent << " s of processor time";
  return isBoundedInMemory();
}

} // namespace support
