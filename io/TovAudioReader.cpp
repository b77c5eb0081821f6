#include "io/TovAudioReader.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "core/TovFile.h"
#include "pcm/TovPcm.h"

TovAudioReader::TovAudioReader() : fileName(nullptr) {}

TovAudioReader::~TovAudioReader()
{
  delete[] fileName;
}

void TovAudioReader::close() {}

void TovAudioReader::setFileName(const char* name)
{
  char* fresh = nullptr; // made before the old one goes: name may be the old one
  if (name && *name) {
    const std::size_t size = std::strlen(name) + 1;
    fresh = new char[size];
    std::memcpy(fresh, name, size);
  }
  delete[] fileName;
  fileName = fresh;
}

int TovAudioReader::readFirstChannel(float* out, long long start, long long count)
{
  TovNLPArray<float> outputs;
  outputs.append(out);
  TovNLArray<int> channels;
  channels.append(0);
  return readChannels(outputs, channels, start, count);
}

int TovAudioReader::readFrames(bool isOpen, TovFile& file, long long dataOffset,
                               const TovNLPArray<float>& outputs, const TovNLArray<int>& channels,
                               long long start, long long count)
{
  if (!isOpen)
    return 1;
  if (outputs.getCount() == 0 || outputs.getCount() != channels.getCount())
    return 2;
  allocBuffer(kTransferSize);
  TovAudioIOFormat format{};
  getFileSpec(&format);
  const long long frameBytes = static_cast<long long>(format.bytesPerSample) * format.channels;
  if (format.state != FormatValid || frameBytes == 0) // 0: a derived class's own record
    return 3;
  if (count <= 0)
    return 0;

  const long long lastStart = (LLONG_MAX - std::max(dataOffset, 0LL)) / frameBytes;
  if (start < 0 || start > lastStart || count > lastStart - start ||
      !file.seek(dataOffset + start * frameBytes, 0))
    return 4;

  const long long passFrames = framesPerPass(format);
  TovNLPArray<float> destinations(outputs);
  for (long long delivered = 0; delivered < count;) {
    for (int i = 0; i < destinations.getCount(); ++i)
      destinations.set(i, outputs[i] ? outputs[i] + delivered : nullptr);
    const long long wanted = std::min(count - delivered, passFrames);
    const unsigned long bytes =
        file.read(getBuffer(), static_cast<unsigned long>(wanted * frameBytes));
    const long long got = static_cast<long long>(bytes) / frameBytes;
    if (got == 0)
      return 4;
    TovPcm::toFloat(destinations, channels, getBuffer(), format, got);
    delivered += got;
  }
  return 0;
}
