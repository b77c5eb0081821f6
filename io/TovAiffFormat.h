#pragma once

#include <cstdint>

#include "core/TovExport.h"

/** A chunk header of an AIFF file; the size counts the data bytes that follow. */
struct TovAiffChunkDesc {
  char id[4];
  std::uint32_t size;
};

/** The body of a "COMM" chunk. */
struct TovAiffFmtChunk {
  std::uint16_t numChannels;
  std::uint32_t numSampleFrames;
  std::uint16_t sampleSize;     ///< bits
  unsigned char sampleRate[10]; ///< 80-bit extended, as in the file
};

/** A chunk header from and to its 8 bytes in the file (big-endian). */
TOV_API void fillChunkDesc(TovAiffChunkDesc& desc, const unsigned char* bytes);
TOV_API void fillMemWithDesc(unsigned char* bytes, const TovAiffChunkDesc& desc);
