#include "tests/app/TracedProgram.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support {

namespace {

long peakMemoryOf(::pid_t pid)
{
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:"))
      return std::stol(line.substr(6));
  }
  throw std::runtime_error("no peak memory");
}

/** The number of the call that it stands before; -1 behind one. */
long callBefore(::pid_t pid)
{
  struct __ptrace_syscall_info info = {};
  if (::ptrace(PTRACE_GET_SYSCALL_INFO, pid, sizeof info, &info) <= 0)
    throw std::runtime_error("the program cannot be traced");
  return info.op == PTRACE_SYSCALL_INFO_ENTRY ? static_cast<long>(info.entry.nr) : -1;
}

constexpr int kCallStop = SIGTRAP | 0x80;
constexpr int kExitStop = SIGTRAP | (PTRACE_EVENT_EXIT << 8);

} // namespace

Launch TracedProgram::prepared(Launch launch)
{
  // A sanitizer's search for leaks traces the program itself, and keeping
  // freed memory would make it grow.
  const char* options = std::getenv("ASAN_OPTIONS");
  launch.settings.push_back("ASAN_OPTIONS=" + std::string(options ? options : "") +
                            ":detect_leaks=0:quarantine_size_mb=1");
  launch.beforeExec = [before = launch.beforeExec] {
    if (before)
      before();
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
  };
  return launch;
}

TracedProgram::TracedProgram(Launch launch) : program(prepared(std::move(launch)))
{
  const int status = program.waitForChange();
  if (!WIFSTOPPED(status) ||
      ::ptrace(PTRACE_SETOPTIONS, program.pid(), nullptr,
               PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXIT | PTRACE_O_EXITKILL) != 0)
    throw std::runtime_error("the program cannot be traced");
}

void TracedProgram::resume(int signal)
{
  if (::ptrace(PTRACE_SYSCALL, program.pid(), nullptr, static_cast<long>(signal)) != 0)
    throw std::runtime_error("the traced program is gone");
}

bool TracedProgram::toNextCall()
{
  int signal = 0;
  while (!hasEnded) {
    resume(signal);
    signal = 0;
    lastStatus = program.waitForChange();
    hasEnded = !WIFSTOPPED(lastStatus);
    if (hasEnded)
      break;
    if (lastStatus >> 8 == kExitStop)
      peak = peakMemoryOf(program.pid());
    else if (WSTOPSIG(lastStatus) != kCallStop)
      signal = WSTOPSIG(lastStatus);
    else if ((number = callBefore(program.pid())) >= 0)
      return true;
  }
  return false;
}

Outcome TracedProgram::kill()
{
  program.send(SIGKILL);
  while (!hasEnded) {
    lastStatus = program.waitForChange();
    hasEnded = !WIFSTOPPED(lastStatus);
    // Even a killed program stops once more before it is gone.
    if (!hasEnded)
      ::ptrace(PTRACE_CONT, program.pid(), nullptr, nullptr);
  }
  return program.ended(lastStatus);
}

Outcome TracedProgram::release(int signal)
{
  if (hasEnded)
    return program.ended(lastStatus);
  if (signal != 0)
    program.send(signal);
  ::ptrace(PTRACE_DETACH, program.pid(), nullptr, nullptr);
  return program.wait();
}

Outcome TracedProgram::finish()
{
  while (toNextCall()) {
  }
  return program.ended(lastStatus);
}

void TracedProgram::throwEnded()
{
  throw std::runtime_error("the program ended before it came to where it was waited for");
}

} // namespace support
