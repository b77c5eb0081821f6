#pragma once

#include <bit>
#include <cstdint>

/** The same number for the same arguments, spread over all 64 bits. */
inline std::uint64_t scrambled(std::uint64_t seed, std::uint64_t value)
{
  std::uint64_t mixed = seed * 0x9e3779b97f4a7c15u + value + 0x632be59bd9b4e019u;
  mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9u;
  mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebu;
  return mixed ^ (mixed >> 31);
}

inline std::uint64_t scrambled(std::uint64_t seed, double value)
{
  return scrambled(seed, std::bit_cast<std::uint64_t>(value));
}

/** A sample from -1 to 1, never nearer to 0 than 2^-10. */
inline float noiseSample(std::uint64_t seed, int channel, long long frame)
{
  const std::uint64_t word =
      scrambled(seed + static_cast<std::uint64_t>(channel), static_cast<std::uint64_t>(frame));
  const float magnitude = static_cast<float>(word % 65473 + 64) / 65536.0f;
  return word >> 63 ? -magnitude : magnitude;
}

/** noiseSample(), with zeros of both signs and denormal numbers among it. */
inline float awkwardSample(std::uint64_t seed, int channel, long long frame)
{
  switch (scrambled(seed + 7, static_cast<std::uint64_t>(frame)) % 32) {
  case 0:
    return 0.0f;
  case 1:
    return -0.0f;
  case 2:
    return std::bit_cast<float>(0x00000123u);
  default:
    return noiseSample(seed, channel, frame);
  }
}
