#include "fuzz/VariablesModel.h"

#include <cstdlib>

namespace fuzz {

namespace {

bool isName(char c, bool isFirst)
{
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
         (!isFirst && c >= '0' && c <= '9');
}

} // namespace

void setVariables()
{
  ::setenv("TOVA", "/media/disk", 1);
  ::setenv("B2", "takes/../x", 1);
  ::setenv("EMPTY", "", 1);
  ::setenv("SELF", "$SELF${SELF}", 1);
  ::setenv("LONG", std::string(5000, 'v').c_str(), 1);
}

std::string replaced(const std::string& text)
{
  std::string result;
  for (std::size_t begin = 0; begin < text.size();) {
    const bool isBraced = text.compare(begin, 2, "${") == 0;
    const std::size_t first = begin + (isBraced ? 2 : 1);
    std::size_t end = first;
    while (text[begin] == '$' && end < text.size() && isName(text[end], end == first))
      ++end;
    const bool isClosed = !isBraced || text.substr(end, 1) == "}";
    const char* const value =
        end > first && isClosed ? std::getenv(text.substr(first, end - first).c_str()) : nullptr;
    result += value ? value : text.substr(begin, 1);
    begin = value ? end + (isBraced ? 1 : 0) : begin + 1;
  }
  return result;
}

} // namespace fuzz
