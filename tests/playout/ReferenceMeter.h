#pragma once

#include <cmath>
#include <vector>

namespace support {

/** The definition of a level, sample by sample in double precision: what a
 *  meter that rises at once and falls by 20 dB per second shows at @p to when
 *  it was 0 at @p from.  The sample at position p is shown in full at p + 1. */
inline double meterLevel(const std::vector<float>& samples, long from, long to, double rate)
{
  const double fall = std::pow(10.0, -1.0 / rate);
  double meter = 0.0;
  for (long position = from; position < to; ++position)
    meter = std::fmax(meter * fall, std::fabs(samples[static_cast<std::size_t>(position)]));
  return meter;
}

} // namespace support
