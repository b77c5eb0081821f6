#include "tests/support/GuardedBlock.h"

#include <cerrno>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace support {

namespace {

void check(bool succeeded, const char* what)
{
  if (!succeeded)
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

GuardedBlock::GuardedBlock(std::size_t bytes, Tight tight)
    : mapping(nullptr), mappingLength(0),
      pageLength(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), begin(nullptr), length(bytes)
{
  const std::size_t pages = (bytes + pageLength - 1) / pageLength;
  mappingLength = (pages + 2) * pageLength;
  mapping = mmap(nullptr, mappingLength, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  check(mapping != MAP_FAILED, "mmap");
  unsigned char* const inner = static_cast<unsigned char*>(mapping) + pageLength;
  if (pages > 0)
    check(mprotect(inner, pages * pageLength, PROT_READ | PROT_WRITE) == 0, "mprotect");
  begin = tight == Tight::AtStart ? inner : inner + (pages * pageLength - bytes);
}

GuardedBlock::~GuardedBlock()
{
  munmap(mapping, mappingLength);
}

void GuardedBlock::forbidWriting()
{
  const std::size_t innerLength = mappingLength - 2 * pageLength;
  if (innerLength > 0)
    check(mprotect(static_cast<unsigned char*>(mapping) + pageLength, innerLength, PROT_READ) == 0,
          "mprotect");
}

} // namespace support
