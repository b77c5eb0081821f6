#pragma once

#include <cstdint>

/** How one sample of a file is stored. */
enum TovSampleEncoding {
  EncS8 = 0,             ///< signed, times 2^-7
  EncU8 = 1,             ///< unsigned, times 2^-7, minus 1
  EncS16 = 2,            ///< signed, times 2^-15
  EncU16 = 3,            ///< unsigned, times 2^-15, minus 1
  EncS24 = 4,            ///< signed, packed in 3 bytes, times 2^-23
  EncU24 = 5,            ///< unsigned, packed in 3 bytes, times 2^-23, minus 1
  EncS32 = 6,            ///< signed, times 2^-31
  EncU32 = 7,            ///< unsigned, times 2^-31, minus 1
  EncFloat32 = 8,        ///< IEEE single, full scale 1.0
  EncFloat32Scaled16 = 9 ///< IEEE single, full scale 32768
};

/** What TovAudioIOFormat::state says. */
enum TovAudioIOFormatState {
  FormatNone = 0,        ///< no file is open
  FormatUnsupported = 1, ///< a file is open, its sample format is not handled
  FormatValid = 2        ///< every field is filled and usable
};

/** The sample format of a file.  A plain value; stands at the bottom of the
 *  layers, so that the sample arithmetic can go by it. */
struct TovAudioIOFormat {
  std::uint32_t state;          ///< a #TovAudioIOFormatState
  std::uint32_t encoding;       ///< a #TovSampleEncoding
  std::uint32_t bytesPerSample; ///< bytes of one sample of one channel, 1 to 4
  std::uint32_t bigEndian;      ///< lowest byte non-zero: most significant byte first
  std::uint32_t sampleRate;     ///< frames per second
  std::int64_t frameCount;      ///< frames in the file
  std::uint32_t channels;       ///< interleaved channels, also the stride in samples
};
