#include "io/TovAiffTranslator.h"

#include "core/TovFile.h"
#include "io/TovAiffReader.h"
#include "io/TovAiffWriter.h"

namespace {

constexpr char kFormats[] = "Audio IFF{aif;aiff}";

} // namespace

TovName TovAiffTranslator::getName() const
{
  return TovName::getString("Audio IFF");
}

TovName TovAiffTranslator::getReadableFormats() const
{
  return TovName::getString(kFormats);
}

TovName TovAiffTranslator::getWritableFormats() const
{
  return TovName::getString(kFormats);
}

int TovAiffTranslator::checkHeader(TovFile& file) const
{
  TovAiffFmtChunk fmt;
  long long dataOffset = 0;
  long long dataSize = 0;
  return TovAiffReader::getAiffDetails(file, &fmt, &dataOffset, &dataSize) != 0;
}

TovAudioReader* TovAiffTranslator::createReader() const
{
  return new TovAiffReader;
}

TovAudioWriter* TovAiffTranslator::createWriter() const
{
  return new TovAiffWriter;
}
