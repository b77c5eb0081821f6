#include "app/ForeignSoundTranslator.h"

#include "app/ForeignSoundReader.h"
#include "app/ForeignSounds.h"

TovName ForeignSoundTranslator::getName() const
{
  return TovName::getString("libsndfile");
}

TovName ForeignSoundTranslator::getReadableFormats() const
{
  return TovName::getString("libsndfile{aifc;rf64;w64;caf;au;snd;flac;ogg;oga;"
                            "opus;mp3}");
}

/** The file itself decides, not its suffix: the library's own readers keep
 *  what they can read. */
int ForeignSoundTranslator::isReadable(const TovName& fileName) const
{
  return whyForeign(fileName.c_str()).empty() ? 0 : 1;
}

/** The base would answer by the readable formats. */
int ForeignSoundTranslator::isWritable(const TovName&) const
{
  return 0;
}

TovAudioReader* ForeignSoundTranslator::createReader() const
{
  return new ForeignSoundReader;
}
