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

long long TovAudioReader::readFrames(TovFile& file, const TovAudioIOFormat& format,
                                     long long dataOffset, const TovNLPArray<float>& outputs,
                                     const TovNLArray<int>& channels, long long start,
                                     long long count)
{
  const long long frameBytes = static_cast<long long>(format.bytesPerSample) * format.channels;
  if (frameBytes == 0) // only from a derived class's own record
    return 0;
  const long long lastStart = (LLONG_MAX - std::max(dataOffset, 0LL)) / frameBytes;
  if (start < 0 || start > lastStart || count > lastStart - start ||
      !file.seek(dataOffset + start * frameBytes, 0))
    return 0;

  const long long passFrames = framesPerPass(format);
  TovNLPArray<float> destinations(outputs);
  long long delivered = 0;
  while (delivered < count) {
    for (int i = 0; i < destinations.getCount(); ++i)
      destinations.set(i, outputs[i] ? outputs[i] + delivered : nullptr);
    const long long wanted = std::min(count - delivered, passFrames);
    const unsigned long bytes =
        file.read(getBuffer(), static_cast<unsigned long>(wanted * frameBytes));
    const long long got = static_cast<long long>(bytes) / frameBytes;
    if (got == 0)
      break;
    TovPcm::toFloat(destinations, channels, getBuffer(), format, got);
    delivered += got;
  }
  return delivered;
}
