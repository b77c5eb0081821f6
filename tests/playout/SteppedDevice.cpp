#include "tests/playout/SteppedDevice.h"

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <utility>

namespace support {

namespace {

/// No sample of any test has these bits.
constexpr std::uint32_t kUnwritten = 0x7fedcba9;

class EngineEnd final : public PlayoutDevice {
public:
  explicit EngineEnd(std::shared_ptr<SteppedDevice> stepped) : device(std::move(stepped)) {}
  ~EngineEnd() override { close(); }

  int open(PlayoutSource& source, double rate, int channels) override
  {
    if (device->openFails || device->state != State::closed)
      return 1;
    device->source = &source;
    device->rate = rate;
    device->channels = channels;
    device->state = State::stopped;
    return 0;
  }
  int start() override
  {
    if (device->state != State::stopped)
      return 1;
    device->state = State::running;
    if (!device->startFails)
      return 0;
    if (device->pulledByFailedStart > 0)
      device->pull(device->pulledByFailedStart);
    device->state = State::stopped;
    return 1;
  }
  int stop() override
  {
    ++device->stops;
    device->state = State::stopped;
    return 0;
  }
  long long position() override
  {
    ++device->positionQueries;
    return device->position;
  }
  long latency() override { return 0; }
  State state() const override { return device->state; }
  void close() override
  {
    device->closings += device->state != State::closed;
    device->state = State::closed;
    device->source = nullptr;
  }

private:
  const std::shared_ptr<SteppedDevice> device;
};

} // namespace

std::vector<float> SteppedDevice::pull(long frames)
{
  if (!isRunning())
    throw std::logic_error("the device does not run");
  std::vector<float> out(static_cast<std::size_t>(frames * channels),
                         std::bit_cast<float>(kUnwritten));
  if (!source->render(out.data(), frames))
    state = PlayoutDevice::State::ended;
  for (const float sample : out)
    if (std::bit_cast<std::uint32_t>(sample) == kUnwritten)
      throw std::logic_error("a frame was left out");
  written.insert(written.end(), out.begin(), out.end());
  return out;
}

void SteppedDevice::pullAll(long frames, long callback)
{
  for (long done = 0; done < frames; done += callback)
    pull(std::min(callback, frames - done));
}

std::unique_ptr<PlayoutDevice> steppedDevice(std::shared_ptr<SteppedDevice> device)
{
  return std::make_unique<EngineEnd>(std::move(device));
}

} // namespace support
