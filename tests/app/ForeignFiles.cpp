#include "tests/app/ForeignFiles.h"

#include <cmath>
#include <memory>
#include <random>
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

} // namespace

std::vector<ForeignForm> foreignForms()
{
  return {{"float.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, true},
          {"double.wav", SF_FORMAT_WAV | SF_FORMAT_DOUBLE, true},
          {"extensible.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, true},
          {"extensible32.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_32, true},
          {"big.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG, true},
          {"ulaw.wav", SF_FORMAT_WAV | SF_FORMAT_ULAW, false},
          {"adpcm.wav", SF_FORMAT_WAV | SF_FORMAT_MS_ADPCM, false},
          {"large.rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_24, true},
          {"sony.w64", SF_FORMAT_W64 | SF_FORMAT_PCM_24, true},
          {"core.caf", SF_FORMAT_CAF | SF_FORMAT_FLOAT, true},
          {"alac.caf", SF_FORMAT_CAF | SF_FORMAT_ALAC_24, true},
          {"float.aifc", SF_FORMAT_AIFF | SF_FORMAT_FLOAT, true},
          {"little.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE, true},
          {"sun.au", SF_FORMAT_AU | SF_FORMAT_PCM_16, true},
          {"sixteen.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, true},
          {"deep.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, true},
          {"vorbis.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, false},
          {"voice.opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, false},
          {"song.mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, false}};
}

ForeignSamples foreignSound(int channels, long long frames)
{
  ForeignSamples sound;
  sound.info.channels = channels;
  sound.info.samplerate = 48000;
  std::mt19937 random(7);
  std::uniform_real_distribution<double> noise(-0.05, 0.05);
  for (long long i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      const double time = static_cast<double>(i) / 48000.0;
      const double tone = 0.6 * std::sin(2764.6 * (c + 1) * time * (1.0 + time / 8.0));
      const double swell = 0.5 + 0.5 * std::sin(11.0 * time);
      sound.samples.push_back(
          static_cast<float>(std::lround((tone * swell + noise(random)) * 32768.0)) / 32768.0f);
    }
  }
  return sound;
}

void writeForeign(const std::string& path, int format, const ForeignSamples& sound)
{
  SF_INFO info = sound.info;
  info.format = format;
  const Handle handle = open(path, SFM_WRITE, info);
  ::sf_command(handle.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
  if (::sf_writef_float(handle.get(), sound.samples.data(), sound.frames()) != sound.frames())
    throw std::runtime_error(path + ": was not written");
}

ForeignSamples decodedStraight(const std::string& path)
{
  ForeignSamples decoded;
  const Handle handle = open(path, SFM_READ, decoded.info);
  constexpr sf_count_t kMostFrames = 1 << 22;
  decoded.samples.resize(static_cast<std::size_t>(kMostFrames * decoded.info.channels));
  const sf_count_t frames = ::sf_readf_float(handle.get(), decoded.samples.data(), kMostFrames);
  decoded.samples.resize(static_cast<std::size_t>(frames * decoded.info.channels));
  return decoded;
}

} // namespace support
