#include "core/TovFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "hostcore/FormatText.h"

namespace {

constexpr int kInvalidMode = -1;

/** The system's open flags of a mode text, without the one that empties the
 *  file: that waits until the file is known to be a regular one. */
int openFlags(const char* mode)
{
  const bool isUpdate = std::strchr(mode, '+') != nullptr;
  switch (mode[0]) {
  case 'r':
    return isUpdate ? O_RDWR : O_RDONLY;
  case 'w':
    return (isUpdate ? O_RDWR : O_WRONLY) | O_CREAT;
  case 'a':
    return (isUpdate ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
  default:
    return kInvalidMode;
  }
}

bool isRegularFile(int descriptor)
{
  struct stat status;
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/** Repeats a transfer(offset, bytes) until all bytes are through, the file
 *  ends or an error other than an interruption comes. */
template <typename Transfer>
unsigned long transferAll(unsigned long bytes, Transfer transfer)
{
  constexpr unsigned long kLargestTransfer = 1ul << 30; // some systems refuse more at once
  unsigned long done = 0;
  while (done < bytes) {
    const ssize_t moved = transfer(done, std::min(bytes - done, kLargestTransfer));
    if (moved > 0)
      done += static_cast<unsigned long>(moved);
    else if (moved == 0 || errno != EINTR)
      break;
  }
  return done;
}

bool isNameStart(char c)
{
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool isNamePart(char c)
{
  return isNameStart(c) || (c >= '0' && c <= '9');
}

} // namespace

TovFile::TovFile() noexcept : descriptor(-1) {}

TovFile::~TovFile()
{
  close();
}

int TovFile::open(const char* path, const char* mode)
{
  close();
  if (!path || !mode)
    return -1;
  const int flags = openFlags(mode);
  if (flags == kInvalidMode)
    return -1;

  // Without O_NONBLOCK a pipe that nobody writes to would hang the open.
  do
    descriptor = ::open(path, flags | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, 0666);
  while (descriptor < 0 && errno == EINTR);
  if (descriptor < 0)
    return -1;

  if (!isRegularFile(descriptor) || (mode[0] == 'w' && ::ftruncate(descriptor, 0) != 0)) {
    close();
    return -1;
  }
  return 0;
}

unsigned long TovFile::read(void* buffer, unsigned long bytes)
{
  if (descriptor < 0 || !buffer)
    return 0;
  return transferAll(bytes, [&](unsigned long offset, unsigned long n) {
    return ::read(descriptor, static_cast<char*>(buffer) + offset, n);
  });
}

unsigned long TovFile::write(const void* buffer, unsigned long bytes)
{
  if (descriptor < 0 || !buffer)
    return 0;
  return transferAll(bytes, [&](unsigned long offset, unsigned long n) {
    return ::write(descriptor, static_cast<const char*>(buffer) + offset, n);
  });
}

int TovFile::printf(const char* format, ...)
{
  if (descriptor < 0 || !format)
    return descriptor < 0 ? 0 : -1;
  std::va_list arguments;
  va_start(arguments, format);
  const std::optional<std::string> text = tovFormatText(format, arguments);
  va_end(arguments);
  if (!text || write(text->data(), text->size()) != text->size())
    return -1;
  return static_cast<int>(text->size());
}

int TovFile::seek(long long offset, int whence)
{
  static_assert(SEEK_SET == 0 && SEEK_CUR == 1 && SEEK_END == 2);
  if (descriptor < 0 || whence < SEEK_SET || whence > SEEK_END)
    return 0;
  return ::lseek(descriptor, offset, whence) >= 0 ? 1 : 0;
}

long long TovFile::tell()
{
  return descriptor < 0 ? 0 : ::lseek(descriptor, 0, SEEK_CUR);
}

int TovFile::close()
{
  if (descriptor < 0)
    return 0;
  const int closing = descriptor;
  descriptor = -1;
  // After an interrupted close the descriptor is gone all the same.
  return ::close(closing) == 0 || errno == EINTR ? 0 : -1;
}

TovName TovFile::replaceEnvVars(const TovName& name)
{
  const std::string text(name.c_str());
  std::string result;
  std::size_t position = 0;
  while (position < text.size()) {
    const bool isBraced = text.compare(position, 2, "${") == 0;
    const std::size_t begin = position + (isBraced ? 2 : 1);
    std::size_t end = begin;
    if (text[position] == '$' && begin < text.size() && isNameStart(text[begin]))
      while (end < text.size() && isNamePart(text[end]))
        ++end;

    const bool isReference = end > begin && (!isBraced || (end < text.size() && text[end] == '}'));
    const char* const value =
        isReference ? std::getenv(text.substr(begin, end - begin).c_str()) : nullptr;
    if (value) {
      result += value;
      position = end + (isBraced ? 1 : 0);
    } else {
      result += text[position];
      ++position;
    }
  }
  return TovName::getString(result.c_str());
}

void TovFile::uncFileName(char* out, const char* in)
{
  namespace fs = std::filesystem;
  if (!out)
    return;

  std::string path;
  if (in && std::strlen(in) >= kMaxPath) {
    path.assign(in, kMaxPath - 1); // no file's; taking it apart would cost a multiple of it
  } else if (in && *in) {
    std::error_code error;
    const fs::path absolute = fs::absolute(in, error);
    const fs::path canonical = error ? fs::path(in) : fs::weakly_canonical(absolute, error);
    path = (error ? absolute.lexically_normal() : canonical).string();
    // What does not exist keeps the slash at its end, what does exist does not.
    while (path.size() > 1 && path.back() == '/')
      path.pop_back();
    if (path.empty())
      path = in;
  }
  const std::size_t length = std::min<std::size_t>(path.size(), kMaxPath - 1);
  std::memcpy(out, path.data(), length);
  out[length] = '\0';
}
