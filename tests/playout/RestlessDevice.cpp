#include "tests/playout/RestlessDevice.h"

#include <vector>

namespace support {

int RestlessDevice::open(PlayoutSource& source, double, int channels)
{
  pulledFrom = &source;
  channelCount = channels;
  pulled = 0;
  current = State::stopped;
  return 0;
}

int RestlessDevice::start()
{
  isStopping = false;
  current = State::running;
  puller = std::thread(&RestlessDevice::run, this);
  return 0;
}

int RestlessDevice::stop()
{
  isStopping = true;
  if (puller.joinable())
    puller.join();
  State expected = State::running;
  current.compare_exchange_strong(expected, State::stopped);
  return 0;
}

void RestlessDevice::close()
{
  stop();
  current = State::closed;
}

void RestlessDevice::run()
{
  constexpr long kMostFrames = 512;
  std::vector<float> out(static_cast<std::size_t>(kMostFrames * channelCount));
  for (long frames = 1; !isStopping; frames = frames % kMostFrames + 1) {
    const bool more = pulledFrom->render(out.data(), frames);
    pulled += frames;
    if (!more) {
      current = State::ended;
      return;
    }
  }
}

} // namespace support
