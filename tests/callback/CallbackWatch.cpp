#include "tests/callback/CallbackWatch.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

#include <dlfcn.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include "core/TovLock.h"
#include "core/TovSys.h"

namespace {

// Of the initial-exec kind: a look at it allocates nothing.
[[gnu::tls_model("initial-exec")]] thread_local bool isWatched = false;

std::atomic<long> watchedPieces{0};
std::atomic<long> allocations{0};
std::atomic<long> locks{0};
std::atomic<long> clockReads{0};
std::atomic<long> systemCalls{0};
std::atomic<long> lastSystemCall{-1};

void count(std::atomic<long>& counter)
{
  if (isWatched)
    counter.fetch_add(1, std::memory_order_relaxed);
}

/** The function that this program's own one stands in front of. */
template <typename Function>
Function next(const char* name)
{
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

// --- Allocation -----------------------------------------------------------

extern "C" {

void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t size)
{
  count(allocations);
  return __libc_malloc(size);
}

void* calloc(std::size_t members, std::size_t size)
{
  count(allocations);
  return __libc_calloc(members, size);
}

void* realloc(void* block, std::size_t size)
{
  count(allocations);
  return __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
  count(allocations);
  return __libc_memalign(alignment, size);
}

void* memalign(std::size_t alignment, std::size_t size)
{
  count(allocations);
  return __libc_memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size)
{
  count(allocations);
  *block = __libc_memalign(alignment, size);
  return *block ? 0 : ENOMEM;
}

void free(void* block)
{
  count(allocations);
  __libc_free(block);
}

// --- Locks of the threads library -----------------------------------------

int pthread_mutex_lock(pthread_mutex_t* mutex)
{
  static const auto real = next<int (*)(pthread_mutex_t*)>("pthread_mutex_lock");
  count(locks);
  return real(mutex);
}

int pthread_mutex_trylock(pthread_mutex_t* mutex)
{
  static const auto real = next<int (*)(pthread_mutex_t*)>("pthread_mutex_trylock");
  count(locks);
  return real(mutex);
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex)
{
  static const auto real =
      next<int (*)(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait");
  count(locks);
  return real(condition, mutex);
}

int pthread_cond_signal(pthread_cond_t* condition)
{
  static const auto real = next<int (*)(pthread_cond_t*)>("pthread_cond_signal");
  count(locks);
  return real(condition);
}

int pthread_cond_broadcast(pthread_cond_t* condition)
{
  static const auto real = next<int (*)(pthread_cond_t*)>("pthread_cond_broadcast");
  count(locks);
  return real(condition);
}

int pthread_rwlock_rdlock(pthread_rwlock_t* lock)
{
  static const auto real = next<int (*)(pthread_rwlock_t*)>("pthread_rwlock_rdlock");
  count(locks);
  return real(lock);
}

int pthread_rwlock_wrlock(pthread_rwlock_t* lock)
{
  static const auto real = next<int (*)(pthread_rwlock_t*)>("pthread_rwlock_wrlock");
  count(locks);
  return real(lock);
}

int sem_wait(sem_t* semaphore)
{
  static const auto real = next<int (*)(sem_t*)>("sem_wait");
  count(locks);
  return real(semaphore);
}

int sem_post(sem_t* semaphore)
{
  static const auto real = next<int (*)(sem_t*)>("sem_post");
  count(locks);
  return real(semaphore);
}

// --- The clock, which many systems read without a system call ---------------

int clock_gettime(clockid_t clock, timespec* time)
{
  static const auto real = next<int (*)(clockid_t, timespec*)>("clock_gettime");
  count(clockReads);
  return real(clock, time);
}

} // extern "C"

// --- The host's locks -----------------------------------------------------

int TovLock::attempt(unsigned int& word)
{
  count(locks);
  unsigned int expected = 0;
  return std::atomic_ref(word).compare_exchange_strong(expected, 1) ? 1 : 0;
}

void TovLock::acquire(unsigned int& word)
{
  while (!attempt(word))
    TovSys::sleep(0.0001);
}

void TovLock::acquireNice(unsigned int& word, double pauseSeconds)
{
  while (!attempt(word))
    TovSys::sleep(pauseSeconds);
}

void TovLock::release(unsigned int& word)
{
  std::atomic_ref(word).store(0);
}

// --- System calls ---------------------------------------------------------
//
// The filter sends every system call of the thread to the handler below, but
// for one that stands at a known address.  There the handler makes the call, so
// that the thread goes on as if nothing had been.

extern "C" {
long watchMakeSystemCall(long number, long a, long b, long c, long d, long e, long f);
extern const char watchKnownAddress[];
}

asm(R"(
  .text
  .globl watchMakeSystemCall
  .type watchMakeSystemCall, @function
watchMakeSystemCall:
  mov %rdi, %rax
  mov %rsi, %rdi
  mov %rdx, %rsi
  mov %rcx, %rdx
  mov %r8, %r10
  mov %r9, %r8
  mov 8(%rsp), %r9
  syscall
  .globl watchKnownAddress
watchKnownAddress:
  ret
  .size watchMakeSystemCall, .-watchMakeSystemCall
)");

static void countSystemCall(int, siginfo_t*, void* context)
{
  greg_t* const registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
  if (isWatched) {
    systemCalls.fetch_add(1, std::memory_order_relaxed);
    lastSystemCall.store(static_cast<long>(registers[REG_RAX]), std::memory_order_relaxed);
  }
  registers[REG_RAX] = watchMakeSystemCall(registers[REG_RAX], registers[REG_RDI],
                                           registers[REG_RSI], registers[REG_RDX],
                                           registers[REG_R10], registers[REG_R8],
                                           registers[REG_R9]);
}

void watch::filterSystemCallsOfThisThread()
{
  struct sigaction action = {};
  action.sa_sigaction = countSystemCall;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  sigset_t trap;
  sigemptyset(&trap);
  sigaddset(&trap, SIGSYS);
  // Threads of sound servers block every signal.
  if (sigaction(SIGSYS, &action, nullptr) != 0 ||
      pthread_sigmask(SIG_UNBLOCK, &trap, nullptr) != 0)
    throw std::runtime_error("the handler could not be set");

  const auto address = reinterpret_cast<std::uintptr_t>(watchKnownAddress);
  const auto low = static_cast<std::uint32_t>(address);
  const auto high = static_cast<std::uint32_t>(address >> 32);
  constexpr std::uint32_t kNumber = offsetof(seccomp_data, nr);
  constexpr std::uint32_t kAddress = offsetof(seccomp_data, instruction_pointer);
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kNumber),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_rt_sigreturn, 4, 0),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kAddress),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, low, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kAddress + 4),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, high, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP),
  };
  sock_fprog program = {};
  program.len = static_cast<unsigned short>(std::size(filter));
  program.filter = filter;
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      syscall(__NR_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) != 0)
    throw std::runtime_error("the system takes no filter of system calls");
}

// --- Watching -------------------------------------------------------------

watch::Piece::Piece()
{
  watchedPieces.fetch_add(1, std::memory_order_relaxed);
  isWatched = true;
}

watch::Piece::~Piece()
{
  isWatched = false;
}

watch::Calls watch::calls()
{
  return {watchedPieces, allocations, locks, clockReads, systemCalls, lastSystemCall};
}

void watch::reset()
{
  for (std::atomic<long>* counter :
       {&watchedPieces, &allocations, &locks, &clockReads, &systemCalls})
    *counter = 0;
  lastSystemCall = -1;
}

std::string watch::text(const Calls& calls)
{
  return std::to_string(calls.watchedPieces) + " pieces, " + std::to_string(calls.allocations) +
         " allocations, " + std::to_string(calls.locks) + " locks, " +
         std::to_string(calls.clockReads) + " clock reads, " + std::to_string(calls.systemCalls) +
         " system calls (the last one " + std::to_string(calls.lastSystemCall) + ")";
}
