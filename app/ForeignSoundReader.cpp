#include "app/ForeignSoundReader.h"

#include <bit>
#include <cerrno>
#include <utility>

#include "pcm/TovPcm.h"

ForeignSoundReader::ForeignSoundReader() : window(file) {}

ForeignSoundReader::~ForeignSoundReader()
{
  ForeignSoundReader::close();
}

int ForeignSoundReader::initialize(const char* path)
{
  // The player opens the files anew for every block: what was decoded stays.
  const int before = errno;
  const bool isSame = path != nullptr && file.isOpenOn(path);
  errno = before;
  if (isSame) {
    return 0;
  }
  close();
  if (path == nullptr || !file.open(path)) {
    return 1;
  }
  window.reset();
  return 0;
}

void ForeignSoundReader::close()
{
  file.close();
}

/** The stored form of the samples, and the bytes of one. */
static std::pair<TovSampleEncoding, std::uint32_t> encodingOf(const SF_INFO& info)
{
  switch (info.format & SF_FORMAT_SUBMASK) {
  case SF_FORMAT_PCM_S8:
    return {EncS8, 1};
  case SF_FORMAT_PCM_U8:
    return {EncU8, 1};
  case SF_FORMAT_PCM_16:
    return {EncS16, 2};
  case SF_FORMAT_PCM_24:
    return {EncS24, 3};
  case SF_FORMAT_PCM_32:
    return {EncS32, 4};
  default:
    return {EncFloat32, 4};
  }
}

int ForeignSoundReader::getFileSpec(TovAudioIOFormat* format)
{
  if (format == nullptr) {
    return 1;
  }
  if (!file.isOpen()) {
    format->state = FormatNone;
    format->frameCount = 0;
    format->channels = 0;
    return 1;
  }
  const SF_INFO& info = file.getInfo();
  const auto [encoding, bytesPerSample] = encodingOf(info);
  *format = {FormatValid,
             static_cast<std::uint32_t>(encoding),
             bytesPerSample,
             0,
             static_cast<std::uint32_t>(info.samplerate),
             file.getFrames(),
             static_cast<std::uint32_t>(info.channels)};
  return 0;
}

int ForeignSoundReader::readChannel(float* out, int, long long start, long long count)
{
  return readFirstChannel(out, start, count);
}

int ForeignSoundReader::readChannels(const TovNLPArray<float>& outputs,
                                     const TovNLArray<int>& channels, long long start,
                                     long long count)
{
  if (!file.isOpen()) {
    return 1;
  }
  if (outputs.getCount() == 0 || outputs.getCount() != channels.getCount()) {
    return 2;
  }
  TovAudioIOFormat decoded = {};
  getFileSpec(&decoded);
  decoded.encoding = EncFloat32;
  decoded.bytesPerSample = sizeof(float);
  decoded.bigEndian = std::endian::native == std::endian::big ? 1 : 0;

  TovNLPArray<float> destinations(outputs);
  long long frames = 0;
  for (long long delivered = 0; delivered < count; delivered += frames) {
    for (int i = 0; i < destinations.getCount(); ++i) {
      destinations.set(i, outputs[i] == nullptr ? nullptr : outputs[i] + delivered);
    }
    frames = count - delivered;
    const float* const samples = start < 0 ? nullptr : window.at(start + delivered, frames);
    if (samples == nullptr) {
      return 4;
    }
    TovPcm::toFloat(destinations, channels, samples, decoded, frames);
  }
  return 0;
}
