// The program's own read(), write() and close() stand before the system's, for
// the libraries that it loads too.

#include "tests/core/TransferFaults.h"

#include <algorithm>
#include <cerrno>
#include <limits>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

thread_local const std::vector<support::TransferStep>* activePlan = nullptr;
thread_local std::size_t nextStep = 0;
thread_local int closeError = 0;

/** The bytes that the next call may transfer; false with errno set where the
 *  call fails. */
bool allow(std::size_t& bytes)
{
  if (!activePlan || nextStep == activePlan->size())
    return true;
  const support::TransferStep step = (*activePlan)[nextStep++];
  bytes = std::min(bytes, step.limit);
  errno = step.error;
  return step.error == 0;
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) ssize_t read(int descriptor, void* buffer, size_t bytes)
{
  if (!allow(bytes))
    return -1;
  return ::syscall(SYS_read, descriptor, buffer, bytes);
}

__attribute__((visibility("default"))) ssize_t write(int descriptor, const void* buffer,
                                                     size_t bytes)
{
  if (!allow(bytes))
    return -1;
  return ::syscall(SYS_write, descriptor, buffer, bytes);
}

__attribute__((visibility("default"))) int close(int descriptor)
{
  const int result = static_cast<int>(::syscall(SYS_close, descriptor));
  if (closeError == 0)
    return result;
  errno = closeError;
  closeError = 0;
  return -1;
}

} // extern "C"

namespace support {

TransferStep interrupted()
{
  return failing(EINTR);
}

TransferStep failing(int error)
{
  return {error, 0};
}

TransferStep atMost(std::size_t bytes)
{
  return {0, bytes};
}

TransferFaults::TransferFaults(std::initializer_list<TransferStep> plan) : steps(plan)
{
  nextStep = 0;
  activePlan = &steps;
}

TransferFaults::~TransferFaults()
{
  activePlan = nullptr;
}

std::size_t TransferFaults::remaining() const
{
  return steps.size() - nextStep;
}

CloseFault::CloseFault(int error)
{
  closeError = error;
}

CloseFault::~CloseFault()
{
  closeError = 0;
}

bool CloseFault::happened() const
{
  return closeError == 0;
}

} // namespace support
