#include "playout/VolumeRamp.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kMoveSeconds = 0.01;

} // namespace

VolumeRamp::VolumeRamp(double rate)
    : movingFrames(std::max(1L, std::lround(rate * kMoveSeconds))), moved(movingFrames)
{
}

void VolumeRamp::jumpTo(float factor) noexcept
{
  from = to = factor;
  moved = movingFrames;
}

void VolumeRamp::moveTo(float factor) noexcept
{
  if (factor == to)
    return;
  from = factorAt(moved);
  to = factor;
  moved = 0;
}

void VolumeRamp::apply(float* const* buffers, int channels, long frames) noexcept
{
  const long moving = std::min(frames, movingFrames - moved);
  applyMove(buffers, channels, 0, moving);
  moved += moving;
  applySteady(buffers, channels, moving, frames - moving);
}

void VolumeRamp::applyMove(float* const* buffers, int channels, long first,
                           long frames) const noexcept
{
  for (int channel = 0; channel < channels; ++channel) {
    float* const samples = buffers[channel] + first;
    for (long frame = 0; frame < frames; ++frame)
      samples[frame] *= factorAt(moved + frame + 1);
  }
}

void VolumeRamp::applySteady(float* const* buffers, int channels, long first,
                             long frames) const noexcept
{
  if (to == 1.0f)
    return;
  for (int channel = 0; channel < channels; ++channel) {
    float* const samples = buffers[channel] + first;
    if (to == 0.0f)
      std::fill_n(samples, frames, 0.0f);
    else
      for (long frame = 0; frame < frames; ++frame)
        samples[frame] *= to;
  }
}

float VolumeRamp::factorAt(long frameOfMove) const noexcept
{
  if (frameOfMove >= movingFrames)
    return to;
  return from + (to - from) * static_cast<float>(frameOfMove) / static_cast<float>(movingFrames);
}
