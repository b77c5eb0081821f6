#include "io/TovAiffWriter.h"

#include <bit>
#include <cstring>

#include "io/TovAiffFormat.h"
#include "io/TovByteOrder.h"

namespace {

constexpr std::uint32_t kHeaderBytes = 54;
constexpr std::int32_t kFrameCountPosition = 22;

void putNumber(TovFile& file, long long position, long long number)
{
  unsigned char bytes[4];
  unsigned char* cursor = bytes;
  tovWriteBigEndian(cursor, static_cast<std::uint32_t>(number), 4);
  if (file.seek(position, 0))
    file.write(bytes, sizeof bytes);
}

/** A whole rate of at least 1 as an 80-bit extended number.  Only the low byte
 *  of the exponent is computed, so that 1 is written as 2.0. */
void writeRate(unsigned char*& cursor, std::uint32_t rate)
{
  const int log2 = 31 - std::countl_zero(rate);
  tovWriteBigEndian(cursor, 0x40, 1);
  tovWriteBigEndian(cursor, log2 > 0 ? static_cast<std::uint32_t>(log2 - 1) : 0, 1);
  tovWriteBigEndian(cursor, rate << (31 - log2), 4);
  tovWriteBigEndian(cursor, 0, 4);
}

} // namespace

TovAiffWriter::TovAiffWriter()
    : isOpen(false), dataStart(0), frameCountPos(0), framesWritten(0), format{}
{
}

TovAiffWriter::~TovAiffWriter()
{
  TovAiffWriter::close();
}

int TovAiffWriter::initialize(const char* path, const TovAudioIOFormat& wanted)
{
  // Deliberate: the messages name the WAV writer, and are not the same as its own.
  if (!isPossible(
          wanted, "%ETovWavWriter: error, sample rate specficied as zero\n",
          "%WTovWavWriter: some applications do not recognize Audio IFF files with > 2 channels\n"))
    return 1;

  constexpr TovSampleEncoding kEncodings[] = {EncS8, EncS16, EncS24, EncS32};
  const TovAudioIOFormat record = recordOf(wanted, kEncodings[wanted.bytesPerSample - 1], true);
  close();
  if (file.open(path, "wb") == -1)
    return 1;
  isOpen = true;
  format = {};
  dataStart = writeHeader(record) ? static_cast<std::int32_t>(file.tell()) : 0;
  if (dataStart <= 0) {
    close();
    return 1;
  }
  framesWritten = 0;
  format = record;
  return 0;
}

bool TovAiffWriter::writeHeader(const TovAudioIOFormat& record)
{
  unsigned char header[kHeaderBytes];
  unsigned char* cursor = header;
  const auto putChunk = [&](const char(&id)[5], std::uint32_t size) {
    fillMemWithDesc(cursor, {{id[0], id[1], id[2], id[3]}, size});
    cursor += 8;
  };
  putChunk("FORM", 0); // its size is filled in by close()
  std::memcpy(cursor, "AIFF", 4);
  cursor += 4;
  putChunk("COMM", 18);
  tovWriteBigEndian(cursor, record.channels, 2);
  frameCountPos = kFrameCountPosition;
  tovWriteBigEndian(cursor, 0, 4); // frames, filled in by close()
  tovWriteBigEndian(cursor, record.bytesPerSample * 8, 2);
  writeRate(cursor, record.sampleRate);
  putChunk("SSND", 0);             // likewise
  tovWriteBigEndian(cursor, 0, 4); // offset
  tovWriteBigEndian(cursor, 0, 4); // block size
  return file.write(header, kHeaderBytes) == kHeaderBytes;
}

void TovAiffWriter::close()
{
  if (isOpen && dataStart > 0) {
    const long long end = file.tell();
    if (end >= dataStart) {
      putNumber(file, 4, end - 8);
      putNumber(file, frameCountPos, framesWritten);
      putNumber(file, dataStart - 12, end - dataStart + 8);
    }
  }
  file.close();
  dataStart = 0;
  framesWritten = 0;
}

int TovAiffWriter::getFileSpec(TovAudioIOFormat* record)
{
  if (!record || !isOpen)
    return 1;
  *record = format;
  return 0;
}

int TovAiffWriter::writeChannels(const TovNLPArray<float>& inputs, int, int frames)
{
  constexpr int kFileTookLess = 3; // here it is 4
  const int status = appendFrames(isOpen, file, format, inputs, frames);
  if (status == 0 && frames > 0)
    framesWritten += static_cast<std::uint32_t>(frames);
  return status == kFileTookLess ? 4 : status;
}
