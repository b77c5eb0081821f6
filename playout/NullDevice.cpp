#include "playout/NullDevice.h"

#include <algorithm>
#include <chrono>

NullDevice::NullDevice(const PlayoutClock& steadyClock, Drive drivenBy)
    : clock(steadyClock), drive(drivenBy)
{
}

NullDevice::~NullDevice()
{
  close();
}

int NullDevice::open(PlayoutSource& source, double rate, int channels)
{
  if (state() != State::closed)
    return 1;
  heard.assign(static_cast<std::size_t>(ClockedPace::kPeriodFrames * channels), 0.0f);
  pulledFrom = &source;
  pace = ClockedPace(rate);
  pulled = 0;
  current = State::stopped;
  return 0;
}

int NullDevice::start()
{
  if (state() != State::stopped)
    return 1;
  isStopping = false;
  pace.begin(clock.now(), pulled);
  current = State::running;
  if (drive == Drive::hand)
    return 0;
  try {
    puller = std::thread(&NullDevice::run, this);
  } catch (...) { // no thread, or no memory for it
    current = State::stopped;
    return 1;
  }
  return 0;
}

int NullDevice::stop()
{
  {
    const std::lock_guard<std::mutex> guard(mutex);
    isStopping = true;
  }
  stopped.notify_one();
  if (puller.joinable())
    puller.join();
  State expected = State::running;
  current.compare_exchange_strong(expected, State::stopped);
  return 0;
}

long long NullDevice::position()
{
  if (state() == State::closed)
    return -1;
  const std::lock_guard<std::mutex> guard(mutex);
  return state() == State::stopped ? pulled : std::min(pace.playedAt(clock.now()), pulled);
}

void NullDevice::close()
{
  stop();
  current = State::closed;
}

void NullDevice::pullWhatIsDue()
{
  {
    const std::lock_guard<std::mutex> guard(mutex);
    pace.forgive(clock.now(), pulled);
  }
  while (isNextDue())
    pullNext();
}

bool NullDevice::isNextDue()
{
  const std::lock_guard<std::mutex> guard(mutex);
  return state() == State::running && !isStopping && pace.dueAt(pulled) <= clock.now();
}

void NullDevice::pullNext()
{
  const bool more = pulledFrom->render(heard.data(), ClockedPace::kPeriodFrames);
  const std::lock_guard<std::mutex> guard(mutex);
  pulled += ClockedPace::kPeriodFrames;
  if (!more)
    current = State::ended;
}

void NullDevice::run()
{
  for (;;) {
    pullWhatIsDue();
    std::unique_lock<std::mutex> lock(mutex);
    if (isStopping || state() != State::running)
      return;
    const std::chrono::nanoseconds untilNext(pace.dueAt(pulled) - clock.now());
    stopped.wait_for(lock, untilNext, [this] { return isStopping; });
  }
}

std::unique_ptr<PlayoutDevice> makeNullDevice()
{
  return std::make_unique<NullDevice>();
}
