#include "app/Dither.h"

#include <algorithm>
#include <cmath>

static std::uint64_t mix(std::uint64_t x)
{
  x += 0x9E3779B97F4A7C15u;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
  return x ^ (x >> 31);
}

double noiseAt(std::uint64_t stream, long long position)
{
  const std::uint64_t bits = mix(mix(stream) ^ static_cast<std::uint64_t>(position));
  return std::ldexp(static_cast<double>(bits >> 11), -53);
}

Dither::Dither(int bits) : fullScale(std::ldexp(1.0, bits - 1)) {}

void Dither::quantise(float* samples, int count, int channel, long long frame) const
{
  // Two independent streams per channel: their sum has the triangular
  // distribution that frees the error's mean and power from the signal.
  const std::uint64_t stream = 2 * static_cast<std::uint64_t>(channel);
  for (int i = 0; i < count; ++i) {
    if (std::isnan(samples[i])) {
      continue;
    }
    const double noise = noiseAt(stream, frame + i) + noiseAt(stream + 1, frame + i) - 1.0;
    const double code = std::floor(static_cast<double>(samples[i]) * fullScale + noise + 0.5);
    samples[i] = static_cast<float>(std::clamp(code, -fullScale, fullScale - 1.0) / fullScale);
  }
}
