#pragma once

#include <string>
#include <vector>

#include <sndfile.h>

namespace support {

/** A form of sound file that libsndfile writes. */
struct ForeignForm {
  const char* file; ///< a name, whose suffix fits
  int format;       ///< of libsndfile
  bool isLossless;  ///< of what writeForeign() puts into it
};

/** One of each kind that the program leaves to libsndfile. */
std::vector<ForeignForm> foreignForms();

/** What a file of libsndfile holds, interleaved. */
struct ForeignSamples {
  SF_INFO info = {};
  std::vector<float> samples;

  long long frames() const { return static_cast<long long>(samples.size()) / info.channels; }
};

/** Tones and a little noise at 48 kHz, on the grid of 16 bits, from a fixed
 *  seed. */
ForeignSamples foreignSound(int channels, long long frames);

/** Writes the sound in a form. */
void writeForeign(const std::string& path, int format, const ForeignSamples& sound);

/** Decodes the whole file in one call, as any program would. */
ForeignSamples decodedStraight(const std::string& path);

} // namespace support
