#pragma once

#include <bit>
#include <climits>
#include <cstdint>
#include <random>
#include <vector>

/** Numbers that look random and are the same in every run and with every
 *  standard library. */
class Noise {
public:
  explicit Noise(std::uint32_t seed) : generator(seed) {}

  std::uint32_t word() { return static_cast<std::uint32_t>(generator()); }

  /** Both bounds included. */
  int between(int low, int high)
  {
    const std::int64_t span = std::int64_t{high} - low + 1;
    return static_cast<int>(low + static_cast<std::int64_t>(word()) % span);
  }

  /** From -1 to just below 1. */
  float sample() { return static_cast<float>(static_cast<std::int32_t>(word()) >> 8) * 0x1p-23f; }

  /** Any bit pattern: NaN, infinities and denormals among them. */
  float pattern() { return std::bit_cast<float>(word()); }

  /** Mostly within full scale, sometimes far outside, sometimes any pattern. */
  float wildSample()
  {
    switch (between(0, 7)) {
    case 0:
      return pattern();
    case 1:
      return sample() * static_cast<float>(1 << between(0, 30));
    case 2:
      return static_cast<float>(between(-4, 4)) * 0.5f;
    default:
      return sample();
    }
  }

  std::vector<float> samples(long long count)
  {
    std::vector<float> block(static_cast<std::size_t>(count));
    for (float& value : block)
      value = sample();
    return block;
  }

  std::vector<float> wildSamples(long long count)
  {
    std::vector<float> block(static_cast<std::size_t>(count));
    for (float& value : block)
      value = wildSample();
    return block;
  }

  std::vector<std::uint8_t> bytes(std::size_t count)
  {
    std::vector<std::uint8_t> block(count);
    for (std::uint8_t& value : block)
      value = static_cast<std::uint8_t>(word() >> 24);
    return block;
  }

private:
  std::mt19937 generator;
};
