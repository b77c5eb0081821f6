#pragma once

#include "app/ForeignSoundFile.h"
#include "app/ForeignSoundWindow.h"
#include "io/TovAudioReader.h"

/** Reads what libsndfile decodes.
 *
 *  The record of getFileSpec() names the encoding that keeps the file's
 *  samples: that of its integers, else #EncFloat32.
 */
class ForeignSoundReader : public TovAudioReader {
public:
  ForeignSoundReader();
  ~ForeignSoundReader() override; ///< closes

  int initialize(const char* path) override;
  void close() override;
  int getFileSpec(TovAudioIOFormat* format) override;
  int readChannel(float* out, int channel, long long start, long long count) override;
  int readChannels(const TovNLPArray<float>& outputs, const TovNLArray<int>& channels,
                   long long start, long long count) override;

private:
  ForeignSoundFile file;
  ForeignSoundWindow window;
};
