// Asked within the system's own locks: only plain variables are used, and no
// instrumented code.

#include "tests/faults/FaultDue.h"
#include "tests/faults/FaultSeam.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#define TOV_EXPORTED __attribute__((visibility("default")))

// Where a sanitizer brings functions of its own they are the ones to go on to.
extern "C" {
void* __libc_malloc(std::size_t);
void __libc_free(void*);
__attribute__((weak)) int __interceptor_pthread_create(pthread_t*, const pthread_attr_t*,
                                                       void* (*)(void*), void*);
}

namespace {

using support::FaultKind;
using support::isDue;

constexpr int kNoKind = -1;
constexpr long long kEndless = -1;

int armedKind = kNoKind; ///< written last when arming, first when disarming
long failingNumber = 0;
bool isLasting = false;
long callCount = 0;
bool hasHappened = false;
bool isForAllThreads = false;
pthread_t armedThread;

/** Within the function of a thread that was started through the seam.  What the
 *  system or a sanitizer does around it is nobody's to handle. */
thread_local bool isInThreadFunction = false;

long long roomBytes = kEndless;
pthread_t roomThread;

/** How many of the bytes find room from a position on; negative, with errno
 *  set, where there are bytes but no room. */
long long roomFor(long long position, std::size_t bytes)
{
  const long long wanted = static_cast<long long>(bytes);
  if (roomBytes == kEndless || !pthread_equal(pthread_self(), roomThread) || wanted == 0)
    return wanted;
  if (position >= roomBytes) {
    errno = ENOSPC;
    return -1;
  }
  return std::min(wanted, roomBytes - position);
}

template <typename Function>
Function* next(const char* name)
{
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

int openFile(const char* path, int flags, ::mode_t mode)
{
  if (isDue(FaultKind::Open, EMFILE))
    return -1;
  return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

bool takesMode(int flags)
{
  return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

// --- Threads --------------------------------------------------------------

struct ThreadStart {
  void* (*function)(void*);
  void* argument;
};

void* runThread(void* start)
{
  const ThreadStart started = *static_cast<ThreadStart*>(start);
  __libc_free(start);
  isInThreadFunction = true;
  void* const result = started.function(started.argument);
  isInThreadFunction = false;
  return result;
}

int createThread(pthread_t* thread, const pthread_attr_t* attributes, ThreadStart* start)
{
  if (__interceptor_pthread_create)
    return __interceptor_pthread_create(thread, attributes, runThread, start);
  using Create = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  return next<Create>("pthread_create")(thread, attributes, runThread, start);
}

} // namespace

// --- What stands before the system's functions ----------------------------

extern "C" {

TOV_EXPORTED ssize_t read(int descriptor, void* buffer, size_t bytes)
{
  if (isDue(FaultKind::Read, EIO))
    return -1;
  return ::syscall(SYS_read, descriptor, buffer, bytes);
}

TOV_EXPORTED ssize_t pread(int descriptor, void* buffer, size_t bytes, off_t position)
{
  if (isDue(FaultKind::Read, EIO))
    return -1;
  return ::syscall(SYS_pread64, descriptor, buffer, bytes, position);
}

TOV_EXPORTED ssize_t pread64(int descriptor, void* buffer, size_t bytes, off64_t position)
{
  return pread(descriptor, buffer, bytes, position);
}

TOV_EXPORTED ssize_t write(int descriptor, const void* buffer, size_t bytes)
{
  if (isDue(FaultKind::Write, ENOSPC))
    return -1;
  const long long allowed = roomFor(::syscall(SYS_lseek, descriptor, 0, SEEK_CUR), bytes);
  return allowed < 0 ? -1 : ::syscall(SYS_write, descriptor, buffer, allowed);
}

TOV_EXPORTED ssize_t pwrite(int descriptor, const void* buffer, size_t bytes, off_t position)
{
  if (isDue(FaultKind::Write, ENOSPC))
    return -1;
  const long long allowed = roomFor(position, bytes);
  return allowed < 0 ? -1 : ::syscall(SYS_pwrite64, descriptor, buffer, allowed, position);
}

TOV_EXPORTED ssize_t pwrite64(int descriptor, const void* buffer, size_t bytes, off64_t position)
{
  return pwrite(descriptor, buffer, bytes, position);
}

TOV_EXPORTED off_t lseek(int descriptor, off_t offset, int whence) noexcept
{
  if (isDue(FaultKind::Seek, EIO))
    return -1;
  return ::syscall(SYS_lseek, descriptor, offset, whence);
}

TOV_EXPORTED off64_t lseek64(int descriptor, off64_t offset, int whence) noexcept
{
  return lseek(descriptor, offset, whence);
}

TOV_EXPORTED int open(const char* path, int flags, ...)
{
  ::mode_t mode = 0;
  if (takesMode(flags)) {
    std::va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, ::mode_t);
    va_end(arguments);
  }
  return openFile(path, flags, mode);
}

TOV_EXPORTED int open64(const char* path, int flags, ...)
{
  ::mode_t mode = 0;
  if (takesMode(flags)) {
    std::va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, ::mode_t);
    va_end(arguments);
  }
  return openFile(path, flags, mode);
}

TOV_EXPORTED int mkostemp(char* pattern, int flags)
{
  if (isDue(FaultKind::Open, EMFILE))
    return -1;
  return next<int(char*, int)>("mkostemp")(pattern, flags);
}

TOV_EXPORTED std::FILE* fopen(const char* path, const char* mode)
{
  if (isDue(FaultKind::Open, EMFILE))
    return nullptr;
  return next<std::FILE*(const char*, const char*)>("fopen")(path, mode);
}

TOV_EXPORTED std::FILE* fopen64(const char* path, const char* mode)
{
  return fopen(path, mode);
}

TOV_EXPORTED int close(int descriptor)
{
  const bool fails = isDue(FaultKind::Close);
  const int result = static_cast<int>(::syscall(SYS_close, descriptor));
  if (!fails)
    return result;
  errno = EIO;
  return -1;
}

TOV_EXPORTED int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                void* (*function)(void*), void* argument) noexcept
{
  if (isDue(FaultKind::ThreadStart))
    return EAGAIN;
  // Not through the seam: this block is not the program's.
  ThreadStart* const start = static_cast<ThreadStart*>(__libc_malloc(sizeof(ThreadStart)));
  if (!start)
    return EAGAIN;
  *start = {function, argument};
  const int status = createThread(thread, attributes, start);
  if (status != 0)
    __libc_free(start);
  return status;
}

} // extern "C"

namespace support {

bool isDue(FaultKind kind)
{
  if (__atomic_load_n(&armedKind, __ATOMIC_ACQUIRE) != static_cast<int>(kind) ||
      !(pthread_equal(pthread_self(), armedThread) || (isForAllThreads && isInThreadFunction)))
    return false;
  const long number = __atomic_add_fetch(&callCount, 1, __ATOMIC_RELAXED);
  if (failingNumber == 0 || number < failingNumber || (number > failingNumber && !isLasting))
    return false;
  __atomic_store_n(&hasHappened, true, __ATOMIC_RELAXED);
  return true;
}

bool isDue(FaultKind kind, int error)
{
  const bool fails = isDue(kind);
  if (fails)
    errno = error;
  return fails;
}

const char* nameOf(FaultKind kind)
{
  constexpr const char* kNames[] = {"Read",  "Write",      "Seek",       "Open",
                                    "Close", "Allocation", "ThreadStart"};
  return kNames[static_cast<int>(kind)];
}

Fault::Fault(FaultKind kind, long number, FaultReach reach, FaultLength length)
    : faultKind(kind), faultReach(reach)
{
  isLasting = length == FaultLength::Lasting;
  failingNumber = number;
  callCount = 0;
  hasHappened = false;
}

Fault::~Fault()
{
  disarm();
}

void Fault::arm()
{
  armedThread = ::pthread_self();
  isForAllThreads = faultReach == FaultReach::AllThreads;
  __atomic_store_n(&armedKind, static_cast<int>(faultKind), __ATOMIC_RELEASE);
}

void Fault::disarm()
{
  __atomic_store_n(&armedKind, kNoKind, __ATOMIC_RELEASE);
}

bool Fault::happened() const
{
  return __atomic_load_n(&hasHappened, __ATOMIC_RELAXED);
}

long Fault::calls() const
{
  return __atomic_load_n(&callCount, __ATOMIC_RELAXED);
}

FileRoom::FileRoom(long long bytes)
{
  roomThread = ::pthread_self();
  roomBytes = bytes;
}

FileRoom::~FileRoom()
{
  roomBytes = kEndless;
}

} // namespace support
