#pragma once

#include <initializer_list>
#include <vector>

#include "core/TovNLVArray.h"

namespace support {

/** A number of channel buffers with guard samples on both sides, prefilled
 *  with a value that no test delivers, so that what was not written and what
 *  was written outside shows. */
class Buffers {
public:
  static constexpr float kUntouched = -7777.25f;
  static constexpr long long kGuard = 64;

  Buffers(int channels, long long frames);

  /** One pointer per channel, for calls into the library. */
  const TovNLPArray<float>& pointers() const { return array; }

  float* channel(int index) { return array[index]; }
  std::vector<float> samples(int channel) const;
  long long frames() const { return frameCount; }

  /** Whether no guard sample was written. */
  bool guardsIntact() const;

  /** Whether nothing at all was written. */
  bool untouched() const;

private:
  std::vector<std::vector<float>> storage;
  TovNLPArray<float> array;
  long long frameCount;
};

/** A channel map of the listed channels. */
TovNLArray<int> channelMap(std::initializer_list<int> channels);
TovNLArray<int> channelMap(const std::vector<int>& channels);

/** The bit patterns of samples: equal means equal to the last bit. */
std::vector<unsigned int> bits(const std::vector<float>& samples);

} // namespace support
