#include "app/ScriptFile.h"

#include <cerrno>

#include <sys/stat.h>

#include "app/AudioCommand.h"
#include "app/Failures.h"
#include "app/FileSuffix.h"
#include "app/ForeignSounds.h"
#include "app/OutputFile.h"
#include "core/TovFile.h"

// The library reads settings of up to 64 MiB, which are 86 MiB as text.
static constexpr off_t kMostBytes = 128 << 20;

static std::string wholeText(const std::string& name, std::size_t size)
{
  TovFile file;
  if (file.open(name.c_str(), "r") != 0) {
    throw Failure(name, "cannot be read: " + systemErrorText(errno));
  }
  std::string text(size, '\0');
  text.resize(file.read(text.data(), text.size()));
  if (text.size() != size) {
    throw Failure(name, "could not be read completely");
  }
  return text;
}

std::optional<std::string> readScript(const std::string& name)
{
  struct stat status = {};
  if (stat(name.c_str(), &status) != 0) {
    if (errno == ENOENT) {
      return std::nullopt;
    }
    throw Failure(name, "cannot be read: " + systemErrorText(errno));
  }
  if (!S_ISREG(status.st_mode)) {
    throw Failure(name, S_ISDIR(status.st_mode) ? "is a folder, not a script"
                                                : "is a pipe or a device; only regular files "
                                                  "can be scripts");
  }
  if (status.st_size > kMostBytes) {
    throw Failure(name, "is larger than 128 MiB, which no script is");
  }
  std::string text = wholeText(name, static_cast<std::size_t>(status.st_size));
  // The library takes a script for a text that ends there.
  if (text.find('\0') != std::string::npos) {
    throw Failure(name, "is no script: it holds a zero byte");
  }
  return text;
}

bool isSession(const std::string& name)
{
  if (formatBySuffix(name) != nullptr || !whyForeign(name).empty()) {
    return false;
  }
  try {
    const std::optional<std::string> text = readScript(name);
    return text && findAudioCommand(*text);
  } catch (const Failure&) {
    return false;
  }
}
