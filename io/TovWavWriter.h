#pragma once

#include "core/TovFile.h"
#include "io/TovAudioWriter.h"

/** Writes RIFF WAVE files under the integer PCM tag: a header of 44 bytes, the
 *  interleaved samples, nothing behind them and no pad byte.
 *
 *  Bytes per sample and how they are written: 1 #EncU8, 2 #EncS16, 3 #EncS24.
 *  Deliberate: 4 bytes are #EncFloat32Scaled16, which TovWavReader reads back
 *  exactly and other programs take for integers.
 */
class TOV_API TovWavWriter : public TovAudioWriter {
public:
  TovWavWriter();
  ~TovWavWriter() override; ///< closes

  int initialize(const char* path, const TovAudioIOFormat& format) override;

  /** Fills in the sizes and closes.  Deliberate: the record is kept, so that
   *  getFileSpec() still answers. */
  void close() override;

  int getFileSpec(TovAudioIOFormat* format) override;
  int writeChannels(const TovNLPArray<float>& inputs, int startFrame, int frames) override;

private:
  bool writeHeader(const TovAudioIOFormat& record);

  bool isOpen; ///< a file was started; stays set after close()
  TovFile file;
  std::int32_t dataStart;  ///< byte position of the first sample, 0 while there is no header
  TovAudioIOFormat format; ///< all zero until a header was written
};
