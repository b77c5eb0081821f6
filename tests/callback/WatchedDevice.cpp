#include "tests/callback/WatchedDevice.h"

#include <atomic>
#include <thread>
#include <utility>

#include "tests/callback/CallbackWatch.h"

WatchedDevice::WatchedDevice(std::unique_ptr<PlayoutDevice> d) : device(std::move(d)) {}

int WatchedDevice::open(PlayoutSource& s, double rate, int channels)
{
  source = &s;
  return device->open(*this, rate, channels);
}

int WatchedDevice::start()
{
  return device->start();
}

int WatchedDevice::stop()
{
  return device->stop();
}

long long WatchedDevice::position()
{
  return device->position();
}

long WatchedDevice::latency()
{
  return device->latency();
}

PlayoutDevice::State WatchedDevice::state() const
{
  return device->state();
}

void WatchedDevice::close()
{
  device->close();
}

bool WatchedDevice::render(float* interleaved, long frames) noexcept
{
  thread_local bool isFiltered = false;
  if (!isFiltered) {
    watch::filterSystemCallsOfThisThread();
    isFiltered = true;
  }
  const watch::Piece piece;
  return source->render(interleaved, frames);
}

// --- The hasty device -----------------------------------------------------

namespace {

class HastyDevice : public PlayoutDevice {
public:
  ~HastyDevice() override { close(); }

  int open(PlayoutSource& s, double, int) override
  {
    source = &s;
    pulled = 0;
    current = State::stopped;
    return 0;
  }

  int start() override
  {
    isStopping = false;
    current = State::running;
    thread = std::thread([this] { run(); });
    return 0;
  }

  int stop() override
  {
    isStopping = true;
    if (thread.joinable())
      thread.join();
    current = State::stopped;
    return 0;
  }

  long long position() override { return pulled; }
  long latency() override { return 0; }
  State state() const override { return current; }

  void close() override
  {
    stop();
    current = State::closed;
  }

private:
  static constexpr long kSizes[] = {1,  509, 64, 16, 128, 31, 256, 4096,
                                    17, 113, 2,  61, 127, 7,  19,  5003};

  void run()
  {
    static float buffer[2 * 5003];
    for (std::size_t i = 0; !isStopping; ++i) {
      const long frames = kSizes[i % std::size(kSizes)];
      const bool isMoreComing = source->render(buffer, frames);
      pulled += frames;
      if (!isMoreComing) {
        current = State::ended;
        return;
      }
    }
  }

  PlayoutSource* source = nullptr;
  std::thread thread;
  std::atomic<bool> isStopping{false};
  std::atomic<long long> pulled{0};
  std::atomic<State> current{State::closed};
};

DeviceKind kindInUse = DeviceKind::hasty;

} // namespace

std::unique_ptr<PlayoutDevice> makeHastyDevice()
{
  return std::make_unique<HastyDevice>();
}

void useDevice(DeviceKind kind)
{
  kindInUse = kind;
}

/** What the engine calls. */
std::unique_ptr<PlayoutDevice> makeCubebDevice()
{
  return std::make_unique<WatchedDevice>(kindInUse == DeviceKind::hasty ? makeHastyDevice()
                                                                        : makeRealCubebDevice());
}
