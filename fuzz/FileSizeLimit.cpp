#include "fuzz/FileSizeLimit.h"

#include <csignal>

#include <sys/resource.h>

#include "fuzz/Input.h"

namespace fuzz {

namespace {

unsigned long exchangeLimit(unsigned long bytes)
{
  rlimit limit{};
  require(::getrlimit(RLIMIT_FSIZE, &limit) == 0, "the limit of file sizes can be read");
  const unsigned long before = limit.rlim_cur;
  limit.rlim_cur = bytes;
  require(::setrlimit(RLIMIT_FSIZE, &limit) == 0, "the limit of file sizes can be set");
  return before;
}

} // namespace

FileSizeLimit::FileSizeLimit(unsigned long bytes) : before(0)
{
  // Ignored, so that a write beyond the limit fails instead of ending the
  // process; each time, since a fuzzing engine sets a handler of its own.
  std::signal(SIGXFSZ, SIG_IGN);
  before = exchangeLimit(bytes);
}

FileSizeLimit::~FileSizeLimit()
{
  exchangeLimit(before);
}

} // namespace fuzz
