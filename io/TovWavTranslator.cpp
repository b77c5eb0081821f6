#include "io/TovWavTranslator.h"

#include "core/TovFile.h"
#include "io/TovWavReader.h"
#include "io/TovWavWriter.h"

namespace {

constexpr char kFormats[] = "Wav{wav;wave}";

} // namespace

TovName TovWavTranslator::getName() const
{
  return TovName::getString("Wav");
}

TovName TovWavTranslator::getReadableFormats() const
{
  return TovName::getString(kFormats);
}

TovName TovWavTranslator::getWritableFormats() const
{
  return TovName::getString(kFormats);
}

int TovWavTranslator::checkHeader(TovFile& file) const
{
  TovWavFmtChunk fmt;
  long long dataOffset = 0;
  long long dataSize = 0;
  const int status = TovWavReader::getWavDetails(file, &fmt, &dataOffset, &dataSize);
  return status != 0 || fmt.formatTag != TovWavFmtChunk::kIntegerPcm;
}

TovAudioReader* TovWavTranslator::createReader() const
{
  return new TovWavReader;
}

TovAudioWriter* TovWavTranslator::createWriter() const
{
  return new TovWavWriter;
}
