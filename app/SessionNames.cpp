#include "app/SessionNames.h"

#include <algorithm>
#include <filesystem>

#include "app/Failures.h"
#include "app/OutputFile.h"
#include "core/TovFile.h"

namespace fs = std::filesystem;

NameMapping nameMappingOfText(const std::string& option, const std::string& text)
{
  const std::size_t sign = text.find('=');
  if (sign == std::string::npos || sign == 0) {
    throw UsageError(option + ": \"" + text + "\" is not of the form OLD=NEW");
  }
  return {text.substr(0, sign), text.substr(sign + 1)};
}

std::string mappedName(const std::string& name, const std::vector<NameMapping>& mappings)
{
  for (const NameMapping& mapping : mappings) {
    if (name.starts_with(mapping.from)) {
      return mapping.to + name.substr(mapping.from.size());
    }
  }
  return name;
}

static fs::path canonicalPath(const fs::path& path)
{
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error);
  const fs::path canonical = fs::weakly_canonical(absolute, error);
  return error ? absolute.lexically_normal() : canonical;
}

std::string folderOfScript(const std::string& script)
{
  return canonicalPath(targetBehindLinks(script)).parent_path().string();
}

static std::string withVariablesReplaced(const std::string& name)
{
  return TovFile::replaceEnvVars(TovName::getString(name.c_str())).c_str();
}

std::string pathOfStoredName(const std::string& storedName, const std::string& script)
{
  const std::string name = withVariablesReplaced(storedName);
  if (name.empty() || fs::path(name).is_absolute()) {
    return name;
  }
  const fs::path asWritten = fs::path(script).parent_path();
  const std::string folder = folderOfScript(script);
  const bool isSameFolder = canonicalPath(asWritten.empty() ? "." : asWritten) == folder;
  const fs::path besideScript = (isSameFolder ? asWritten : fs::path(folder)) / name;
  std::error_code error;
  return !fs::exists(besideScript, error) && fs::exists(name, error) ? name : besideScript.string();
}

/** The path from the folder to what lies in it or below; empty for others. */
static std::string pathBelow(const fs::path& path, const fs::path& folder)
{
  const auto [folderEnd, pathRest] =
      std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
  return folderEnd == folder.end() && pathRest != path.end()
             ? path.lexically_relative(folder).string()
             : std::string();
}

static bool goesUp(const fs::path& path)
{
  return std::find(path.begin(), path.end(), "..") != path.end();
}

std::string nameToStore(const std::string& path, const std::string& folder)
{
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error);
  // Links in the name stay, where that cannot make it another file's.
  const fs::path plain = goesUp(absolute) ? canonicalPath(path) : absolute.lexically_normal();
  std::string name = pathBelow(plain, folder);
  if (name.empty()) {
    name = pathBelow(canonicalPath(path), folder);
  }
  if (name.empty()) {
    name = plain.string();
  }
  if (withVariablesReplaced(name) != name) {
    throw Failure(path, "cannot be kept in a session: its path holds an environment variable");
  }
  return name;
}

std::string withoutControlCharacters(std::string text)
{
  for (char& c : text) {
    const unsigned char code = static_cast<unsigned char>(c);
    c = code < 0x20 || code == 0x7F ? '?' : c;
  }
  return text;
}
