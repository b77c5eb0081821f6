#include "tests/support/Buffers.h"

#include <algorithm>
#include <bit>

namespace support {

Buffers::Buffers(int channels, long long frames)
    : storage(static_cast<std::size_t>(channels),
              std::vector<float>(static_cast<std::size_t>(frames + 2 * kGuard), kUntouched)),
      frameCount(frames)
{
  for (std::vector<float>& buffer : storage)
    array.append(buffer.data() + kGuard);
}

std::vector<float> Buffers::samples(int channel) const
{
  const std::vector<float>& buffer = storage[static_cast<std::size_t>(channel)];
  return {buffer.begin() + kGuard, buffer.end() - kGuard};
}

bool Buffers::guardsIntact() const
{
  const auto isUntouched = [](float sample) { return sample == kUntouched; };
  return std::all_of(storage.begin(), storage.end(), [&](const std::vector<float>& buffer) {
    return std::all_of(buffer.begin(), buffer.begin() + kGuard, isUntouched) &&
           std::all_of(buffer.end() - kGuard, buffer.end(), isUntouched);
  });
}

bool Buffers::untouched() const
{
  const auto isUntouched = [](float sample) { return sample == kUntouched; };
  return std::all_of(storage.begin(), storage.end(), [&](const std::vector<float>& buffer) {
    return std::all_of(buffer.begin(), buffer.end(), isUntouched);
  });
}

TovNLArray<int> channelMap(const std::vector<int>& channels)
{
  TovNLArray<int> map;
  map.growTo(static_cast<int>(channels.size()));
  for (const int channel : channels)
    map.append(channel);
  return map;
}

TovNLArray<int> channelMap(std::initializer_list<int> channels)
{
  return channelMap(std::vector<int>(channels));
}

std::vector<unsigned int> bits(const std::vector<float>& samples)
{
  std::vector<unsigned int> patterns;
  patterns.reserve(samples.size());
  for (const float sample : samples)
    patterns.push_back(std::bit_cast<unsigned int>(sample));
  return patterns;
}

} // namespace support
