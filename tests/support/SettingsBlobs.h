#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/Bytes.h"

class TovAudioProvider;

namespace support {

/** What an "AFIL" blob holds. */
struct FileSettings {
  std::string name = {};
  std::uint32_t rate = 44100;
  double srcIn = 0.0;
  double srcOut = 0.0;
};

/** What a track of an "AMXR" blob holds. */
struct TrackSettings {
  unsigned int mute = 0;
  unsigned int solo = 0;
  float gain = 1.0f;
  float pan = 0.0f;
  float wide = 1.0f;
  double startTime = 0.0;
  double endTime = 0.0;
  double timeShift = 0.0;
  Bytes provider = {};
};

Bytes fileBlob(const FileSettings& settings, std::uint32_t version = 0);

/** The 14 bytes before the tracks. */
Bytes mixerHeader(std::uint32_t version, float masterGain, unsigned int trackCount);

Bytes mixerBlob(std::uint32_t version, float masterGain, const std::vector<TrackSettings>& tracks);

/** The 13 bytes before the input's blob. */
Bytes resamplerHeader(std::uint32_t sourceRate, unsigned int presence, std::uint32_t version = 0);

/** What serialize() gives; the array is freed. */
std::vector<std::uint8_t> serialized(TovAudioProvider& provider);

/** The text that carries the bytes in a script. */
std::string scriptText(const std::vector<std::uint8_t>& blob);

/** A copy in a heap block of exactly the bytes' length, so that the address
 *  sanitizer sees an access outside. */
class ExactBlock {
public:
  explicit ExactBlock(const std::vector<std::uint8_t>& bytes, std::size_t length);
  explicit ExactBlock(const std::vector<std::uint8_t>& bytes) : ExactBlock(bytes, bytes.size()) {}

  const void* data() const { return block.get(); }
  std::size_t size() const { return length; }

private:
  std::unique_ptr<std::uint8_t[]> block;
  std::size_t length;
};

/** What a mixer says of a blob that it cannot read, as Messages gives it. */
extern const char* const kBadAudioData;

/** How many of the messages are kBadAudioData. */
int badDataMessages(const std::vector<std::string>& messages);

} // namespace support
