#include "app/LevelMeter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

LevelMeter::LevelMeter(int channels, TovSampleEncoding encoding, int bits)
    : levels(static_cast<std::size_t>(channels))
{
  constexpr double kFar = std::numeric_limits<double>::infinity();
  switch (encoding) {
  case EncFloat32:
  case EncFloat32Scaled16:
    clips = false;
    break;
  case EncS32:
  case EncU32:
    // 32-bit integers are clamped as floats, a little below full scale.
    above = std::nextafter(static_cast<double>(0.99999f), kFar);
    below = std::nextafter(-1.0, -kFar);
    break;
  default:
    // The other integers are truncated first: the sample at which the code
    // passes the most negative one lies a whole step below full scale.
    above = 1.0;
    below = -1.0 - std::ldexp(1.0, 1 - bits);
    break;
  }
}

/** Written so that what is no number counts: it has to be stored as one. */
bool LevelMeter::isClipped(float sample) const
{
  const double value = static_cast<double>(sample);
  return clips && !(value > below && value < above);
}

void LevelMeter::measure(const TovNLPArray<float>& samples, int frames)
{
  for (std::size_t c = 0; c < levels.size(); ++c) {
    ChannelLevel& level = levels[c];
    const float* channel = samples[static_cast<int>(c)];
    for (int i = 0; i < frames; ++i) {
      level.peak = std::max(level.peak, std::fabs(channel[i]));
      if (!std::isnan(channel[i])) {
        level.sumOfSquares += static_cast<double>(channel[i]) * static_cast<double>(channel[i]);
      }
      level.clipped += isClipped(channel[i]) ? 1 : 0;
    }
  }
  framesMeasured += frames;
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
  std::snprintf(text, sizeof text, "%.2f dBFS", decibels);
  return text;
}
