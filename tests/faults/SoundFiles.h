#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/FileFormats.h"
#include "tests/support/TempFolder.h"

namespace support {

/** Sound files for scenarios in a folder of their own. */
class SoundFiles {
public:
  static constexpr unsigned int kRate = 44100;
  static constexpr int kChannels = 2;
  static constexpr long long kFrames = 5000; ///< three passes through a reader's buffer

  /** A chunk that readers step over stands before the samples: of 16 bits, in
   *  two channels. */
  std::string wav(const std::string& name, unsigned int rate, unsigned int seed) const;
  std::string aiff(const std::string& name, unsigned int rate, unsigned int seed) const;

  const TempFolder& folder() const { return temporary; }

private:
  TempFolder temporary;
};

/** The samples of a file that SoundFiles made, as they are read. */
template <typename Format>
Signal soundOfSeed(unsigned int seed)
{
  const Signal signal = noise(SoundFiles::kChannels, SoundFiles::kFrames, seed, 0.4f);
  return decoded<Format>(encoded<Format>(signal, 2), 2, SoundFiles::kChannels,
                         allChannels(SoundFiles::kChannels), SoundFiles::kFrames);
}

} // namespace support
