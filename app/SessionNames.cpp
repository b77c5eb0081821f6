#include "app/SessionNames.h"

#include <algorithm>
#include <climits>
#include <filesystem>

#include <sys/stat.h>

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

std::string mappedName(std::string name, const std::vector<NameMapping>& mappings)
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

std::string withVariablesReplaced(const std::string& name)
{
  if (name.size() >= TovFile::kMaxPath || name.find('$') == std::string::npos) {
    return name;
  }
  std::string result;
  // No reference reaches into the next one, so that they can be replaced one by
  // one, as far as a path can be long.
  for (std::size_t begin = 0; begin < name.size() && result.size() < TovFile::kMaxPath;) {
    const std::size_t end = std::min(name.find('$', begin + 1), name.size());
    const std::string piece = name.substr(begin, end - begin);
    result += TovFile::replaceEnvVars(TovName::getString(piece.c_str())).c_str();
    begin = end;
  }
  return result.substr(0, TovFile::kMaxPath);
}

bool isTooLongForPath(const std::string& path)
{
  return path.size() >= PATH_MAX;
}

static bool exists(const std::string& path)
{
  struct stat status = {};
  return stat(path.c_str(), &status) == 0;
}

SessionFolder::SessionFolder(const std::string& script) : canonicalName(folderOfScript(script))
{
  const fs::path asWritten = fs::path(script).parent_path();
  const bool isSameFolder = canonicalPath(asWritten.empty() ? "." : asWritten) == canonicalName;
  writtenName = isSameFolder ? asWritten.string() : canonicalName;
  if (!writtenName.empty() && writtenName.back() != '/') {
    writtenName += '/';
  }
}

std::string SessionFolder::pathOf(const std::string& storedName) const
{
  const std::string name = withVariablesReplaced(storedName);
  if (name.empty() || name.front() == '/' || isTooLongForPath(name)) {
    return name;
  }
  const std::string besideScript = writtenName + name;
  return !exists(besideScript) && exists(name) ? name : besideScript;
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

/** The position at or before this one where a character of UTF-8 begins. */
static std::size_t characterBegin(const std::string& text, std::size_t position)
{
  constexpr std::size_t kMostContinued = 3;
  for (std::size_t back = 0; back <= kMostContinued && back <= position; ++back) {
    if ((static_cast<unsigned char>(text[position - back]) & 0xC0) != 0x80) {
      return position - back;
    }
  }
  return position;
}

static constexpr std::size_t kMostShown = 512; // bytes

std::string shortened(const std::string& text)
{
  constexpr std::size_t kEnd = kMostShown / 2 - 2;
  if (text.size() <= kMostShown) {
    return text;
  }
  return text.substr(0, characterBegin(text, kEnd)) + "..." +
         text.substr(characterBegin(text, text.size() - kEnd));
}

std::string nameForPeople(const std::string& name)
{
  return withoutControlCharacters(shortened(name));
}

std::string nameForPrograms(const std::string& name)
{
  return isTooLongForPath(name) ? shortened(name) : name;
}

std::string withoutControlCharacters(std::string text)
{
  for (char& c : text) {
    const unsigned char code = static_cast<unsigned char>(c);
    c = code < 0x20 || code == 0x7F ? '?' : c;
  }
  return text;
}
