#include "tests/core/ChildProcess.h"

#include <cerrno>
#include <stdexcept>

#include <sys/wait.h>
#include <unistd.h>

namespace support {

int runInChild(const std::function<int()>& body)
{
  const pid_t child = ::fork();
  if (child < 0)
    throw std::runtime_error("no child process");
  if (child == 0) {
    ::alarm(60);
    int code = 255;
    try {
      code = body();
    } catch (...) {
      code = 254;
    }
    ::_exit(code);
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR)
      throw std::runtime_error("lost the child process");
  }
  return WIFSIGNALED(status) ? 1000 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace support
