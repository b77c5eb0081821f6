#pragma once

#include <cstddef>
#include <cstdint>

#include <immintrin.h>

#include "pcm/kernels/ConversionLoops.h"

// Conversion of one or two channels, eight frames at a time, for processors
// with AVX2.  Four samples lie in each half of a vector:
//
//   decode  bytes -> shuffled into 32-bit codes -> float -> scaled
//   encode  float -> scaled, truncated, clamped -> codes -> shuffled into bytes
//
// Of stereo samples the shuffle also puts left beside left.  A step loads or
// stores 16 bytes where fewer count: the last frames are left to the plain loop.

namespace {

/** Encodings that have a 32-bit integer for each code, or are bits only. */
template <unsigned int kEncoding>
constexpr bool kHasVectors = kEncoding != EncU32&& kEncoding != EncFloat32Scaled16;

/** What a sample's code becomes: left-justified where a sign extends it. */
template <unsigned int kEncoding>
constexpr bool kIsUnsigned = kEncoding == EncU8 || kEncoding == EncU16 || kEncoding == EncU24;

struct alignas(32) ByteOrder {
  unsigned char from[32];
};

/** For decoding: where each byte of four codes comes from; 0x80 is a zero.
 *  Samples 0, 2 and 1, 3 stand together where kChannels is 2. */
template <unsigned int kEncoding, bool kBigEndian, int kChannels>
constexpr ByteOrder decodingOrder()
{
  constexpr int kBytes = kBytesOf<kEncoding>;
  constexpr int kShift = kIsUnsigned<kEncoding> ? 0 : 4 - kBytes;
  ByteOrder order{};
  for (int i = 0; i < 32; ++i)
    order.from[i] = 0x80;
  for (int half = 0; half < 2; ++half)
    for (int code = 0; code < 4; ++code) {
      const int sample = kChannels == 2 ? code % 2 * 2 + code / 2 : code;
      for (int byte = 0; byte < kBytes; ++byte) // from the least significant one
        order.from[half * 16 + code * 4 + kShift + byte] =
            static_cast<unsigned char>(sample * kBytes + (kBigEndian ? kBytes - 1 - byte : byte));
    }
  return order;
}

/** For encoding: the bytes of four codes, one behind the other. */
template <unsigned int kEncoding, bool kBigEndian>
constexpr ByteOrder encodingOrder()
{
  constexpr int kBytes = kBytesOf<kEncoding>;
  ByteOrder order{};
  for (int i = 0; i < 32; ++i)
    order.from[i] = 0x80;
  for (int half = 0; half < 2; ++half)
    for (int code = 0; code < 4; ++code)
      for (int byte = 0; byte < kBytes; ++byte)
        order.from[half * 16 + code * kBytes + (kBigEndian ? kBytes - 1 - byte : byte)] =
            static_cast<unsigned char>(code * 4 + byte);
  return order;
}

__m256i loadedOrder(const ByteOrder& order)
{
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(order.from));
}

/** The 16 bytes at two addresses. */
__m256i loadedHalves(const unsigned char* low, const unsigned char* high)
{
  const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(low));
  const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(high));
  return _mm256_inserti128_si256(_mm256_castsi128_si256(a), b, 1);
}

/** Writes eight samples, of which each is the value of a shuffled code. */
template <unsigned int kEncoding>
void storeDecoded(float* out, __m256i codes)
{
  if constexpr (kEncoding == EncFloat32) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), codes);
  } else {
    constexpr int kBytes = kBytesOf<kEncoding>;
    constexpr float kScale = kBytes == 1   ? kScale7
                             : kBytes == 2 ? kScale15
                             : kBytes == 3 ? kScale23
                                           : kScale31;
    if constexpr (!kIsUnsigned<kEncoding>)
      codes = _mm256_srai_epi32(codes, 32 - 8 * kBytes);
    __m256 values = _mm256_mul_ps(_mm256_cvtepi32_ps(codes), _mm256_set1_ps(kScale));
    if constexpr (kIsUnsigned<kEncoding>)
      values = _mm256_sub_ps(values, _mm256_set1_ps(1.0f));
    _mm256_storeu_ps(out, values);
  }
}

/** The codes of eight samples, in the low bytes of each. */
template <unsigned int kEncoding>
__m256i encodedLanes(const float* in)
{
  if constexpr (kEncoding == EncFloat32) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
  } else {
    constexpr int kBytes = kBytesOf<kEncoding>;
    __m256 samples = _mm256_loadu_ps(in);
    if constexpr (kEncoding == EncS32) {
      const __m256 lowest = _mm256_set1_ps(-1.0f);
      const __m256 highest = _mm256_set1_ps(0.99999f);
      const __m256 isBelow = _mm256_cmp_ps(samples, lowest, _CMP_LT_OQ);
      const __m256 isAbove = _mm256_cmp_ps(samples, highest, _CMP_GT_OQ);
      samples = _mm256_blendv_ps(_mm256_blendv_ps(samples, highest, isAbove), lowest, isBelow);
      return _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_set1_ps(Two2The31), samples));
    } else {
      // What does not fit becomes the lowest integer, as the plain loop has it.
      constexpr int kHighest = (1 << (8 * kBytes - 1)) - 1;
      const __m256 scale = _mm256_set1_ps(static_cast<float>(kHighest + 1));
      __m256i codes = _mm256_cvttps_epi32(_mm256_mul_ps(scale, samples));
      codes = _mm256_min_epi32(codes, _mm256_set1_epi32(kHighest));
      codes = _mm256_max_epi32(codes, _mm256_set1_epi32(-kHighest - 1));
      if constexpr (kIsUnsigned<kEncoding>)
        codes = _mm256_add_epi32(codes, _mm256_set1_epi32(kHighest + 1));
      return codes;
    }
  }
}

/** Writes four codes at each of two addresses, and what comes to 16 bytes. */
template <int kBytes>
void storeHalves(unsigned char* low, unsigned char* high, __m256i codes)
{
  const __m128i a = _mm256_castsi256_si128(codes);
  const __m128i b = _mm256_extracti128_si256(codes, 1);
  if constexpr (kBytes <= 2) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(low), a);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(high), b);
  } else {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(low), a);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(high), b);
  }
}

constexpr int kFramesAtOnce = 8;

template <unsigned int kEncoding, bool kBigEndian>
void decodeChannelLanes(float* out, const unsigned char* samples, long long stride,
                        long long frames)
{
  constexpr int kBytes = kBytesOf<kEncoding>;
  long long i = 0;
  if (stride == kBytes) {
    static constexpr ByteOrder kOrder = decodingOrder<kEncoding, kBigEndian, 1>();
    const __m256i order = loadedOrder(kOrder);
    for (; i + 2 * kFramesAtOnce + 8 <= frames; i += kFramesAtOnce) {
      const unsigned char* const at = samples + i * kBytes;
      storeDecoded<kEncoding>(out + i,
                              _mm256_shuffle_epi8(loadedHalves(at, at + 4 * kBytes), order));
    }
  }
  decodeChannel<kEncoding, kBigEndian>(out + i, samples + i * stride, stride, frames - i);
}

template <unsigned int kEncoding, bool kBigEndian>
void decodeStereoLanes(float* left, float* right, const unsigned char* samples, long long frames)
{
  constexpr int kBytes = kBytesOf<kEncoding>;
  static constexpr ByteOrder kOrder = decodingOrder<kEncoding, kBigEndian, 2>();
  const __m256i order = loadedOrder(kOrder);
  long long i = 0;
  for (; i + 2 * kFramesAtOnce <= frames; i += kFramesAtOnce) {
    const unsigned char* const at = samples + i * 2 * kBytes;
    // Frames 0, 1 and 4, 5 in one vector, 2, 3 and 6, 7 in the other.
    const __m256i a = _mm256_shuffle_epi8(loadedHalves(at, at + 8 * kBytes), order);
    const __m256i b = _mm256_shuffle_epi8(loadedHalves(at + 4 * kBytes, at + 12 * kBytes), order);
    storeDecoded<kEncoding>(left + i, _mm256_unpacklo_epi64(a, b));
    storeDecoded<kEncoding>(right + i, _mm256_unpackhi_epi64(a, b));
  }
  decodeStereo<kEncoding, kBigEndian>(left + i, right + i, samples + i * 2 * kBytes, frames - i);
}

template <unsigned int kEncoding, bool kBigEndian>
void encodeChannelLanes(unsigned char* samples, long long stride, const float* in, long long frames)
{
  constexpr int kBytes = kBytesOf<kEncoding>;
  long long i = 0;
  if (stride == kBytes) {
    static constexpr ByteOrder kOrder = encodingOrder<kEncoding, kBigEndian>();
    const __m256i order = loadedOrder(kOrder);
    for (; i + 2 * kFramesAtOnce + 8 <= frames; i += kFramesAtOnce) {
      unsigned char* const at = samples + i * kBytes;
      storeHalves<kBytes>(at, at + 4 * kBytes,
                          _mm256_shuffle_epi8(encodedLanes<kEncoding>(in + i), order));
    }
  }
  encodeChannel<kEncoding, kBigEndian>(samples + i * stride, stride, in + i, frames - i);
}

template <unsigned int kEncoding, bool kBigEndian>
void encodeStereoLanes(unsigned char* samples, const float* left, const float* right,
                       long long frames)
{
  constexpr int kBytes = kBytesOf<kEncoding>;
  static constexpr ByteOrder kOrder = encodingOrder<kEncoding, kBigEndian>();
  const __m256i order = loadedOrder(kOrder);
  long long i = 0;
  for (; i + 2 * kFramesAtOnce <= frames; i += kFramesAtOnce) {
    unsigned char* const at = samples + i * 2 * kBytes;
    const __m256i a = encodedLanes<kEncoding>(left + i);
    const __m256i b = encodedLanes<kEncoding>(right + i);
    // Frames 0, 1 and 4, 5 in one vector, 2, 3 and 6, 7 in the other; in the
    // order of the addresses, since each store overwrites what the one before
    // left behind its bytes.
    const __m256i early = _mm256_shuffle_epi8(_mm256_unpacklo_epi32(a, b), order);
    const __m256i late = _mm256_shuffle_epi8(_mm256_unpackhi_epi32(a, b), order);
    storeHalves<kBytes>(at, at + 4 * kBytes, _mm256_permute2x128_si256(early, late, 0x20));
    storeHalves<kBytes>(at + 8 * kBytes, at + 12 * kBytes,
                        _mm256_permute2x128_si256(early, late, 0x31));
  }
  encodeStereo<kEncoding, kBigEndian>(samples + i * 2 * kBytes, left + i, right + i, frames - i);
}

template <unsigned int kEncoding>
constexpr TovKernels::Conversion vectorConversion()
{
  if constexpr (!kHasVectors<kEncoding>)
    return plainConversion<kEncoding>();
  else
    return {kBytesOf<kEncoding>,
            {decodeChannelLanes<kEncoding, false>, decodeChannelLanes<kEncoding, true>},
            {encodeChannelLanes<kEncoding, false>, encodeChannelLanes<kEncoding, true>},
            {decodeStereoLanes<kEncoding, false>, decodeStereoLanes<kEncoding, true>},
            {encodeStereoLanes<kEncoding, false>, encodeStereoLanes<kEncoding, true>}};
}

} // namespace
