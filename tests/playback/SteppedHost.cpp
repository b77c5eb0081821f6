#include "tests/playback/SteppedHost.h"

#include <algorithm>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include <strings.h>

#include "core/TovSys.h"
#include "core/TovThread.h"

namespace {

enum class State { Running, Pausing, Ended };

/** One thread of TovThread; everything but thread is protected by the mutex. */
struct Stepped {
  std::thread thread = {};
  State state = State::Running;
  bool isFree = false; ///< pauses no more: somebody waits for its end
  double pause = 0.0;
  double wakeTime = 0.0;
  std::condition_variable resumed = {};
};

std::mutex mutex;
std::condition_variable changed; ///< a thread has come to a pause or its end
std::vector<Stepped*> threads;
std::vector<double> hostPauses;
std::function<void(double)> pauseListener;
long long startedThreads = 0;
bool isNextRefused = false;
bool isNextHeld = false; ///< by the gate
std::condition_variable gate;
double clockTime = 0.0;

thread_local Stepped* self = nullptr;

using Lock = std::unique_lock<std::mutex>;

void waitForPauses(Lock& lock)
{
  changed.wait(lock, [] {
    return std::none_of(threads.begin(), threads.end(),
                        [](const Stepped* thread) { return thread->state == State::Running; });
  });
}

/** Lets a pausing thread run to its next pause. */
void runToPause(Lock& lock, Stepped& thread)
{
  clockTime = std::max(clockTime, thread.wakeTime);
  thread.state = State::Running;
  thread.resumed.notify_one();
  waitForPauses(lock);
}

Stepped* nextDue(double limit)
{
  Stepped* next = nullptr;
  for (Stepped* const thread : threads) {
    if (thread->state == State::Pausing && thread->wakeTime <= limit &&
        (!next || thread->wakeTime < next->wakeTime))
      next = thread;
  }
  return next;
}

void pauseStepped(double seconds)
{
  Lock lock(mutex);
  if (self->isFree)
    return;
  self->pause = seconds;
  self->wakeTime = clockTime + std::max(seconds, 1.0e-6); // a pause of 0 must not stop the clock
  self->state = State::Pausing;
  changed.notify_all();
  self->resumed.wait(lock, [] { return self->state == State::Running; });
}

void pauseHost(double seconds)
{
  std::function<void(double)> listener;
  {
    const Lock lock(mutex);
    hostPauses.push_back(seconds);
    listener = pauseListener;
  }
  if (listener)
    listener(seconds);
  Lock lock(mutex);
  waitForPauses(lock);
  const double end = clockTime + seconds;
  while (Stepped* const thread = nextDue(end))
    runToPause(lock, *thread);
  clockTime = std::max(clockTime, end);
}

Stepped& theThread()
{
  if (threads.size() != 1)
    throw std::logic_error("there is not one thread, but " + std::to_string(threads.size()));
  return *threads.front();
}

} // namespace

// --- What the library calls -------------------------------------------------

struct TovThread::Handle : Stepped {
};

TovThread::TovThread() : handle(new Handle) {}

TovThread::~TovThread()
{
  delete handle;
}

TovThread* TovThread::t_create(void (*function)(TovThread*, void*), void* argument)
{
  Lock lock(mutex);
  if (std::exchange(isNextRefused, false))
    return nullptr;
  TovThread* const created = new TovThread;
  Stepped* const stepped = created->handle;
  try {
    threads.reserve(threads.size() + 1);
    stepped->thread = std::thread([function, argument, created, stepped] {
      self = stepped;
      {
        Lock begin(mutex);
        gate.wait(begin, [] { return !isNextHeld; });
      }
      function(created, argument);
      const Lock end(mutex);
      stepped->state = State::Ended;
      changed.notify_all();
    });
  } catch (...) {
    delete created;
    throw;
  }
  threads.push_back(stepped);
  ++startedThreads;
  return created;
}

void TovThread::t_join(TovThread* thread)
{
  if (!thread)
    return;
  {
    const Lock lock(mutex);
    thread->handle->isFree = true;
    if (thread->handle->state == State::Pausing)
      thread->handle->state = State::Running;
    thread->handle->resumed.notify_one();
  }
  thread->handle->thread.join();
  {
    const Lock lock(mutex);
    threads.erase(std::find(threads.begin(), threads.end(), thread->handle));
  }
  delete thread;
}

void TovSys::sleep(double seconds)
{
  if (self)
    pauseStepped(seconds);
  else
    pauseHost(seconds);
}

namespace {

TovSys::MessageHandler messageHandler = nullptr; ///< protected by the mutex, and below
void* messageData = nullptr;

} // namespace

void TovSys::error(const char* format, ...)
{
  const bool hasSeverity = format[0] == '%' && (format[1] == 'E' || format[1] == 'W');
  char text[2048];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, hasSeverity ? format + 2 : format, arguments);
  va_end(arguments);

  Lock lock(mutex);
  const MessageHandler handler = messageHandler;
  void* const data = messageData;
  lock.unlock();
  if (handler)
    handler(hasSeverity ? format[1] : '\0', text, data);
  else
    std::fputs(text, stderr);
}

void TovSys::setMessageHandler(MessageHandler handler, void* data)
{
  const Lock lock(mutex);
  messageHandler = handler;
  messageData = data;
}

int TovSys::strcasecmp(const char* a, const char* b)
{
  return ::strcasecmp(a ? a : "", b ? b : "");
}

// --- What the tests call ----------------------------------------------------

namespace support {

double SteppedHost::step()
{
  Lock lock(mutex);
  waitForPauses(lock);
  Stepped& thread = theThread();
  if (thread.state == State::Ended)
    return kEnded;
  runToPause(lock, thread);
  return thread.state == State::Ended ? kEnded : thread.pause;
}

double SteppedHost::steps(int count)
{
  double last = kEnded;
  for (int i = 0; i < count; ++i)
    last = step();
  return last;
}

void SteppedHost::settle()
{
  Lock lock(mutex);
  waitForPauses(lock);
}

double SteppedHost::pause()
{
  Lock lock(mutex);
  waitForPauses(lock);
  return theThread().state == State::Ended ? kEnded : theThread().pause;
}

std::vector<double> SteppedHost::takeHostPauses()
{
  const Lock lock(mutex);
  return std::exchange(hostPauses, {});
}

void SteppedHost::setPauseListener(std::function<void(double)> listener)
{
  const Lock lock(mutex);
  pauseListener = std::move(listener);
}

int SteppedHost::threadsAlive()
{
  const Lock lock(mutex);
  return static_cast<int>(threads.size());
}

long long SteppedHost::threadsStarted()
{
  const Lock lock(mutex);
  return startedThreads;
}

void SteppedHost::refuseNextThread()
{
  const Lock lock(mutex);
  isNextRefused = true;
}

void SteppedHost::holdNextThread()
{
  const Lock lock(mutex);
  isNextHeld = true;
}

void SteppedHost::letGo()
{
  const Lock lock(mutex);
  isNextHeld = false;
  gate.notify_all();
}

bool SteppedHost::isStepped()
{
  return self != nullptr;
}

double SteppedHost::now()
{
  const Lock lock(mutex);
  return clockTime;
}

} // namespace support
