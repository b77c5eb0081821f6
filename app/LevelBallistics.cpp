#include "app/LevelBallistics.h"

#include <algorithm>

#include "app/LevelMeter.h"

static constexpr double kHoldSeconds = 1.5;
static constexpr double kFallPerSecond = 20.0; // decibels

/** Also of what is no number. */
static double shownDecibels(float linear)
{
  const double decibels = decibelsOfFullScale(static_cast<double>(linear));
  return decibels > LevelBallistics::kLowest ? decibels : LevelBallistics::kLowest;
}

void LevelBallistics::show(float linear, double now)
{
  level = shownDecibels(linear);
  if (now > heldSince + kHoldSeconds) {
    peak -= kFallPerSecond * (now - std::max(shownAt, heldSince + kHoldSeconds));
  }
  if (level >= peak) {
    peak = level;
    heldSince = now;
  }
  // The meter falls between peaks; only what rises is another one.
  clips += linear > 1.0f && linear > last ? 1 : 0;
  last = linear;
  shownAt = now;
}
