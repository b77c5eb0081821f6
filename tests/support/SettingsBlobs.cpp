#include "tests/support/SettingsBlobs.h"

#include <algorithm>
#include <stdexcept>

#include "core/TovBuffer.h"
#include "core/TovCompressor.h"
#include "graph/TovAudioProvider.h"

namespace support {

const char* const kBadAudioData =
    "- TovAudioMixer: bad data in SetAudio() call, could not load audio settings\n";

Bytes fileBlob(const FileSettings& settings, std::uint32_t version)
{
  return Bytes()
      .text("AFIL")
      .u32be(version)
      .text(settings.name)
      .u8(0)
      .u32be(settings.rate)
      .f64be(settings.srcIn)
      .f64be(settings.srcOut);
}

Bytes mixerHeader(std::uint32_t version, float masterGain, unsigned int trackCount)
{
  return Bytes().text("AMXR").u32be(version).f32be(masterGain).u16be(trackCount);
}

Bytes mixerBlob(std::uint32_t version, float masterGain, const std::vector<TrackSettings>& tracks)
{
  Bytes blob = mixerHeader(version, masterGain, static_cast<unsigned int>(tracks.size()));
  for (const TrackSettings& track : tracks) {
    if (version >= 2)
      blob.u8(track.mute).u8(track.solo);
    blob.f32be(track.gain).f32be(track.pan).f32be(track.wide);
    blob.f64be(track.startTime).f64be(track.endTime);
    if (version >= 1)
      blob.f64be(track.timeShift);
    blob.append(track.provider);
  }
  return blob;
}

Bytes resamplerHeader(std::uint32_t sourceRate, unsigned int presence, std::uint32_t version)
{
  return Bytes().text("ARSM").u32be(version).u32be(sourceRate).u8(presence);
}

std::vector<std::uint8_t> serialized(TovAudioProvider& provider)
{
  void* out = nullptr;
  const int length = provider.serialize(&out);
  if (length < 0 || (length > 0 && !out))
    throw std::runtime_error("no blob");
  const std::unique_ptr<unsigned char[]> bytes(static_cast<unsigned char*>(out));
  return std::vector<std::uint8_t>(bytes.get(), bytes.get() + length);
}

std::string scriptText(const std::vector<std::uint8_t>& blob)
{
  TovBuffer buffer;
  buffer.allocate(blob.size());
  std::copy(blob.begin(), blob.end(), buffer.getData());
  if (TovCompressor::compressBuffer(buffer, static_cast<int>(blob.size())) != 0)
    throw std::runtime_error("not compressed");
  return reinterpret_cast<const char*>(buffer.getData());
}

ExactBlock::ExactBlock(const std::vector<std::uint8_t>& bytes, std::size_t count)
    : block(new std::uint8_t[count]), length(count)
{
  std::copy_n(bytes.begin(), count, block.get());
}

int badDataMessages(const std::vector<std::string>& messages)
{
  return static_cast<int>(std::count(messages.begin(), messages.end(), kBadAudioData));
}

} // namespace support
