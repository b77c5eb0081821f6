#include "app/LevelMeter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <numeric>

LevelMeter::LevelMeter(int channels, TovSampleEncoding encoding, int bits)
    : levels(static_cast<std::size_t>(channels))
{
  constexpr float kFar = std::numeric_limits<float>::infinity();
  switch (encoding) {
  case EncFloat32:
  case EncFloat32Scaled16:
    clips = false;
    break;
  case EncS32:
  case EncU32:
    // 32-bit integers are clamped as floats, a little below full scale.
    above = std::nextafter(0.99999f, kFar);
    below = std::nextafter(-1.0f, -kFar);
    break;
  default:
    // The other integers are truncated first: the sample at which the code
    // passes the most negative one lies a whole step below full scale.
    above = 1.0f;
    below = -1.0f - std::ldexp(1.0f, 1 - bits);
    break;
  }
}

/** The largest magnitude, as bits: of floats without sign these are ordered as
 *  the numbers are, with what is no number above them all. */
static std::int32_t largestMagnitude(const float* samples, int frames)
{
  std::int32_t largest = 0;
  for (int i = 0; i < frames; ++i) {
    largest = std::max(largest, std::bit_cast<std::int32_t>(std::fabs(samples[i])));
  }
  return largest;
}

/** Of numbers.  Side by side, since in one sum each addition would wait for the
 *  one before. */
static double sumOfSquares(const float* samples, int frames)
{
  constexpr int kSums = 8;
  double sums[kSums] = {};
  int i = 0;
  for (; i + kSums <= frames; i += kSums) {
    for (int k = 0; k < kSums; ++k) {
      const double sample = static_cast<double>(samples[i + k]);
      sums[k] += sample * sample;
    }
  }
  double rest = 0.0;
  for (; i < frames; ++i) {
    const double sample = static_cast<double>(samples[i]);
    rest += sample * sample;
  }
  return std::accumulate(sums, sums + kSums, rest);
}

/** Peak and power, without what is no number. */
static void addNumbers(ChannelLevel& level, const float* samples, int frames)
{
  for (int i = 0; i < frames; ++i) {
    if (!std::isnan(samples[i])) {
      level.peak = std::max(level.peak, std::fabs(samples[i]));
      level.sumOfSquares += sumOfSquares(samples + i, 1);
    }
  }
}

void LevelMeter::measure(const TovNLPArray<float>& samples, int frames)
{
  for (std::size_t c = 0; c < levels.size(); ++c) {
    ChannelLevel& level = levels[c];
    const float* const channel = samples[static_cast<int>(c)];
    const float peak = std::bit_cast<float>(largestMagnitude(channel, frames));
    if (std::isnan(peak)) {
      addNumbers(level, channel, frames);
    } else {
      level.peak = std::max(level.peak, peak);
      level.sumOfSquares += sumOfSquares(channel, frames);
    }
    if (!(peak < std::min(above, -below))) {
      level.clipped += std::count_if(channel, channel + frames,
                                     [this](float sample) { return isClipped(sample); });
    }
  }
  framesMeasured += frames;
}

/** Written so that what is no number counts: it has to be stored as one. */
bool LevelMeter::isClipped(float sample) const
{
  return clips && !(sample > below && sample < above);
}

float LevelMeter::getHighestPeak() const
{
  float peak = 0.0f;
  for (const ChannelLevel& level : levels) {
    peak = std::max(peak, level.peak);
  }
  return peak;
}

long long LevelMeter::getClipped() const
{
  long long clipped = 0;
  for (const ChannelLevel& level : levels) {
    clipped += level.clipped;
  }
  return clipped;
}

std::vector<long long> LevelMeter::clippedOfChannels() const
{
  std::vector<long long> counts;
  for (const ChannelLevel& level : levels) {
    counts.push_back(level.clipped);
  }
  return counts;
}

std::vector<double> LevelMeter::peaksInDecibels() const
{
  std::vector<double> peaks;
  for (const ChannelLevel& level : levels) {
    peaks.push_back(decibelsOfFullScale(static_cast<double>(level.peak)));
  }
  return peaks;
}

std::vector<double> LevelMeter::rmsInDecibels() const
{
  const double frames = static_cast<double>(std::max(framesMeasured, 1LL));
  std::vector<double> levelsInDecibels;
  for (const ChannelLevel& level : levels) {
    levelsInDecibels.push_back(decibelsOfFullScale(std::sqrt(level.sumOfSquares / frames)));
  }
  return levelsInDecibels;
}

double decibelsOfFullScale(double magnitude)
{
  return 20.0 * std::log10(magnitude);
}

std::string levelForPeople(double decibels)
{
  char text[48];
  (void)std::snprintf(text, sizeof text, "%.2f dBFS", decibels);
  return text;
}
