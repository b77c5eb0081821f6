#include "tests/app/Pty.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support {

namespace {

struct Report {
  ::pid_t program;
  int status; ///< of waitpid(); -1 at the start
};

void tell(int report, ::pid_t program, int status) noexcept
{
  const Report message = {program, status};
  [[maybe_unused]] const ::ssize_t written = ::write(report, &message, sizeof message);
}

[[noreturn]] void become(const Launch& launch) noexcept
{
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGQUIT, SIGTSTP, SIGTTOU, SIGTTIN})
    std::signal(signal, SIG_DFL);
  std::vector<std::string> texts = launch.arguments;
  std::vector<char*> arguments;
  for (std::string& text : texts)
    arguments.push_back(text.data());
  arguments.push_back(nullptr);
  for (const std::string& setting : launch.settings) {
    const std::size_t equals = setting.find('=');
    ::setenv(setting.substr(0, equals).c_str(), setting.c_str() + equals + 1, 1);
  }
  // A crash that is wanted leaves no file.
  const ::rlimit none = {0, 0};
  ::setrlimit(RLIMIT_CORE, &none);
  if (launch.beforeExec)
    launch.beforeExec();
  if (launch.folder.empty() || ::chdir(launch.folder.c_str()) == 0)
    ::execvp(arguments[0], arguments.data());
  ::_exit(127);
}

} // namespace

Pty::Pty(const Launch& launch)
{
  int fromShell[2];
  int toShell[2];
  master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
  if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0 ||
      ::pipe2(fromShell, O_CLOEXEC | O_NONBLOCK) != 0 || ::pipe2(toShell, O_CLOEXEC) != 0)
    throw std::runtime_error("no terminal");
  resize(kColumns);
  const int slave = ::open(::ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
  shell = ::fork();
  if (shell < 0)
    throw std::runtime_error("no child process");
  if (shell == 0) {
    // Ends that the shell would keep open would keep it from noticing its end.
    ::close(toShell[1]);
    ::close(fromShell[0]);
    beShell(launch, slave, fromShell[1], toShell[0]);
  }
  ::close(slave);
  ::close(fromShell[1]);
  ::close(toShell[0]);
  reports = fromShell[0];
  orders = toShell[1];
  if (!waitUntil([this] { return program > 0; }))
    throw std::runtime_error("no job");
}

Pty::~Pty()
{
  if (!isEnded)
    ::kill(program, SIGKILL);
  ::close(orders);
  ::kill(shell, SIGKILL);
  ::waitpid(shell, nullptr, 0);
  ::close(reports);
  ::close(master);
}

void Pty::beShell(const Launch& launch, int slave, int report, int order) const noexcept
{
  ::setsid();
  ::ioctl(slave, TIOCSCTTY, 0);
  for (const int end : {0, 1, 2})
    ::dup2(slave, end);
  for (const int signal : {SIGTTOU, SIGTTIN, SIGTSTP, SIGINT, SIGQUIT})
    std::signal(signal, SIG_IGN);
  ::alarm(Program::kLimitSeconds);
  const ::pid_t job = ::fork();
  if (job == 0) {
    // Its own group, in the foreground before the program begins.
    ::setpgid(0, 0);
    ::tcsetpgrp(0, ::getpid());
    become(launch);
  }
  ::setpgid(job, job);
  tell(report, job, -1);
  int jobStatus = 0;
  while (::waitpid(job, &jobStatus, WUNTRACED) == job) {
    ::tcsetpgrp(0, ::getpid());
    tell(report, job, jobStatus);
    char byte = 0;
    if (!WIFSTOPPED(jobStatus) || ::read(order, &byte, 1) != 1)
      break;
    ::tcsetpgrp(0, job);
    ::kill(-job, SIGCONT);
  }
  // The terminal must outlive the job, whose settings the test looks at.
  char byte = 0;
  while (::read(order, &byte, 1) == 1) {
  }
  ::_exit(0);
}

void Pty::type(const std::string& keys) const
{
  if (::write(master, keys.data(), keys.size()) != static_cast<::ssize_t>(keys.size()))
    throw std::runtime_error("the terminal takes no keys");
}

void Pty::send(int signal) const
{
  ::kill(program, signal);
}

void Pty::resize(int columns) const
{
  ::winsize size = {};
  size.ws_col = static_cast<unsigned short>(columns);
  size.ws_row = 24;
  ::ioctl(master, TIOCSWINSZ, &size);
}

::termios Pty::settings() const
{
  ::termios now = {};
  if (::tcgetattr(master, &now) != 0)
    throw std::runtime_error("the terminal is gone");
  return now;
}

void Pty::readReports()
{
  Report report = {};
  while (::read(reports, &report, sizeof report) == sizeof report) {
    program = report.program;
    isStopped = report.status != -1 && WIFSTOPPED(report.status);
    isEnded = report.status != -1 && !WIFSTOPPED(report.status);
    status = report.status;
  }
}

const std::string& Pty::text()
{
  readReports();
  char buffer[4096];
  for (::ssize_t count = 0; (count = ::read(master, buffer, sizeof buffer)) > 0;)
    output.append(buffer, static_cast<std::size_t>(count));
  return output;
}

std::string Pty::line()
{
  const std::string& all = text();
  const std::size_t end = all.rfind("\033[K");
  const std::size_t begin = end == std::string::npos ? end : all.rfind('\r', end);
  return begin == std::string::npos ? std::string() : all.substr(begin + 1, end - begin - 1);
}

bool Pty::waitUntil(const std::function<bool()>& holds)
{
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  for (;;) {
    text();
    if (holds())
      return true;
    if (std::chrono::steady_clock::now() > limit)
      return false;
    ::pollfd ends[] = {{master, POLLIN, 0}, {reports, POLLIN, 0}};
    ::poll(ends, 2, 10);
    // A terminal that nobody has open any more is always ready.
    if ((ends[0].revents & POLLHUP) != 0)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

bool Pty::waitForLine(const std::string& part)
{
  return waitUntil([&] { return line().find(part) != std::string::npos; });
}

bool Pty::waitForStop()
{
  return waitUntil([this] { return isStopped; });
}

Outcome Pty::waitForEnd()
{
  if (!waitUntil([this] { return isEnded; }))
    throw std::runtime_error("the program does not end; its line is " + line());
  Outcome outcome;
  outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  outcome.out = text();
  return outcome;
}

void Pty::goOn()
{
  isStopped = false;
  [[maybe_unused]] const ::ssize_t written = ::write(orders, "g", 1);
}

bool isSame(const ::termios& a, const ::termios& b)
{
  bool same = a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag &&
              a.c_lflag == b.c_lflag;
  for (int i = 0; i < NCCS; ++i)
    same = same && a.c_cc[i] == b.c_cc[i];
  return same;
}

} // namespace support
