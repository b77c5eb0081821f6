#include "io/TovWavWriter.h"

#include <cstring>

#include "io/TovByteOrder.h"
#include "io/TovWavFormat.h"

namespace {

constexpr std::uint32_t kHeaderBytes = 44;

void putNumber(TovFile& file, long long position, long long number)
{
  unsigned char bytes[4];
  unsigned char* cursor = bytes;
  tovWriteLittleEndian(cursor, static_cast<std::uint32_t>(number), 4);
  if (file.seek(position, 0))
    file.write(bytes, sizeof bytes);
}

} // namespace

TovWavWriter::TovWavWriter() : isOpen(false), dataStart(0), format{} {}

TovWavWriter::~TovWavWriter()
{
  TovWavWriter::close();
}

int TovWavWriter::initialize(const char* path, const TovAudioIOFormat& wanted)
{
  if (!isPossible(
          wanted, "%ETovWavWriter: error, illegal sample rate specified\n",
          "%WTovWavWriter: most applications do not recognize WAV files with > 2 channels\n"))
    return 1;

  constexpr TovSampleEncoding kEncodings[] = {EncU8, EncS16, EncS24, EncFloat32Scaled16};
  const TovAudioIOFormat record = recordOf(wanted, kEncodings[wanted.bytesPerSample - 1], false);
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
  format = record;
  return 0;
}

bool TovWavWriter::writeHeader(const TovAudioIOFormat& record)
{
  const std::uint32_t bytesPerFrame = record.channels * record.bytesPerSample;
  unsigned char header[kHeaderBytes];
  unsigned char* cursor = header;
  const auto putChunk = [&](const char(&id)[5], std::uint32_t size) {
    fillMemWithDesc(cursor, {{id[0], id[1], id[2], id[3]}, size});
    cursor += 8;
  };
  putChunk("RIFF", 0); // its size is filled in by close()
  std::memcpy(cursor, "WAVE", 4);
  cursor += 4;
  putChunk("fmt ", 16);
  tovWriteLittleEndian(cursor, TovWavFmtChunk::kIntegerPcm, 2);
  tovWriteLittleEndian(cursor, record.channels, 2);
  tovWriteLittleEndian(cursor, record.sampleRate, 4);
  tovWriteLittleEndian(cursor, bytesPerFrame * record.sampleRate, 4);
  tovWriteLittleEndian(cursor, bytesPerFrame, 2);
  tovWriteLittleEndian(cursor, record.bytesPerSample * 8, 2);
  putChunk("data", 0); // likewise
  return file.write(header, kHeaderBytes) == kHeaderBytes;
}

void TovWavWriter::close()
{
  if (isOpen && dataStart > 0) {
    const long long end = file.tell();
    if (end >= dataStart) {
      putNumber(file, 4, end - 8);
      putNumber(file, dataStart - 4, end - dataStart);
    }
  }
  file.close();
  dataStart = 0;
}

int TovWavWriter::getFileSpec(TovAudioIOFormat* record)
{
  if (!record || !isOpen)
    return 1;
  *record = format;
  return 0;
}

int TovWavWriter::writeChannels(const TovNLPArray<float>& inputs, int, int frames)
{
  return appendFrames(isOpen, file, format, inputs, frames);
}
