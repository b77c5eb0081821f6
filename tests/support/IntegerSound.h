#pragma once

#include <cstdint>
#include <vector>

#include "tests/support/Bytes.h"

namespace support {

/** Sound as integer files hold it: signed codes, whatever the file's own form. */
struct IntegerSound {
  int rate = 48000;
  int bits = 16; ///< 8, 16, 24 or 32
  std::vector<std::vector<std::int32_t>> channels;

  int channelCount() const { return static_cast<int>(channels.size()); }
  long long frames() const
  {
    return channels.empty() ? 0 : static_cast<long long>(channels[0].size());
  }
  double fullScale() const { return static_cast<double>(1LL << (bits - 1)); }
};

/** Random codes from a fixed seed, the lowest and the highest among them.
 *  @p level scales them down.  Of 32 bits the low 8 are zero and the values
 *  stay within what the AIFF writer does not clamp. */
IntegerSound randomSound(int channels, long long frames, int rate, int bits, unsigned int seed,
                         double level = 1.0);

/** Every channel the same code throughout. */
IntegerSound constantSound(int channels, long long frames, int rate, int bits, std::int32_t code);

/** The samples as the library reads them. */
std::vector<std::vector<float>> floatsOf(const IntegerSound& sound);

/** Whole files. */
Bytes wavOf(const IntegerSound& sound);
Bytes aiffOf(const IntegerSound& sound);

/** Interleaved codes, moved up to 32 bits. */
std::vector<std::int32_t> interleaved32(const IntegerSound& sound);

/** The sound in the bytes of an integer WAV or AIFF file without chunks
 *  between those of the format and the samples.  Throws where the header is
 *  any other, a size in it is wrong, or bytes are missing or left over. */
IntegerSound soundOf(const std::vector<std::uint8_t>& file);

} // namespace support
