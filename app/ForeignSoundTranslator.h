#pragma once

#include "io/TovAudioTranslator.h"

/** What libsndfile reads and the library does not.  Reads only. */
class ForeignSoundTranslator : public TovAudioTranslator {
public:
  TovName getName() const override;
  TovName getReadableFormats() const override;
  int isReadable(const TovName& fileName) const override;
  int isWritable(const TovName& fileName) const override;
  TovAudioReader* createReader() const override;
};
