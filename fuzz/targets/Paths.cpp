#include <cstring>

#include "core/TovFile.h"
#include "fuzz/FileModel.h"
#include "fuzz/Seeds.h"
#include "fuzz/VariablesModel.h"
#include "tests/support/TempFolder.h"

// Environment variables in names, full paths of names, and what can be done
// with a file.

namespace fuzz {

namespace {

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
