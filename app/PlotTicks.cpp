#include "app/PlotTicks.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "app/NumberText.h"

/** The true minus sign is as wide as a digit, the hyphen is not. */
static const char* const kMinus = "\u2212";

static constexpr double kRounding = 1e-6; // of a step

static std::string decimalText(double value, int decimals)
{
  char text[64];
  (void)std::snprintf(text, sizeof text, "%.*f", decimals, std::fabs(value));
  const bool isZero = std::string(text).find_first_not_of("0.") == std::string::npos;
  return (value < 0.0 && !isZero ? kMinus : "") + std::string(text);
}

/** Digits behind the point that tell multiples of the step apart. */
static int decimalsOf(double step)
{
  return std::clamp(static_cast<int>(std::ceil(-std::log10(step) - kRounding)), 0, 9);
}

/** Which multiples of a step lie on an axis. */
struct Multiples {
  long long first;
  long long last;
};

static Multiples multiplesWithin(double from, double to, double step)
{
  return {static_cast<long long>(std::ceil(from / step - kRounding)),
          static_cast<long long>(std::floor(to / step + kRounding))};
}

// ---------------------------------------------------------------- time

static double farthest(const TimeScale& scale)
{
  return std::max(std::fabs(scale.from), std::fabs(scale.to));
}

static std::string clockText(double seconds, const TimeScale& scale, double step)
{
  const int decimals = decimalsOf(step);
  if (farthest(scale) < 60.0) {
    return decimalText(seconds, decimals);
  }
  // Rounded as a whole, so that no field comes to 60.
  const double unit = std::pow(10.0, decimals);
  const long long units = std::llround(std::fabs(seconds) * unit);
  const long long perSecond = std::llround(unit);
  const long long whole = units / perSecond;
  char text[80];
  if (farthest(scale) < 3600.0) {
    (void)std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
  } else {
    (void)std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60,
                        whole % 60);
  }
  std::string label = (seconds < 0.0 && units > 0 ? kMinus : "") + std::string(text);
  if (decimals > 0) {
    // With the digit in front, which keeps the zeros behind the point.
    label += '.';
    label += std::to_string(perSecond + units % perSecond).substr(1);
  }
  return label;
}

static std::string timecodeText(long long frame, double framesPerSecond)
{
  const long long perSecond = std::max(1LL, std::llround(framesPerSecond));
  const long long count = std::llabs(frame);
  const long long seconds = count / perSecond;
  char text[96];
  (void)std::snprintf(text, sizeof text, "%s%02lld:%02lld:%02lld:%02lld", frame < 0 ? kMinus : "",
                      seconds / 3600, seconds / 60 % 60, seconds % 60, count % perSecond);
  return text;
}

static const double kClockSteps[] = {1,   2,   5,    10,   15,   30,    60,    120,   300,
                                     600, 900, 1800, 3600, 7200, 10800, 21600, 43200, 86400};

static std::vector<double> decimalSteps(double from, double to)
{
  std::vector<double> steps;
  double power = from;
  while (power < to) {
    steps.insert(steps.end(), {power, 2.0 * power, 5.0 * power});
    power *= 10.0;
  }
  return steps;
}

/** Steps in seconds, or in frames of the timeline, from small to large. */
static std::vector<double> timeSteps(const TimeScale& scale)
{
  if (scale.unit == TimeUnit::frames) {
    return decimalSteps(1.0, 1e12);
  }
  std::vector<double> steps;
  double perStep = 1.0;
  if (scale.unit == TimeUnit::seconds) {
    steps = decimalSteps(1e-6, 0.9);
  } else {
    const long long perSecond = std::max(1LL, std::llround(scale.framesPerSecond));
    perStep = static_cast<double>(perSecond);
    for (long long frames = 1; frames < std::min(perSecond, 1000LL); ++frames) {
      if (perSecond % frames == 0) {
        steps.push_back(static_cast<double>(frames));
      }
    }
  }
  for (const double step : kClockSteps) {
    steps.push_back(step * perStep);
  }
  for (const double step : decimalSteps(864000.0, 1e10)) {
    steps.push_back(step * perStep);
  }
  return steps;
}

/** Of a value in seconds, or in frames of the timeline. */
static std::string timeText(const TimeScale& scale, double value, double step)
{
  switch (scale.unit) {
  case TimeUnit::seconds:
    return clockText(value, scale, step);
  case TimeUnit::timecode:
    return timecodeText(std::llround(value), scale.framesPerSecond);
  case TimeUnit::frames:
    break;
  }
  return decimalText(value, 0);
}

std::vector<Tick> timeTicks(const TimeScale& scale, double pixels, const LabelRoom& room,
                            double gap)
{
  const double perSecond = scale.unit == TimeUnit::seconds ? 1.0 : scale.framesPerSecond;
  const double from = scale.from * perSecond;
  const double to = scale.to * perSecond;
  for (const double step : timeSteps(scale)) {
    const double stepPixels = step / (to - from) * pixels;
    if (stepPixels < gap) {
      continue;
    }
    std::vector<Tick> ticks;
    double widest = 0.0;
    const Multiples multiples = multiplesWithin(from, to, step);
    for (long long count = multiples.first; count <= multiples.last; ++count) {
      const double value = static_cast<double>(count) * step;
      ticks.push_back({value / perSecond, timeText(scale, value, step)});
      widest = std::max(widest, room(ticks.back().label));
    }
    if (widest + gap <= stepPixels) {
      return ticks;
    }
  }
  return {};
}

std::string timeUnitText(const TimeScale& scale)
{
  const std::string rate = shortNumber(scale.framesPerSecond) + " fps";
  switch (scale.unit) {
  case TimeUnit::timecode:
    return "timecode, " + rate;
  case TimeUnit::frames:
    return "frames, " + rate;
  case TimeUnit::seconds:
    break;
  }
  return farthest(scale) < 60.0 ? "s" : farthest(scale) < 3600.0 ? "min:s" : "h:min:s";
}

// ---------------------------------------------------------------- numbers

std::vector<Tick> linearTicks(double from, double to, double pixels, double room)
{
  std::vector<Tick> ticks;
  for (const double step : decimalSteps(1e-6, 1e9)) {
    if (step / (to - from) * pixels < room) {
      continue;
    }
    const Multiples multiples = multiplesWithin(from, to, step);
    for (long long count = multiples.first; count <= multiples.last; ++count) {
      const double value = static_cast<double>(count) * step;
      ticks.push_back({value, decimalText(value, decimalsOf(step))});
    }
    break;
  }
  return ticks;
}

static std::string frequencyText(double frequency)
{
  return frequency < 1000.0 ? shortNumber(frequency) : shortNumber(frequency / 1000.0) + "k";
}

/** All of 1, 2 and 5 times the powers of ten where they fit, else the powers. */
static std::vector<Tick> logarithmicTicks(double from, double to, double pixels, double room)
{
  const double perDecade = pixels / std::log10(to / from);
  const bool fitsAll = std::log10(2.0) * perDecade >= room;
  std::vector<Tick> ticks;
  for (const double frequency : decimalSteps(0.01, 1e7)) {
    const double mantissa = frequency / std::pow(10.0, std::floor(std::log10(frequency) + 1e-9));
    const bool isWanted = fitsAll || mantissa < 1.5;
    if (isWanted && perDecade >= room && frequency > from * 0.999 && frequency < to * 1.001) {
      ticks.push_back({frequency, frequencyText(frequency)});
    }
  }
  return ticks;
}

std::vector<Tick> frequencyTicks(double from, double to, bool isLogarithmic, double pixels,
                                 double room)
{
  if (isLogarithmic) {
    return logarithmicTicks(from, to, pixels, room);
  }
  std::vector<Tick> ticks = linearTicks(from, to, pixels, room);
  for (Tick& tick : ticks) {
    tick.label = frequencyText(tick.value);
  }
  return ticks;
}
