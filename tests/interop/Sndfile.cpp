#include "tests/interop/Sndfile.h"

#include <memory>
#include <stdexcept>

namespace support {

namespace {

using Handle = std::unique_ptr<SNDFILE, int (*)(SNDFILE*)>;

Handle open(const std::string& path, int mode, SF_INFO& info)
{
  Handle handle(::sf_open(path.c_str(), mode, &info), ::sf_close);
  if (!handle)
    throw std::runtime_error(path + ": " + ::sf_strerror(nullptr));
  return handle;
}

int subtypeOf(int majorFormat, int bits)
{
  if (bits == 8)
    return majorFormat == SF_FORMAT_AIFF ? SF_FORMAT_PCM_S8 : SF_FORMAT_PCM_U8;
  return bits == 16 ? SF_FORMAT_PCM_16 : bits == 24 ? SF_FORMAT_PCM_24 : SF_FORMAT_PCM_32;
}

} // namespace

SndfileReading readBySndfile(const std::string& path)
{
  SndfileReading reading;
  const Handle handle = open(path, SFM_READ, reading.info);
  reading.samples.resize(static_cast<std::size_t>(reading.info.frames * reading.info.channels));
  const ::sf_count_t frames =
      ::sf_readf_int(handle.get(), reading.samples.data(), reading.info.frames);
  if (frames != reading.info.frames)
    throw std::runtime_error(path + ": fewer frames than its header says");
  return reading;
}

void writeBySndfile(const std::string& path, int majorFormat, const IntegerSound& sound,
                    const std::map<int, std::string>& texts)
{
  SF_INFO info = {};
  info.samplerate = sound.rate;
  info.channels = sound.channelCount();
  info.format = majorFormat | subtypeOf(majorFormat, sound.bits);
  const Handle handle = open(path, SFM_WRITE, info);
  for (const auto& [kind, text] : texts) {
    if (::sf_set_string(handle.get(), kind, text.c_str()) != 0)
      throw std::runtime_error(path + ": takes no text");
  }
  const std::vector<std::int32_t> samples = interleaved32(sound);
  if (::sf_writef_int(handle.get(), samples.data(), sound.frames()) != sound.frames())
    throw std::runtime_error(path + ": was not written");
}

} // namespace support
