#pragma once

#include "io/TovAudioTranslator.h"

/** The WAV format.  The library constructs the one instance it registers. */
class TOV_API TovWavTranslator : public TovAudioTranslator {
public:
  TovName getName() const override;
  TovName getReadableFormats() const override;
  TovName getWritableFormats() const override;
  int checkHeader(TovFile& file) const override;
  TovAudioReader* createReader() const override;
  TovAudioWriter* createWriter() const override;
};
