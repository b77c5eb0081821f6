#include "io/TovWavReader.h"

#include "io/TovByteOrder.h"
#include "io/TovChunkWalk.h"

namespace {

struct WavLayout {
  using Desc = TovWavChunkDesc;
  static constexpr char kOwner[] = "TovWav";
  static constexpr char kContainer[] = "RIFF";
  static constexpr char kForm[] = "WAVE";
  static constexpr char kFormatId[] = "fmt ";
  static constexpr char kSampleId[] = "data";
  static constexpr std::uint32_t kFormatBytes = 16;

  TovWavFmtChunk* fmt;
  long long* dataOffset;
  long long* dataSize;

  void takeFormat(const unsigned char* body)
  {
    fmt->formatTag = static_cast<std::uint16_t>(tovReadLittleEndian(body, 2));
    fmt->channels = static_cast<std::uint16_t>(tovReadLittleEndian(body, 2));
    fmt->sampleRate = tovReadLittleEndian(body, 4);
    fmt->byteRate = tovReadLittleEndian(body, 4);
    fmt->blockAlign = static_cast<std::uint16_t>(tovReadLittleEndian(body, 2));
    fmt->bitsPerSample = static_cast<std::uint16_t>(tovReadLittleEndian(body, 2));
  }

  bool takeSamples(TovFile& file, std::uint32_t size, std::uint32_t& skip)
  {
    const long long position = file.tell();
    if (position < 0)
      return false;
    *dataOffset = static_cast<std::int32_t>(position); // positions are 32-bit in this format
    *dataSize = size;
    skip = size;
    return true;
  }
};

} // namespace

TovWavReader::TovWavReader() : isOpen(false), fmt{}, dataOffset(0), dataSize(0) {}

TovWavReader::~TovWavReader()
{
  TovWavReader::close();
}

int TovWavReader::getWavDetails(TovFile& file, TovWavFmtChunk* fmt, long long* dataOffset,
                                long long* dataSize)
{
  WavLayout layout{fmt, dataOffset, dataSize};
  return TovChunkWalk(file, layout).run();
}

int TovWavReader::initialize(const char* path)
{
  close();
  isOpen = file.open(path, "r") == 0 && getWavDetails(file, &fmt, &dataOffset, &dataSize) == 0;
  return isOpen ? 0 : 1;
}

void TovWavReader::close()
{
  if (!isOpen)
    return;
  file.close();
  isOpen = false;
  dataOffset = 0;
  dataSize = 0;
  setFileName(nullptr);
}

int TovWavReader::getFileSpec(TovAudioIOFormat* format)
{
  if (!format)
    return 1;
  const bool isSupported = isOpen && fmt.formatTag == TovWavFmtChunk::kIntegerPcm &&
                           fmt.bitsPerSample >= 1 && fmt.bitsPerSample <= 32 && fmt.channels > 0;
  if (!isSupported) {
    format->state = isOpen ? FormatUnsupported : FormatNone;
    format->frameCount = 0;
    format->channels = 0;
    return 1;
  }

  constexpr TovSampleEncoding kEncodings[] = {EncU8, EncS16, EncS24, EncFloat32Scaled16};
  const std::uint32_t bytesPerSample = (fmt.bitsPerSample + 7u) / 8u;
  *format = {FormatValid,    static_cast<std::uint32_t>(kEncodings[bytesPerSample - 1]),
             bytesPerSample, 0,
             fmt.sampleRate, dataSize / bytesPerSample / fmt.channels,
             fmt.channels};
  return 0;
}

int TovWavReader::readChannel(float* out, int, long long start, long long count)
{
  return readFirstChannel(out, start, count);
}

int TovWavReader::readChannels(const TovNLPArray<float>& outputs, const TovNLArray<int>& channels,
                               long long start, long long count)
{
  return readFrames(isOpen, file, dataOffset, outputs, channels, start, count);
}
