#pragma once

#include <string>
#include <vector>

#include "io/TovAudioIOFormat.h"
#include "tests/support/IntegerSound.h"

namespace support {

/** Writes the sound by the library's writer for the path's suffix. */
void writeByLibrary(const std::string& path, const IntegerSound& sound);

/** What the library makes of a file. */
struct LibraryReading {
  int openStatus = 0;
  int specStatus = 0;
  TovAudioIOFormat format = {};
  int readStatus = 0;
  std::vector<std::vector<float>> samples; ///< one frame where the format is not valid
};

/** Reads all channels by the reader for the path's suffix. */
LibraryReading readByLibrary(const std::string& path);

/** Checks that the library reads the file as exactly this sound. */
void expectReadEqual(const std::string& path, const IntegerSound& sound);

/** The format tag in a WAV file's header. */
int formatTagOf(const std::string& path);

} // namespace support
