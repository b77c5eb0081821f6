#include "app/PlotSpectrum.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include <kissfft/kiss_fftr.h>

int windowForRate(int rate, FrameSpan span)
{
  constexpr int kLeast = 256;
  constexpr int kMost = 16384;
  // Short spans would show nothing but the window's own shape.
  const unsigned long long mostForSpan = static_cast<unsigned long long>(span.length()) / 8;
  const unsigned forRate = std::bit_ceil(static_cast<unsigned>(std::clamp(rate / 32, 1, kMost)));
  const unsigned long long frames =
      std::min<unsigned long long>(forRate, std::bit_floor(std::max(mostForSpan, 1ULL)));
  return std::clamp(static_cast<int>(frames), kLeast, kMost);
}

static std::vector<float> hannWindow(int frames)
{
  constexpr double kTwoPi = 6.283185307179586;
  std::vector<float> shape;
  for (int i = 0; i < frames; ++i) {
    const double value = 0.5 - 0.5 * std::cos(kTwoPi * i / frames);
    // The sum of the window is half its length, and of a sine one half is at
    // the negative frequency.
    shape.push_back(static_cast<float>(value * 4.0 / frames));
  }
  return shape;
}

static long long windowsFor(const SpectrumPlan& plan)
{
  const long long hop = plan.window / 2;
  return std::max<long long>(plan.columns, (plan.span.length() + hop - 1) / hop);
}

PlotSpectrum::PlotSpectrum(const SpectrumPlan& spectrumPlan, TakeColumn take)
    : plan(spectrumPlan), takeColumn(std::move(take)),
      transform(kiss_fftr_alloc(plan.window, 0, nullptr, nullptr), kiss_fftr_free),
      shape(hannWindow(plan.window)), windows(windowsFor(plan)), heldFrom(plan.known.from),
      held(static_cast<std::size_t>(plan.channels)),
      powers(static_cast<std::size_t>(plan.panels),
             std::vector<float>(static_cast<std::size_t>(plan.window) / 2 + 1))
{
}

PlotSpectrum::~PlotSpectrum() = default;

/** In the middle of an equal share of the span. */
long long PlotSpectrum::middleOf(long long window) const
{
  const double place = (static_cast<double>(window) + 0.5) / static_cast<double>(windows);
  return plan.span.from + static_cast<long long>(place * static_cast<double>(plan.span.length()));
}

void PlotSpectrum::take(const TovNLPArray<float>& samples, int frames, long long first)
{
  const long long from = std::max(first, plan.known.from);
  const long long to = std::min(first + frames, plan.known.to);
  if (from >= to) {
    return;
  }
  for (std::size_t c = 0; c < held.size(); ++c) {
    const float* const channel = samples[static_cast<int>(c)];
    held[c].insert(held[c].end(), channel + (from - first), channel + (to - first));
  }
  addWindowsUpTo(to);
}

void PlotSpectrum::finish()
{
  addWindowsUpTo(plan.known.to + plan.window);
  finishColumn();
}

/** The windows that end before @p end, which is as far as frames are known. */
void PlotSpectrum::addWindowsUpTo(long long end)
{
  for (; nextWindow < windows; ++nextWindow) {
    const long long firstFrame = middleOf(nextWindow) - plan.window / 2;
    if (firstFrame + plan.window > end) {
      forgetBefore(firstFrame);
      return;
    }
    const int ofWindow = static_cast<int>(nextWindow * plan.columns / windows);
    if (ofWindow != column) {
      finishColumn();
      column = ofWindow;
    }
    addWindow(firstFrame);
  }
}

void PlotSpectrum::forgetBefore(long long frame)
{
  const long long count =
      std::clamp<long long>(frame - heldFrom, 0, static_cast<long long>(held.front().size()));
  for (std::vector<float>& channel : held) {
    channel.erase(channel.begin(), channel.begin() + count);
  }
  heldFrom += count;
}

/** What is no finite number has no frequency. */
static float finiteOrZero(float sample)
{
  return std::isfinite(sample) ? sample : 0.0f;
}

void PlotSpectrum::addWindow(long long firstFrame)
{
  std::vector<float> shaped(shape.size());
  std::vector<kiss_fft_cpx> spectrum(shape.size() / 2 + 1);
  const long long heldFrames = static_cast<long long>(held.front().size());
  for (std::size_t c = 0; c < held.size(); ++c) {
    for (std::size_t i = 0; i < shape.size(); ++i) {
      const long long at = firstFrame + static_cast<long long>(i) - heldFrom;
      const bool isHeld = at >= 0 && at < heldFrames;
      shaped[i] = isHeld ? finiteOrZero(held[c][static_cast<std::size_t>(at)]) * shape[i] : 0.0f;
    }
    kiss_fftr(transform.get(), shaped.data(), spectrum.data());
    std::vector<float>& sum = powers[std::min(c, powers.size() - 1)];
    for (std::size_t bin = 0; bin < sum.size(); ++bin) {
      sum[bin] += spectrum[bin].r * spectrum[bin].r + spectrum[bin].i * spectrum[bin].i;
    }
  }
  ++windowsInColumn;
}

void PlotSpectrum::finishColumn()
{
  const int channelsInPanel = plan.channels / plan.panels;
  const float share = 1.0f / static_cast<float>(std::max(windowsInColumn * channelsInPanel, 1));
  for (int panel = 0; panel < plan.panels; ++panel) {
    std::vector<float>& sum = powers[static_cast<std::size_t>(panel)];
    for (float& power : sum) {
      power *= share;
    }
    takeColumn(panel, column, sum);
    std::fill(sum.begin(), sum.end(), 0.0f);
  }
  windowsInColumn = 0;
}
