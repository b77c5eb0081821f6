#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "io/TovAudioIOFormat.h"
#include "pcm/kernels/TovKernels.h"

// Every encoding and byte order gets a loop of its own without a branch on
// the format: the templates below are instantiated for each of them.

namespace {

constexpr float Two2The31 = 2147483648.0f;
constexpr float Two2The23 = 8388608.0f;
constexpr int Two2The23Minus1Int = 8388607;
constexpr int NegativeTwo2The23Int = -8388608;

// --- Bytes to codes and back ----------------------------------------------

template <typename Code>
constexpr Code byteSwapped(Code code)
{
  std::uint32_t swapped = 0;
  for (unsigned int i = 0; i < sizeof(Code); ++i)
    swapped = swapped << 8 | (static_cast<std::uint32_t>(code) >> (8 * i) & 0xffu);
  return static_cast<Code>(swapped);
}

constexpr bool mustSwap(bool isBigEndian)
{
  return isBigEndian != (std::endian::native == std::endian::big);
}

/** The unsigned integer of @p kBytes bytes at an address of any alignment. */
template <int kBytes, bool kBigEndian>
std::uint32_t loadCode(const unsigned char* bytes)
{
  if constexpr (kBytes == 1) {
    return bytes[0];
  } else if constexpr (kBytes == 3) {
    return kBigEndian ? static_cast<std::uint32_t>(bytes[0]) << 16 |
                            static_cast<std::uint32_t>(bytes[1]) << 8 | bytes[2]
                      : static_cast<std::uint32_t>(bytes[2]) << 16 |
                            static_cast<std::uint32_t>(bytes[1]) << 8 | bytes[0];
  } else {
    std::conditional_t<kBytes == 2, std::uint16_t, std::uint32_t> code;
    std::memcpy(&code, bytes, sizeof code);
    return mustSwap(kBigEndian) ? byteSwapped(code) : code;
  }
}

template <int kBytes, bool kBigEndian>
void storeCode(unsigned char* bytes, std::uint32_t code)
{
  if constexpr (kBytes == 1) {
    bytes[0] = static_cast<unsigned char>(code & 0xffu);
  } else if constexpr (kBytes == 3) {
    bytes[kBigEndian ? 0 : 2] = static_cast<unsigned char>(code >> 16 & 0xffu);
    bytes[1] = static_cast<unsigned char>(code >> 8 & 0xffu);
    bytes[kBigEndian ? 2 : 0] = static_cast<unsigned char>(code & 0xffu);
  } else {
    using Code = std::conditional_t<kBytes == 2, std::uint16_t, std::uint32_t>;
    Code narrow = static_cast<Code>(code);
    if (mustSwap(kBigEndian))
      narrow = byteSwapped(narrow);
    std::memcpy(bytes, &narrow, sizeof narrow);
  }
}

template <int kBytes>
std::int32_t signExtended(std::uint32_t code)
{
  constexpr int kUnused = 32 - 8 * kBytes;
  return static_cast<std::int32_t>(code << kUnused) >> kUnused;
}

// --- Float to integer -----------------------------------------------------

/** Truncation toward zero; what does not fit, NaN included, is the lowest
 *  integer, as the processors' own conversion has it. */
std::int32_t truncated(float value)
{
  const bool fits = value >= -Two2The31 && value < Two2The31;
  return fits ? static_cast<std::int32_t>(value) : INT32_MIN;
}

std::int32_t clampedCode(float scaled, std::int32_t lowest, std::int32_t highest)
{
  const std::int32_t code = truncated(scaled);
  return code < lowest ? lowest : code > highest ? highest : code;
}

/** The clamp of the 32-bit integer encodings, before scaling. */
float clampedSample(float sample)
{
  constexpr float kHighest = 0.99999f;
  return sample < -1.0f ? -1.0f : sample > kHighest ? kHighest : sample;
}

// --- One sample -----------------------------------------------------------

constexpr float kScale7 = 0.0078125f;               // 2^-7
constexpr float kScale15 = 3.0517578125e-05f;       // 2^-15
constexpr float kScale23 = 1.1920928955078125e-07f; // 2^-23
constexpr float kScale31 = 4.656612873077393e-10f;  // 2^-31

template <unsigned int kEncoding>
constexpr int kBytesOf = kEncoding <= EncU8    ? 1
                         : kEncoding <= EncU16 ? 2
                         : kEncoding <= EncU24 ? 3
                                               : 4;

/** The float's bits, so that a stored NaN comes through unchanged. */
template <unsigned int kEncoding, bool kBigEndian>
std::uint32_t decoded(const unsigned char* bytes)
{
  constexpr int kBytes = kBytesOf<kEncoding>;
  if constexpr (kEncoding == EncFloat32) {
    return loadCode<kBytes, kBigEndian>(bytes);
  } else if constexpr (kEncoding == EncFloat32Scaled16) {
    // Deliberate: with the most significant byte first the value is scaled as
    // it lies in memory, and the bytes of the product are reversed.
    const float scaled = std::bit_cast<float>(loadCode<kBytes, false>(bytes)) * kScale15;
    const std::uint32_t scaledBits = std::bit_cast<std::uint32_t>(scaled);
    return kBigEndian ? byteSwapped(scaledBits) : scaledBits;
  } else {
    constexpr bool kUnsigned = kEncoding % 2 == 1;
    constexpr float kScale = kBytes == 1   ? kScale7
                             : kBytes == 2 ? kScale15
                             : kBytes == 3 ? kScale23
                                           : kScale31;
    const std::uint32_t code = loadCode<kBytes, kBigEndian>(bytes);
    const float value = kUnsigned ? static_cast<float>(code) * kScale - 1.0f
                                  : static_cast<float>(signExtended<kBytes>(code)) * kScale;
    return std::bit_cast<std::uint32_t>(value);
  }
}

template <unsigned int kEncoding>
std::uint32_t encoded(float x)
{
  switch (kEncoding) {
  case EncS8:
    return static_cast<std::uint32_t>(clampedCode(128.0f * x, -128, 127));
  case EncU8:
    return static_cast<std::uint32_t>(clampedCode(128.0f * x, -128, 127) + 128);
  case EncS16:
    return static_cast<std::uint32_t>(clampedCode(32768.0f * x, -32768, 32767));
  case EncU16:
    return static_cast<std::uint32_t>(clampedCode(32768.0f * x, -32768, 32767) + 32768);
  case EncS24:
    return static_cast<std::uint32_t>(
        clampedCode(Two2The23 * x, NegativeTwo2The23Int, Two2The23Minus1Int));
  case EncU24:
    return static_cast<std::uint32_t>(
        clampedCode(Two2The23 * x, NegativeTwo2The23Int, Two2The23Minus1Int) + 8388608);
  case EncS32:
    return static_cast<std::uint32_t>(truncated(Two2The31 * clampedSample(x)));
  case EncU32: {
    // From 0 to below 2^32, where a 64-bit integer holds it; NaN, which has no
    // such integer, gives 0: the low half of the lowest one.
    const float value = clampedSample(x) * Two2The31 + Two2The31;
    return value >= 0.0f ? static_cast<std::uint32_t>(static_cast<std::int64_t>(value)) : 0u;
  }
  default: // EncFloat32Scaled16
    return std::bit_cast<std::uint32_t>(32768.0f * x);
  }
}

// --- One channel ----------------------------------------------------------

template <unsigned int kEncoding, bool kBigEndian>
void decodeChannel(float* out, const unsigned char* samples, long long stride, long long frames)
{
  if (kEncoding == EncFloat32 && !mustSwap(kBigEndian) && stride == kBytesOf<kEncoding>) {
    if (frames > 0)
      std::memcpy(out, samples, static_cast<std::size_t>(frames) * sizeof *out);
    return;
  }
  for (long long i = 0; i < frames; ++i) {
    const std::uint32_t sampleBits = decoded<kEncoding, kBigEndian>(samples + i * stride);
    std::memcpy(out + i, &sampleBits, sizeof sampleBits);
  }
}

template <unsigned int kEncoding, bool kBigEndian>
void encodeChannel(unsigned char* samples, long long stride, const float* in, long long frames)
{
  if (kEncoding == EncFloat32 && !mustSwap(kBigEndian) && stride == kBytesOf<kEncoding>) {
    if (frames > 0)
      std::memcpy(samples, in, static_cast<std::size_t>(frames) * sizeof *in);
    return;
  }
  for (long long i = 0; i < frames; ++i) {
    std::uint32_t code;
    if constexpr (kEncoding == EncFloat32)
      std::memcpy(&code, in + i, sizeof code);
    else
      code = encoded<kEncoding>(in[i]);
    storeCode<kBytesOf<kEncoding>, kBigEndian>(samples + i * stride, code);
  }
}

// --- Two channels ---------------------------------------------------------

template <unsigned int kEncoding, bool kBigEndian>
void decodeStereo(float* left, float* right, const unsigned char* samples, long long frames)
{
  constexpr int kBytes = kBytesOf<kEncoding>;
  decodeChannel<kEncoding, kBigEndian>(left, samples, 2 * kBytes, frames);
  decodeChannel<kEncoding, kBigEndian>(right, samples + kBytes, 2 * kBytes, frames);
}

template <unsigned int kEncoding, bool kBigEndian>
void encodeStereo(unsigned char* samples, const float* left, const float* right, long long frames)
{
  constexpr int kBytes = kBytesOf<kEncoding>;
  encodeChannel<kEncoding, kBigEndian>(samples, 2 * kBytes, left, frames);
  encodeChannel<kEncoding, kBigEndian>(samples + kBytes, 2 * kBytes, right, frames);
}

template <unsigned int kEncoding>
constexpr TovKernels::Conversion plainConversion()
{
  return {kBytesOf<kEncoding>,
          {decodeChannel<kEncoding, false>, decodeChannel<kEncoding, true>},
          {encodeChannel<kEncoding, false>, encodeChannel<kEncoding, true>},
          {decodeStereo<kEncoding, false>, decodeStereo<kEncoding, true>},
          {encodeStereo<kEncoding, false>, encodeStereo<kEncoding, true>}};
}

} // namespace
