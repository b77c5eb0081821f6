#include "app/PlotEnvelope.h"

#include <algorithm>
#include <cmath>
#include <limits>

PlotEnvelope::PlotEnvelope(int channels, FrameSpan wholeSpan, int mostColumns, float clipsFrom)
    : span(wholeSpan),
      columns(static_cast<int>(std::min<long long>(mostColumns, wholeSpan.length()))),
      fullScale(clipsFrom), running(static_cast<std::size_t>(channels), nothing()),
      finished(static_cast<std::size_t>(channels) * static_cast<std::size_t>(columns))
{
}

PlotEnvelope::Running PlotEnvelope::nothing()
{
  constexpr float kFar = std::numeric_limits<float>::infinity();
  return {kFar, -kFar, 0.0, 0};
}

long long PlotEnvelope::firstFrameOf(int at) const
{
  return span.from + at * span.length() / columns;
}

const EnvelopeColumn& PlotEnvelope::at(int channel, int index) const
{
  return finished[static_cast<std::size_t>(channel) * static_cast<std::size_t>(columns) +
                  static_cast<std::size_t>(index)];
}

void PlotEnvelope::take(const TovNLPArray<float>& samples, int frames, long long first)
{
  long long frame = std::max(first, span.from);
  const long long end = std::min(first + frames, span.to);
  while (frame < end) {
    const long long columnEnd = firstFrameOf(column + 1);
    const int count = static_cast<int>(std::min(end, columnEnd) - frame);
    for (int c = 0; c < getChannels(); ++c) {
      addRun(c, samples[c] + (frame - first), count);
    }
    frame += count;
    if (frame == columnEnd) {
      finishColumn();
    }
  }
}

/** Comparisons with what is no number are false, so that it is passed over. */
void PlotEnvelope::addRun(int channel, const float* samples, int frames)
{
  Running& sum = running[static_cast<std::size_t>(channel)];
  float lowest = sum.lowest;
  float highest = sum.highest;
  double squares = 0.0;
  for (int i = 0; i < frames; ++i) {
    const float sample = samples[i];
    lowest = sample < lowest ? sample : lowest;
    highest = sample > highest ? sample : highest;
    squares += static_cast<double>(sample) * static_cast<double>(sample);
  }
  const bool isAnyClipped = std::isnan(squares) || !(highest < fullScale) || !(lowest > -fullScale);
  if (isAnyClipped) {
    squares = 0.0;
    for (int i = 0; i < frames; ++i) {
      const bool isWithin = std::fabs(samples[i]) < fullScale;
      sum.clipped += isWithin ? 0 : 1;
      const double number = std::isnan(samples[i]) ? 0.0 : static_cast<double>(samples[i]);
      squares += number * number;
    }
  }
  sum.lowest = lowest;
  sum.highest = highest;
  sum.sumOfSquares += squares;
}

void PlotEnvelope::finishColumn()
{
  const double frames = static_cast<double>(firstFrameOf(column + 1) - firstFrameOf(column));
  for (int c = 0; c < getChannels(); ++c) {
    const Running& sum = running[static_cast<std::size_t>(c)];
    EnvelopeColumn& done =
        finished[static_cast<std::size_t>(c) * static_cast<std::size_t>(columns) +
                 static_cast<std::size_t>(column)];
    const bool hasNumbers = sum.lowest <= sum.highest;
    done.lowest = hasNumbers ? sum.lowest : 0.0f;
    done.highest = hasNumbers ? sum.highest : 0.0f;
    done.rms = static_cast<float>(std::sqrt(sum.sumOfSquares / frames));
    done.isClipped = sum.clipped > 0;
    clipped += sum.clipped;
  }
  std::fill(running.begin(), running.end(), nothing());
  ++column;
}
