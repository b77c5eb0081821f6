#include "tests/support/FileFormats.h"

#include <algorithm>
#include <numeric>

namespace support {

Bytes Wav::file(unsigned int channels, std::uint32_t, unsigned int rate, unsigned int bits,
                const Bytes& samples)
{
  return wavFile(channels, rate, bits, samples);
}

std::uint32_t Wav::encoding(int bytesPerSample)
{
  constexpr std::uint32_t kCodes[] = {EncU8, EncS16, EncS24, EncFloat32Scaled16};
  return kCodes[bytesPerSample - 1];
}

Bytes Aiff::file(unsigned int channels, std::uint32_t frames, unsigned int rate, unsigned int bits,
                 const Bytes& samples)
{
  return aiffFile(channels, frames, rate, bits, samples);
}

std::uint32_t Aiff::encoding(int bytesPerSample)
{
  constexpr std::uint32_t kCodes[] = {EncS8, EncS16, EncS24, EncS32};
  return kCodes[bytesPerSample - 1];
}

Signal noise(int channels, long long frames, unsigned int seed, float limit)
{
  std::mt19937 generator(seed);
  Signal signal(static_cast<std::size_t>(channels));
  for (std::vector<float>& channel : signal) {
    channel.resize(static_cast<std::size_t>(frames));
    // The library's distributions differ between implementations; this does not.
    for (float& sample : channel)
      sample = limit * (static_cast<float>(generator() >> 8) * 0x1p-23f - 1.0f);
  }
  return signal;
}

TovNLPArray<float> pointers(Signal& signal, long long first)
{
  TovNLPArray<float> array;
  array.growTo(static_cast<int>(signal.size()));
  for (std::vector<float>& channel : signal)
    array.append(channel.data() + first);
  return array;
}

Signal slice(const Signal& signal, long long first, long long count)
{
  Signal part;
  for (const std::vector<float>& channel : signal)
    part.emplace_back(channel.begin() + first, channel.begin() + first + count);
  return part;
}

std::vector<int> allChannels(int channels)
{
  std::vector<int> map(static_cast<std::size_t>(channels));
  std::iota(map.begin(), map.end(), 0);
  return map;
}

TovAudioIOFormat request(std::uint32_t rate, std::uint32_t bytesPerSample, std::uint32_t channels,
                         std::int64_t frameCount)
{
  return {FormatNone, 99, bytesPerSample, 0x5500, rate, frameCount, channels};
}

long long below(std::mt19937& random, long long limit)
{
  const long long number = static_cast<long long>(random());
  return limit > 0 ? number % limit : 0;
}

std::vector<std::int64_t> fields(const TovAudioIOFormat& format)
{
  return {format.state,      format.encoding,   format.bytesPerSample, format.bigEndian,
          format.sampleRate, format.frameCount, format.channels};
}

long long framesPerPass(int channels, int bytesPerSample)
{
  const long long group = 12LL * channels;
  return std::max(8208 / group, 1LL) * group / bytesPerSample / channels;
}

} // namespace support
