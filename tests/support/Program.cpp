#include "tests/support/Program.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support {

namespace {

int unnamedFile()
{
  std::string path = (std::filesystem::temp_directory_path() / "tov_test_XXXXXX").string();
  const int descriptor = ::mkostemp(path.data(), O_CLOEXEC);
  if (descriptor < 0)
    throw std::runtime_error("no temporary file");
  ::unlink(path.c_str());
  return descriptor;
}

std::string contents(int descriptor)
{
  std::string text;
  char buffer[4096];
  ::ssize_t count = 0;
  while ((count = ::pread(descriptor, buffer, sizeof buffer, static_cast<::off_t>(text.size()))) >
         0)
    text.append(buffer, static_cast<std::size_t>(count));
  return text;
}

/** The child's side; never returns. */
[[noreturn]] void become(const Launch& launch, const std::vector<char*>& arguments, int out,
                         int err) noexcept
{
  ::setpgid(0, 0);
  ::alarm(Program::kLimitSeconds);
  // What the parent ignores or blocks would stay so beyond exec.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ})
    std::signal(signal, SIG_DFL);
  ::sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  const int nothing = ::open("/dev/null", O_RDONLY);
  const bool isWired = ::dup2(nothing, 0) == 0 && ::dup2(out, 1) == 1 && ::dup2(err, 2) == 2 &&
                       (launch.folder.empty() || ::chdir(launch.folder.c_str()) == 0);
  for (const std::string& setting : launch.settings) {
    const std::size_t equals = setting.find('=');
    ::setenv(setting.substr(0, equals).c_str(), setting.c_str() + equals + 1, 1);
  }
  if (launch.beforeExec)
    launch.beforeExec();
  if (isWired)
    ::execvp(arguments[0], arguments.data());
  ::_exit(127);
}

} // namespace

Program::Program(const Launch& launch) : out(unnamedFile()), err(unnamedFile())
{
  std::vector<std::string> texts = launch.arguments;
  std::vector<char*> arguments;
  for (std::string& text : texts)
    arguments.push_back(text.data());
  arguments.push_back(nullptr);
  child = ::fork();
  if (child < 0)
    throw std::runtime_error("no child process");
  if (child == 0)
    become(launch, arguments, out, err);
}

Program::~Program()
{
  if (isRunning) {
    // By its process id alone as well: it may not have made its group yet.
    ::kill(child, SIGKILL);
    ::kill(-child, SIGKILL);
    waitForChange();
  }
  ::close(out);
  ::close(err);
}

void Program::send(int signal) const
{
  ::kill(child, signal);
}

int Program::waitForChange() const
{
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR)
      throw std::runtime_error("lost the child process");
  }
  return status;
}

Outcome Program::wait()
{
  return ended(waitForChange());
}

Outcome Program::ended(int status)
{
  isRunning = false;
  Outcome outcome;
  outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  outcome.out = contents(out);
  outcome.err = contents(err);
  return outcome;
}

Outcome run(const Launch& launch)
{
  return Program(launch).wait();
}

Outcome run(const std::vector<std::string>& arguments)
{
  return run(Launch{.arguments = arguments});
}

Outcome runOrThrow(const std::vector<std::string>& arguments)
{
  Outcome outcome = run(arguments);
  if (outcome.exitCode != 0) {
    std::string command;
    for (const std::string& argument : arguments)
      command += argument + " ";
    throw std::runtime_error(command + "gave " + std::to_string(outcome.exitCode) + ": " +
                             outcome.err);
  }
  return outcome;
}

} // namespace support
