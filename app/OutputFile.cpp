#include "app/OutputFile.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "app/Failures.h"
#include "app/StandardOutput.h"

std::string systemErrorText(int errorNumber)
{
  std::string text = std::strerror(errorNumber);
  text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  return text;
}

std::string targetBehindLinks(const std::string& name)
{
  std::filesystem::path path = name;
  constexpr int kMostLinks = 40;
  std::error_code error;
  for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(path, error); ++i) {
    const std::filesystem::path next = std::filesystem::read_symlink(path, error);
    path = next.is_absolute() ? next : path.parent_path() / next;
  }
  return path.string();
}

static std::string folderForTemporaries()
{
  std::error_code error;
  const std::filesystem::path path = std::filesystem::temp_directory_path(error);
  return error ? "/tmp" : path.string();
}

OutputFile::OutputFile(const std::string& targetName) : name(outputNameForPeople(targetName))
{
  if (isStandardOutput(targetName)) {
    isForStandardOutput = true;
    folder = folderForTemporaries();
    makeTemporary();
    return;
  }
  const std::filesystem::path path = targetBehindLinks(targetName);
  target = path.string();
  folder = path.has_parent_path() ? path.parent_path().string() : ".";
  refuseBadTarget();
  makeTemporary();
}

OutputFile::~OutputFile()
{
  remove();
}

void OutputFile::refuseBadTarget() const
{
  struct stat status = {};
  if (stat(target.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) {
      throw Failure(name, "is a folder");
    }
    if (!S_ISREG(status.st_mode)) {
      throw Failure(name, "is a pipe or a device; only regular files can be written");
    }
    if (access(target.c_str(), W_OK) != 0) {
      throw Failure(name, "cannot be replaced: " + systemErrorText(errno));
    }
  }
  if (stat(folder.c_str(), &status) != 0) {
    throw Failure(name, "the folder \"" + folder + "\" cannot be used: " + systemErrorText(errno));
  }
  if (!S_ISDIR(status.st_mode)) {
    throw Failure(name, "\"" + folder + "\" is not a folder");
  }
}

/** What the old file may be read and written by, or what any new file may. */
static mode_t modeFor(const std::string& target)
{
  struct stat status = {};
  if (stat(target.c_str(), &status) == 0) {
    return status.st_mode & 0777;
  }
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

void OutputFile::makeTemporary()
{
  // Leaves room for what is added within the 255 bytes that a name may have.
  constexpr std::size_t kMostOfName = 200;
  const std::string base =
      isForStandardOutput
          ? "tov"
          : std::filesystem::path(target).filename().string().substr(0, kMostOfName);
  temporaryPath = folder + "/." + base + ".tov-XXXXXX";
  descriptor = mkostemp(temporaryPath.data(), O_CLOEXEC);
  if (descriptor < 0) {
    temporaryPath.clear();
    throw Failure(name, "cannot be written: " +
                            (isForStandardOutput ? "a temporary file in " + folder + ": " : "") +
                            systemErrorText(errno));
  }
  if (isForStandardOutput) {
    return;
  }
  // A temporary file is private; the finished one is like any other.  A file
  // system without permissions may refuse, and loses nothing by it.
  (void)fchmod(descriptor, modeFor(target));
}

void OutputFile::allowToHide()
{
  if (isForStandardOutput) {
    unlink(temporaryPath.c_str());
    temporaryPath.clear();
  }
}

void OutputFile::commit()
{
  if (isForStandardOutput) {
    copyToStandardOutput(descriptor);
    return;
  }
  if (fsync(descriptor) != 0) {
    throw Failure(name, "could not be written completely: " + systemErrorText(errno));
  }
  if (std::rename(temporaryPath.c_str(), target.c_str()) != 0) {
    throw Failure(name, "could not be put in place: " + systemErrorText(errno));
  }
  temporaryPath.clear();
  // The name itself is safe only when the folder is on the disk too.  Not every
  // file system can do that; the file is complete either way.
  const int folderDescriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folderDescriptor >= 0) {
    (void)fsync(folderDescriptor);
    close(folderDescriptor);
  }
}

void OutputFile::remove()
{
  if (!temporaryPath.empty()) {
    unlink(temporaryPath.c_str());
    temporaryPath.clear();
  }
  if (descriptor >= 0) {
    close(descriptor);
    descriptor = -1;
  }
}
