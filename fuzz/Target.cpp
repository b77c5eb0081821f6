#include "fuzz/Target.h"

#include <cstring>

#include "core/TovSys.h"
#include "tests/support/TempFolder.h"

namespace fuzz {

namespace {

void takeMessage(char severity, const char* text, void*)
{
  const std::size_t length = std::strlen(text);
  require(severity == 'E' || severity == 'W' || severity == 0, "a message's severity is known");
  // Where a target brings a host of its own, that host cuts long messages.
  constexpr std::size_t kCut = 2047;
  require(length > 0 && (text[length - 1] == '\n' || length == kCut),
          "a message ends with a line feed");
}

} // namespace

void run(const Target& target, const std::uint8_t* data, std::size_t size)
{
  TovSys::setMessageHandler(takeMessage, nullptr);
  Input input(data, size);
  target.run(input);
}

const support::TempFolder& scratch()
{
  static const support::TempFolder folder;
  return folder;
}

} // namespace fuzz
