// Loaded into a program before its own libraries: makes one of its calls on a
// file below a folder fail, and every later one of the same kind.
//   TOV_FAULT         "write 3 28": the third write, with error number 28
//   TOV_FAULT_FOLDER  the folder
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

/** The next definition of a function behind this one. */
template <typename Function>
Function* next(const char* name)
{
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

bool isBelowFolder(const char* path)
{
  const char* folder = std::getenv("TOV_FAULT_FOLDER");
  return folder && std::strncmp(path, folder, std::strlen(folder)) == 0;
}

bool isBelowFolder(int descriptor)
{
  char link[64];
  char path[4096] = {};
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
  return ::readlink(link, path, sizeof path - 1) > 0 && isBelowFolder(path);
}

/** Whether this call is to fail; then errno is set. */
bool fails(const char* call, bool isMeant)
{
  static int callsLeft = -1;
  char wanted[16] = {};
  int number = 0;
  int error = 0;
  const char* fault = std::getenv("TOV_FAULT");
  if (!isMeant || !fault || std::sscanf(fault, "%15s %d %d", wanted, &number, &error) != 3 ||
      std::strcmp(call, wanted) != 0)
    return false;
  if (callsLeft < 0)
    callsLeft = number;
  if (callsLeft > 1) {
    --callsLeft;
    return false;
  }
  errno = error;
  return true;
}

} // namespace

#define TOV_EXPORTED extern "C" __attribute__((visibility("default")))

TOV_EXPORTED ::ssize_t write(int descriptor, const void* bytes, std::size_t count)
{
  if (fails("write", isBelowFolder(descriptor)))
    return -1;
  return next<::ssize_t(int, const void*, std::size_t)>("write")(descriptor, bytes, count);
}

TOV_EXPORTED int fsync(int descriptor)
{
  return fails("fsync", isBelowFolder(descriptor)) ? -1 : next<int(int)>("fsync")(descriptor);
}

// The file is closed all the same, as a system does.
TOV_EXPORTED int close(int descriptor)
{
  const bool isFailing = fails("close", isBelowFolder(descriptor));
  const int error = errno;
  const int result = next<int(int)>("close")(descriptor);
  if (isFailing)
    errno = error;
  return isFailing ? -1 : result;
}

TOV_EXPORTED int rename(const char* from, const char* to)
{
  return fails("rename", isBelowFolder(from) || from[0] == '.')
             ? -1
             : next<int(const char*, const char*)>("rename")(from, to);
}
