#include "tests/playback/Interleaving.h"

#include <exception>
#include <limits>
#include <stdexcept>
#include <unordered_set>

#include <ucontext.h>

#if defined(__has_feature)
#  if __has_feature(address_sanitizer)
#    define HAS_ADDRESS_SANITIZER 1
#  endif
#  if __has_feature(thread_sanitizer)
#    define HAS_THREAD_SANITIZER 1
#  endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#  define HAS_ADDRESS_SANITIZER 1
#endif
#if defined(__SANITIZE_THREAD__)
#  define HAS_THREAD_SANITIZER 1
#endif

// The sanitizers want to be told of every change of the stack; declared here
// since g++ comes without their headers.
#ifdef HAS_ADDRESS_SANITIZER
extern "C" void __sanitizer_start_switch_fiber(void** save, const void* bottom, std::size_t size);
extern "C" void __sanitizer_finish_switch_fiber(void* save, const void** bottom,
                                                std::size_t* size);
#endif
#ifdef HAS_THREAD_SANITIZER
extern "C" void* __tsan_get_current_fiber();
extern "C" void* __tsan_create_fiber(unsigned int flags);
extern "C" void __tsan_destroy_fiber(void* fiber);
extern "C" void __tsan_switch_to_fiber(void* fiber, unsigned int flags);
#endif

namespace support {

namespace {

constexpr std::size_t kStackBytes = 256 * 1024;
constexpr int kRunner = 2;

/** The stacks are made once: a run is short, and there are very many. */
char* stackOf(int program)
{
  static std::vector<char> stacks[2] = {std::vector<char>(kStackBytes),
                                        std::vector<char>(kStackBytes)};
  return stacks[program].data();
}

int spuriousEvery = 0;
int spuriousTurn = 0;

} // namespace

void Interleaving::setSpuriousFailures(int everyNth)
{
  spuriousEvery = everyNth;
  spuriousTurn = 0;
}

bool Interleaving::nextFailsForNoReason()
{
  return spuriousEvery > 0 && ++spuriousTurn % spuriousEvery == 0;
}

struct Interleaving::Fiber {
  ::ucontext_t context = {};
  const std::function<void()>* program = nullptr;
  bool hasBegun = false;
  bool hasEnded = false;
  std::exception_ptr failure = nullptr;
  const void* stack = nullptr;
  std::size_t stackBytes = 0;
  void* fakeStack = nullptr;
  void* tsanFiber = nullptr;
};

Interleaving* Interleaving::current = nullptr;

Interleaving::Interleaving(const Choice& c) : choice(c)
{
  for (std::unique_ptr<Fiber>& fiber : fibers)
    fiber = std::make_unique<Fiber>();
}

Interleaving::~Interleaving()
{
#ifdef HAS_THREAD_SANITIZER
  for (const int program : {0, 1})
    __tsan_destroy_fiber(fibers[program]->tsanFiber);
#endif
}

void Interleaving::switchTo(int target)
{
  const int origin = active;
  Fiber& from = *fibers[origin];
  Fiber& to = *fibers[target];
  active = target;
#ifdef HAS_ADDRESS_SANITIZER
  __sanitizer_start_switch_fiber(from.hasEnded ? nullptr : &from.fakeStack, to.stack,
                                 to.stackBytes);
#endif
#ifdef HAS_THREAD_SANITIZER
  __tsan_switch_to_fiber(to.tsanFiber, 0);
#endif
  ::swapcontext(&from.context, &to.context);
#ifdef HAS_ADDRESS_SANITIZER
  __sanitizer_finish_switch_fiber(from.fakeStack, nullptr, nullptr);
#endif
}

void Interleaving::entry()
{
  Interleaving& self = *current;
#ifdef HAS_ADDRESS_SANITIZER
  // Whoever came here first was the runner.
  const void* bottom = nullptr;
  std::size_t size = 0;
  __sanitizer_finish_switch_fiber(nullptr, &bottom, &size);
  if (!self.fibers[kRunner]->stack) {
    self.fibers[kRunner]->stack = bottom;
    self.fibers[kRunner]->stackBytes = size;
  }
#endif
  const int program = self.active;
  Fiber& fiber = *self.fibers[program];
  try {
    (*fiber.program)();
  } catch (...) {
    fiber.failure = std::current_exception();
  }
  fiber.hasEnded = true;
  const int other = 1 - program;
  self.switchTo(self.fibers[other]->hasEnded ? kRunner : other);
}

void Interleaving::run(const std::function<void()>& first, const std::function<void()>& second,
                       const Choice& choice)
{
  Interleaving self(choice);
  current = &self;
  const std::function<void()>* const programs[] = {&first, &second};
  for (const int program : {0, 1}) {
    Fiber& fiber = *self.fibers[program];
    fiber.program = programs[program];
    fiber.stack = stackOf(program);
    fiber.stackBytes = kStackBytes;
    ::getcontext(&fiber.context);
    fiber.context.uc_stack.ss_sp = stackOf(program);
    fiber.context.uc_stack.ss_size = kStackBytes;
    fiber.context.uc_link = nullptr;
    ::makecontext(&fiber.context, &Interleaving::entry, 0);
#ifdef HAS_THREAD_SANITIZER
    fiber.tsanFiber = __tsan_create_fiber(0);
#endif
  }
#ifdef HAS_THREAD_SANITIZER
  self.fibers[kRunner]->tsanFiber = __tsan_get_current_fiber();
#endif
  self.switchTo(0);
  current = nullptr;
  for (const int program : {0, 1}) {
    if (self.fibers[program]->failure)
      std::rethrow_exception(self.fibers[program]->failure);
  }
}

void Interleaving::point()
{
  if (current)
    current->changeOver();
}

void Interleaving::changeOver()
{
  if (++operations > kMostOperations)
    throw std::runtime_error("a program runs for ever");
  // Both programs come to their first operation before there is a choice.
  Fiber& other = *fibers[1 - active];
  fibers[active]->hasBegun = true;
  if (!other.hasBegun && !other.hasEnded) {
    switchTo(1 - active);
  } else if (!other.hasEnded) {
    const int chosen = choice(*this);
    if (chosen != active)
      switchTo(chosen);
  }
  observed(0); // not all operations tell something, but the program moves on
}

void Interleaving::observed(std::uint64_t value)
{
  if (current)
    current->histories[current->active] = mixed(current->histories[current->active], value);
}

void Interleaving::forget(std::uint64_t place)
{
  if (current)
    current->histories[current->active] = mixed(static_cast<std::uint64_t>(current->active), place);
}

int Interleaving::running()
{
  return current ? current->active : -1;
}

std::uint64_t Interleaving::mixed(std::uint64_t hash, std::uint64_t value)
{
  hash ^= value + 0x9E3779B97F4A7C15ULL + (hash << 6) + (hash >> 2);
  hash *= 0xFF51AFD7ED558CCDULL;
  return hash ^ (hash >> 33);
}

long long Exploration::mostRuns()
{
#ifdef HAS_THREAD_SANITIZER
  return 400; // a run takes milliseconds there, and on one thread nothing races
#else
  return std::numeric_limits<long long>::max();
#endif
}

Exploration::Exploration(const Run& run, const State& state, bool (*isOver)())
{
  std::unordered_set<std::uint64_t> seen;
  std::vector<std::vector<char>> pending = {{}};
  while (!pending.empty() && !isOver() && runs < mostRuns()) {
    const std::vector<char> prefix = std::move(pending.back());
    pending.pop_back();
    std::vector<char> path;
    bool isKnown = false;
    run([&](const Interleaving& interleaving) -> int {
      if (path.size() < prefix.size()) {
        path.push_back(prefix[path.size()]);
        return path.back();
      }
      // A state that was seen before has been gone on from: this run only has
      // to come to some end.
      if (isKnown)
        return 0;
      std::uint64_t key = Interleaving::mixed(interleaving.history(0), interleaving.history(1));
      key = Interleaving::mixed(key, state());
      if (!seen.insert(key).second) {
        isKnown = true;
        return 0;
      }
      pending.push_back(path);
      pending.back().push_back(1);
      path.push_back(0);
      return 0;
    });
    ++runs;
  }
  states = static_cast<long long>(seen.size());
}

} // namespace support
