#include "playout/MeterHistory.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>

namespace {

constexpr double kKeptSeconds = 3.0 * 3600.0;

/// The oldest steps of the ring, which the callback may be overwriting.
constexpr long long kStepsBeingReplaced = 64;

/// Even the largest float has fallen below -220 dB by then: what is older
/// cannot be told from 0, and a span of hours costs no more than this.
constexpr double kForgottenAfterSeconds = 50.0;

long long stepsToKeep(double rate)
{
  const double needed = kKeptSeconds * rate / MeterHistory::kStepFrames;
  return static_cast<long long>(
      std::bit_ceil(static_cast<std::uint64_t>(needed) + kStepsBeingReplaced + 1));
}

} // namespace

MeterHistory::MeterHistory(int channelCount, double framesPerSecond)
    : channels(channelCount), rate(framesPerSecond), fallPerFrame(std::pow(10.0, -1.0 / rate)),
      fallPerStep(std::pow(10.0, -kStepFrames / rate)), keptSteps(stepsToKeep(rate)),
      steps(static_cast<std::size_t>(keptSteps) * static_cast<std::size_t>(channels)),
      meters(static_cast<std::size_t>(channels))
{
  // The vectors have written their zeros: the callback is not the first to
  // touch the memory.
}

void MeterHistory::measure(const float* const* buffers, long frames) noexcept
{
  long long position = measured.load(std::memory_order_relaxed);
  for (long done = 0; done < frames;) {
    const long inStep = static_cast<long>(position % kStepFrames);
    const long piece = std::min(frames - done, kStepFrames - inStep);
    for (int channel = 0; channel < channels; ++channel) {
      double& kept = meters[static_cast<std::size_t>(channel)];
      double meter = inStep == 0 ? 0.0 : kept;
      const float* const samples = buffers[channel] + done;
      for (long frame = 0; frame < piece; ++frame) {
        // Written so that what is not a number is passed over.
        const double magnitude = std::fabs(static_cast<double>(samples[frame]));
        meter *= fallPerFrame;
        if (magnitude > meter)
          meter = std::min(magnitude, static_cast<double>(FLT_MAX));
      }
      kept = meter;
      stepOf(position / kStepFrames, channel)
          .store(static_cast<float>(meter), std::memory_order_relaxed);
    }
    position += piece;
    done += piece;
  }
  measured.store(position, std::memory_order_release);
}

float MeterHistory::level(int channel, double from, double to) const noexcept
{
  const long long end = length();
  if (from > to)
    from = 0.0;
  from = std::max(from, 0.0);
  to = std::min(to, static_cast<double>(end));
  if (!(from < to))
    return 0.0f;

  constexpr double kStep = kStepFrames;
  const auto last = static_cast<long long>(std::ceil(to / kStep)) - 1;
  const auto forgotten = last - static_cast<long long>(kForgottenAfterSeconds * rate / kStep);
  const long long replaced = end / kStepFrames - (keptSteps - kStepsBeingReplaced);
  const long long first =
      std::max({static_cast<long long>(std::floor(from / kStep)), forgotten + 1, replaced + 1});

  // The step in which the span ends has not begun to fall.
  double level = 0.0;
  double fall = 1.0;
  double nextFall = std::pow(10.0, (static_cast<double>(last) * kStep - to) / rate);
  for (long long step = last; step >= first; --step) {
    const double shown = stepOf(step, channel).load(std::memory_order_relaxed);
    level = std::max(level, shown * fall);
    fall = nextFall;
    nextFall *= fallPerStep;
  }
  return static_cast<float>(level);
}

std::atomic<float>& MeterHistory::stepOf(long long step, int channel) noexcept
{
  const long long inRing = step & (keptSteps - 1);
  return steps[static_cast<std::size_t>(inRing * channels + channel)];
}

const std::atomic<float>& MeterHistory::stepOf(long long step, int channel) const noexcept
{
  return const_cast<MeterHistory*>(this)->stepOf(step, channel);
}
