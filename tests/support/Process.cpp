#include "tests/support/Process.h"

#include <csignal>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support {

std::vector<int> withFileSizeLimit(unsigned long bytes,
                                   const std::function<std::vector<int>()>& body)
{
  int ends[2];
  if (::pipe(ends) != 0)
    throw std::runtime_error("no pipe");
  const ::pid_t child = ::fork();
  if (child < 0)
    throw std::runtime_error("no child process");
  if (child == 0) {
    ::close(ends[0]);
    // Ignored, so that a write beyond the limit fails instead of killing.
    std::signal(SIGXFSZ, SIG_IGN);
    ::rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    bool isDelivered = ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
    if (isDelivered) {
      // An exception must not unwind into the parent's test.
      const std::vector<int> results = [&body]() noexcept { return body(); }();
      const std::size_t size = results.size() * sizeof(int);
      isDelivered = ::write(ends[1], results.data(), size) == static_cast<::ssize_t>(size);
    }
    ::_exit(isDelivered ? 0 : 1);
  }
  ::close(ends[1]);
  std::vector<int> results;
  for (int value; ::read(ends[0], &value, sizeof value) == static_cast<::ssize_t>(sizeof value);)
    results.push_back(value);
  ::close(ends[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (WIFSIGNALED(status))
    throw std::runtime_error("the child ended by signal " + std::to_string(WTERMSIG(status)));
  if (WEXITSTATUS(status) != 0)
    throw std::runtime_error("the child failed");
  return results;
}

int openDescriptors()
{
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return static_cast<int>(std::distance(begin(entries), end(entries)));
}

} // namespace support
