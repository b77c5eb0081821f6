#pragma once

#include <cstdint>
#include <fstream>
#include <string>

/** A file's bytes by position; what lies behind its end reads as 0. */
class HeaderBytes {
public:
  HeaderBytes(const std::string& path, bool isBigEndian);

  long long size() const { return length; }

  std::string text(long long position, int count);

  /** The number that @p count bytes are, at most 4. */
  std::uint32_t number(long long position, int count);

private:
  std::ifstream stream;
  bool bigEndian;
  long long length;
};

/** Where the two chunks that a file needs lie, as a walk over its chunks met
 *  them; positions are those of the chunks' contents, -1 where not met. */
struct ChunkPlaces {
  long long description = -1;
  std::uint32_t descriptionSize = 0;
  long long sound = -1;
  bool isAnyRepeated = false;

  bool areComplete() const { return description >= 0 && sound >= 0 && !isAnyRepeated; }
};

/** Walks the chunks as the library does, without pad bytes, or as other
 *  programs write them, with one after every odd size. */
ChunkPlaces findChunks(HeaderBytes& bytes, const char* descriptionId, const char* soundId,
                       bool areOddSizesPadded);
