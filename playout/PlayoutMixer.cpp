#include "playout/PlayoutMixer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace {

/// Longer than what any device holds, and than what one loses at its end.
constexpr double kSilenceBeforeEndSeconds = 1.0;

/// A callback that takes longer is not waited for.
constexpr std::chrono::seconds kLongestCallback(1);

static_assert(std::atomic<double>::is_always_lock_free);
static_assert(std::atomic<float>::is_always_lock_free);

} // namespace

PlayoutMixer::PlayoutMixer(DeviceMakers makers, const PlayoutClock& steadyClock)
    : clock(steadyClock), choice(std::move(makers))
{
}

PlayoutMixer::~PlayoutMixer()
{
  closeDevice();
}

int PlayoutMixer::createTrack(PeAudioSupplierProc supplier, void* refCon, int channels, double rate)
{
  const std::lock_guard<std::mutex> guard(controlMutex);
  if (track || !choice.readEnvironment())
    return 1;
  auto newTrack = std::make_unique<PlayoutTrack>(supplier, refCon, channels, rate);
  auto newPosition = std::make_unique<DevicePosition>(clock, rate);
  device = choice.open(*this, rate, channels);
  if (!device)
    return 1;
  track = std::move(newTrack);
  devicePosition = std::move(newPosition);
  silenceBeforeEnd = std::llround(std::ceil(rate * kSilenceBeforeEndSeconds));
  return 0;
}

int PlayoutMixer::reset()
{
  const std::lock_guard<std::mutex> guard(controlMutex);
  // A call may have come since the stop, which plays silence: it ends soon.
  if (plays() || !gate.waitUntilOutside(kLongestCallback))
    return 1;
  if (track)
    track->clear();
  if (device && device->state() == PlayoutDevice::State::lost)
    closeDevice();
  return 0;
}

int PlayoutMixer::start()
{
  const std::lock_guard<std::mutex> guard(controlMutex);
  if (!track)
    return 1;
  if (plays())
    return 0;
  if (endRun() != 0)
    return 1;

  startTime = nextStartTime;
  heard.reset();
  track->clear();
  hasRun = true;
  // Silence that nobody asked for is not gone on with: by now there may be an
  // output.
  if (isRunning() && !choice.isFallback() && transport.tryPlay())
    return 0;
  return startDevice();
}

int PlayoutMixer::stop()
{
  const std::lock_guard<std::mutex> guard(controlMutex);
  updatePosition();
  return endRun();
}

int PlayoutMixer::setStartTime(double time)
{
  if (!std::isfinite(time))
    return 1;
  const std::lock_guard<std::mutex> guard(controlMutex);
  nextStartTime = time;
  return 0;
}

double PlayoutMixer::currentTime()
{
  const std::lock_guard<std::mutex> guard(controlMutex);
  if (!hasRun)
    return nextStartTime;
  updatePosition();
  return startTime + static_cast<double>(heard.frames());
}

bool PlayoutMixer::isPlaying()
{
  const std::lock_guard<std::mutex> guard(controlMutex);
  return plays();
}

int PlayoutMixer::setVolume(float factor)
{
  if (!(factor >= 0.0f && factor <= 1.0f))
    return 1;
  targetVolume = factor;
  return 0;
}

int PlayoutMixer::meterLevels(double from, double to, int* count, float* levels)
{
  if (*count < 0 || !std::isfinite(from) || !std::isfinite(to))
    return 1;
  const std::lock_guard<std::mutex> guard(controlMutex);
  const int channels = std::min(*count, track ? track->channels() : 0);
  for (int channel = 0; channel < channels; ++channel)
    levels[channel] =
        isMetering ? track->meters().level(channel, from - startTime, to - startTime) : 0.0f;
  *count = channels;
  return 0;
}

bool PlayoutMixer::render(float* interleaved, long frames) noexcept
{
  gate.enter();
  const TransportState::Value seen = transport.get();
  bool more = true;
  if (seen.mode == TransportState::Mode::playing)
    renderRun(interleaved, frames, seen);
  else
    more = renderSilence(interleaved, frames, seen);
  written += frames;
  gate.leave();
  return more;
}

void PlayoutMixer::renderRun(float* interleaved, long frames, TransportState::Value seen) noexcept
{
  const float factor = targetVolume.load(std::memory_order_relaxed);
  if (presentRun != seen.run) {
    presentRun = seen.run;
    track->begin(startTime.load(std::memory_order_relaxed), factor);
    firstFrame.store(written, std::memory_order_relaxed);
  }
  track->pull(interleaved, frames, factor);
  silence = 0;
}

bool PlayoutMixer::renderSilence(float* interleaved, long frames,
                                 TransportState::Value seen) noexcept
{
  std::fill_n(interleaved, frames * track->channels(), 0.0f);
  silence += frames;
  if (seen.mode == TransportState::Mode::ended)
    return false;
  return silence < silenceBeforeEnd || !transport.tryEnd(seen);
}

bool PlayoutMixer::isRunning() const
{
  return device && device->state() == PlayoutDevice::State::running;
}

bool PlayoutMixer::plays() const
{
  return transport.get().mode == TransportState::Mode::playing && isRunning();
}

void PlayoutMixer::updatePosition()
{
  if (!plays())
    return;
  // In this order: the callback sets the first frame before it has pulled any.
  const long long pulled = track->meters().length();
  const long long runBegins = firstFrame.load(std::memory_order_relaxed);
  heard.update(devicePosition->ask(*device), runBegins, pulled);
}

int PlayoutMixer::endRun()
{
  transport.silence();
  return gate.waitUntilOutside(kLongestCallback) ? 0 : 1;
}

int PlayoutMixer::startDevice()
{
  // A device that was never started holds nothing stale.
  const bool isFresh = device && device->state() == PlayoutDevice::State::stopped;
  if (isFresh && !choice.isFallback()) {
    beginRun();
    auto starting = std::move(device); // goes where its start fails or throws
    if (starting->start() == 0) {
      device = std::move(starting);
      return 0;
    }
  }
  return startAnotherDevice();
}

int PlayoutMixer::startAnotherDevice()
{
  closeDevice();
  device = choice.openAndStart(*this, track->rate(), track->channels(), [this] { beginRun(); });
  return device ? 0 : 1;
}

/** On a device that is about to start: one whose start failed may have pulled. */
void PlayoutMixer::beginRun()
{
  written = 0;
  silence = 0;
  track->clear();
  transport.renew();
  transport.tryPlay();
}

void PlayoutMixer::closeDevice()
{
  if (device)
    device->close();
  device.reset();
  if (devicePosition)
    devicePosition->reset();
}
