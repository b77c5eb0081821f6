#include "tests/faults/SoundFiles.h"

namespace support {

static Signal sound(unsigned int seed)
{
  return noise(SoundFiles::kChannels, SoundFiles::kFrames, seed, 0.4f);
}

std::string SoundFiles::wav(const std::string& name, unsigned int rate, unsigned int seed) const
{
  const Bytes samples = encoded<Wav>(sound(seed), 2);
  Bytes file;
  file.text("RIFF").u32le(36 + 18 + samples.size()).text("WAVE");
  file.text("note").u32le(10).zeros(10);
  file.text("fmt ").u32le(16);
  file.u16le(1).u16le(kChannels).u32le(rate).u32le(rate * 4).u16le(4).u16le(16);
  file.text("data").u32le(samples.size()).append(samples);
  return temporary.write(name, file);
}

std::string SoundFiles::aiff(const std::string& name, unsigned int rate, unsigned int seed) const
{
  const Bytes samples = encoded<Aiff>(sound(seed), 2);
  Bytes file;
  file.text("FORM").u32be(46 + 18 + samples.size()).text("AIFF");
  file.text("NAME").u32be(10).zeros(10);
  file.text("COMM").u32be(18);
  file.u16be(kChannels).u32be(kFrames).u16be(16).append(extendedRate(rate));
  file.text("SSND").u32be(8 + samples.size()).u32be(0).u32be(0).append(samples);
  return temporary.write(name, file);
}

} // namespace support
