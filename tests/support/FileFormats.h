#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "core/TovNLVArray.h"
#include "io/TovAiffReader.h"
#include "io/TovAiffWriter.h"
#include "io/TovAudioIOFormat.h"
#include "io/TovWavReader.h"
#include "io/TovWavWriter.h"
#include "tests/reference/Conversion.h"
#include "tests/support/Bytes.h"

namespace support {

/** What differs between the two file formats, for tests that hold for both:
 *  the classes, the whole file around given samples (which is also what the
 *  writer must make of them), and the codes for a transfer cut short. */
struct Wav {
  using Reader = TovWavReader;
  using Writer = TovWavWriter;
  static constexpr const char* kName = "Wav";
  static constexpr std::size_t kHeaderBytes = 44;
  static constexpr bool kBigEndian = false;
  static constexpr int kShortRead = 4;
  static constexpr int kShortWrite = 3;
  static constexpr const char* kManyChannelsWarning =
      "W TovWavWriter: most applications do not recognize WAV files with > 2 channels\n";

  static Bytes file(unsigned int channels, std::uint32_t frames, unsigned int rate,
                    unsigned int bits, const Bytes& samples);
  static std::uint32_t encoding(int bytesPerSample);
};

struct Aiff {
  using Reader = TovAiffReader;
  using Writer = TovAiffWriter;
  static constexpr const char* kName = "Aiff";
  static constexpr std::size_t kHeaderBytes = 54;
  static constexpr bool kBigEndian = true;
  static constexpr int kShortRead = 0;
  static constexpr int kShortWrite = 4;
  static constexpr const char* kManyChannelsWarning =
      "W TovWavWriter: some applications do not recognize Audio IFF files with > 2 channels\n";

  static Bytes file(unsigned int channels, std::uint32_t frames, unsigned int rate,
                    unsigned int bits, const Bytes& samples);
  static std::uint32_t encoding(int bytesPerSample);
};

/** Channels of samples, each a vector of the same length. */
using Signal = std::vector<std::vector<float>>;

/** Uniform samples in [-limit, limit) from a fixed seed. */
Signal noise(int channels, long long frames, unsigned int seed, float limit = 1.0f);

/** One pointer per channel, from frame @p first on. */
TovNLPArray<float> pointers(Signal& signal, long long first = 0);

/** The frames [first, first + count) of a signal. */
Signal slice(const Signal& signal, long long first, long long count);

/** The samples of a file as the format stores them. */
template <typename Format>
Bytes encoded(const Signal& signal, int bytesPerSample)
{
  const long long frames = signal.empty() ? 0 : static_cast<long long>(signal[0].size());
  return Bytes().append(reference::encode(
      signal, static_cast<int>(Format::encoding(bytesPerSample)), Format::kBigEndian, frames));
}

/** What a reader must deliver of stored samples, one vector per map entry. */
template <typename Format>
Signal decoded(const Bytes& samples, int bytesPerSample, int channels, const std::vector<int>& map,
               long long frames)
{
  return reference::decode(samples.data(), static_cast<int>(Format::encoding(bytesPerSample)),
                           Format::kBigEndian, channels, map, frames);
}

/** The channel map 0, 1, ... of all channels. */
std::vector<int> allChannels(int channels);

/** What a host hands to a writer: the three fields that count, and nonsense
 *  in those that the file format settles. */
TovAudioIOFormat request(std::uint32_t rate, std::uint32_t bytesPerSample, std::uint32_t channels,
                         std::int64_t frameCount = 0);

/** A number in [0, limit), the same on every implementation; 0 for limit 0. */
long long below(std::mt19937& random, long long limit);

/** The seven fields in their order, to be compared and printed. */
std::vector<std::int64_t> fields(const TovAudioIOFormat& format);

/** Most frames that one pass through a reader's or writer's buffer holds. */
long long framesPerPass(int channels, int bytesPerSample);

} // namespace support
