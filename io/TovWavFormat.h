#pragma once

#include <cstdint>

#include "core/TovExport.h"

/** A chunk header of a WAV file; the size counts the data bytes that follow. */
struct TovWavChunkDesc {
  char id[4];
  std::uint32_t size;
};

/** The first 16 bytes of a "fmt " chunk. */
struct TovWavFmtChunk {
  static constexpr std::uint16_t kIntegerPcm = 1; ///< the one format tag that is handled

  std::uint16_t formatTag;
  std::uint16_t channels;
  std::uint32_t sampleRate; ///< frames per second
  std::uint32_t byteRate;   ///< bytes per second
  std::uint16_t blockAlign; ///< bytes per frame
  std::uint16_t bitsPerSample;
};

/** A chunk header from and to its 8 bytes in the file (little-endian). */
TOV_API void fillChunkDesc(TovWavChunkDesc& desc, const unsigned char* bytes);
TOV_API void fillMemWithDesc(unsigned char* bytes, const TovWavChunkDesc& desc);
