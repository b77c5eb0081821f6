#pragma once

#include <climits>

// Sums and differences of sample indices: what does not fit is the nearest
// index there is.

inline long long tovSaturatingSum(long long a, long long b)
{
  if (b > 0 && a > LLONG_MAX - b)
    return LLONG_MAX;
  if (b < 0 && a < LLONG_MIN - b)
    return LLONG_MIN;
  return a + b;
}

inline long long tovSaturatingDifference(long long a, long long b)
{
  if (b < 0 && a > LLONG_MAX + b)
    return LLONG_MAX;
  if (b > 0 && a < LLONG_MIN + b)
    return LLONG_MIN;
  return a - b;
}
