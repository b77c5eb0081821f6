#include "tests/graph/GeneratedFile.h"

#include <bit>

#include "tests/reference/Conversion.h"
#include "tests/support/Bytes.h"

using support::Bytes;

namespace {

constexpr int kS8 = 0;
constexpr int kU8 = 1;
constexpr int kS16 = 2;
constexpr int kS24 = 4;
constexpr int kS32 = 6;
constexpr int kFloat32Scaled16 = 9;

int encodingOf(Container container, int bits)
{
  switch (bits) {
  case 8:
    return container == Container::Wav ? kU8 : kS8;
  case 16:
    return kS16;
  case 24:
    return kS24;
  default:
    return container == Container::Wav ? kFloat32Scaled16 : kS32;
  }
}

Bytes fileOf(Container container, int channels, int rate, int bits, int frames,
             const Bytes& samples)
{
  const unsigned int count = static_cast<unsigned int>(channels);
  return container == Container::Wav ? support::wavFile(count, static_cast<unsigned int>(rate),
                                                        static_cast<unsigned int>(bits), samples)
                                     : support::aiffFile(count, static_cast<std::uint32_t>(frames),
                                                         static_cast<unsigned int>(rate),
                                                         static_cast<unsigned int>(bits), samples);
}

int rampValue(long long frame)
{
  return static_cast<int>(frame % 32767) + 1;
}

} // namespace

std::string suffixOf(Container container)
{
  return container == Container::Wav ? ".wav" : ".aiff";
}

GeneratedFile generateFile(const support::TempFolder& folder, const std::string& name,
                           Container container, int channels, int rate, int bits, int frames,
                           std::mt19937& random)
{
  const int encoding = encodingOf(container, bits);
  Bytes samples;
  for (long long i = 0; i < static_cast<long long>(frames) * channels; ++i) {
    if (encoding == kFloat32Scaled16) {
      const float value = std::uniform_real_distribution<float>(-40000.0f, 40000.0f)(random);
      samples.u32le(std::bit_cast<std::uint32_t>(value));
      continue;
    }
    for (int byte = 0; byte < bits / 8; ++byte)
      samples.u8(static_cast<unsigned int>(random() & 0xff));
  }

  GeneratedFile file;
  file.path = folder.write(name + suffixOf(container),
                           fileOf(container, channels, rate, bits, frames, samples));
  std::vector<int> everyChannel;
  for (int channel = 0; channel < channels; ++channel)
    everyChannel.push_back(channel);
  file.source.channels = reference::decode(samples.data(), encoding, container == Container::Aiff,
                                           channels, everyChannel, frames);
  file.source.rate = rate;
  file.source.playbackRate = rate;
  file.source.srcIn = 0.0;
  file.source.srcOut = static_cast<double>(frames) / static_cast<double>(rate);
  return file;
}

std::string writeRamp(const support::TempFolder& folder, const std::string& name,
                      Container container, int channels, int rate, int frames)
{
  Bytes samples;
  for (int frame = 0; frame < frames; ++frame) {
    for (int channel = 0; channel < channels; ++channel) {
      const unsigned int value = static_cast<unsigned int>(rampValue(frame));
      container == Container::Wav ? samples.u16le(value) : samples.u16be(value);
    }
  }
  return folder.write(name + suffixOf(container),
                      fileOf(container, channels, rate, 16, frames, samples));
}

float rampSample(long long frame)
{
  return static_cast<float>(rampValue(frame)) / 32768.0f;
}

std::vector<float> ramp(long long first, long long count)
{
  std::vector<float> samples;
  for (long long frame = first; frame < first + count; ++frame)
    samples.push_back(rampSample(frame));
  return samples;
}

std::vector<float> silence(long long count)
{
  return std::vector<float>(static_cast<std::size_t>(count), 0.0f);
}

std::vector<float> joined(const std::vector<std::vector<float>>& parts)
{
  std::vector<float> whole;
  for (const std::vector<float>& part : parts)
    whole.insert(whole.end(), part.begin(), part.end());
  return whole;
}
