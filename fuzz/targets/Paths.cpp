#include <cstdlib>
#include <cstring>

#include "core/TovFile.h"
#include "fuzz/FileModel.h"
#include "fuzz/Seeds.h"
#include "tests/support/TempFolder.h"

// Environment variables in names, full paths of names, and what can be done
// with a file.

namespace fuzz {

namespace {

void setVariables()
{
  ::setenv("TOVA", "/media/disk", 1);
  ::setenv("B2", "takes/../x", 1);
  ::setenv("EMPTY", "", 1);
  ::setenv("SELF", "$SELF${SELF}", 1);
  ::setenv("LONG", std::string(5000, 'v').c_str(), 1);
}

bool isName(char c, bool isFirst)
{
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
         (!isFirst && c >= '0' && c <= '9');
}

/** The text with its references replaced, from the back to the front. */
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

std::string fullPath(const std::string& name)
{
  std::vector<char> out(TovFile::kMaxPath, 'x'); // exactly as long as it may be
  TovFile::uncFileName(out.data(), name.c_str());
  require(std::memchr(out.data(), 0, out.size()), "a path ends inside its room");
  return out.data();
}

void checkName(Input& input)
{
  setVariables();
  const unsigned int repeated = input.u8();
  const std::string part(input.text().c_str());
  std::string name;
  for (unsigned int i = 0; i <= repeated; ++i)
    name += part;

  const TovName result = TovFile::replaceEnvVars(TovName::getString(name.c_str()));
  require(result.c_str() == replaced(name), "what replaces the references");

  const std::string path = fullPath(name);
  const bool isPath = !name.empty() && path.size() + 1 < TovFile::kMaxPath;
  require(name.empty() == path.empty(), "a name has a path");
  require(!isPath || name.size() >= TovFile::kMaxPath || path[0] == '/', "a path is a full one");
  require(!isPath || fullPath(path) == path, "a full path is its own");
}

void run(Input& input)
{
  if (input.flag())
    FileModel(scratch().path("file")).run(input);
  else
    checkName(input);
}

} // namespace

extern const Target pathsTarget;
const Target pathsTarget = {"paths", run, pathsSeeds, "hostcore/TovFile.cpp"};

} // namespace fuzz
