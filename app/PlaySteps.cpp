#include "app/PlaySteps.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "app/LevelMeter.h"

static constexpr double kSoftest = -60.0; // decibels

float volumeStepFrom(float volume, bool isLouder)
{
  const double now = std::max(decibelsOfFullScale(static_cast<double>(volume)), kSoftest - 1.0);
  const double next = std::round(now) + (isLouder ? 1.0 : -1.0);
  if (next < kSoftest) {
    return 0.0f;
  }
  return static_cast<float>(std::pow(10.0, std::min(next, 0.0) / 20.0));
}

int filterStepFrom(int frequency)
{
  constexpr std::array<int, 5> kFrequencies = {8000, 4000, 2000, 1000, 500};
  for (const int lower : kFrequencies) {
    if (frequency == 0 || lower < frequency) {
      return lower;
    }
  }
  return 0;
}

int trackStepFrom(int selected, int digit, bool isSoon, int trackCount)
{
  const long long longer = selected * 10LL + digit;
  if (isSoon && selected > 0 && longer <= trackCount) {
    return static_cast<int>(longer);
  }
  const int number = digit == 0 ? 10 : digit;
  return number <= trackCount ? number : 0;
}
