#pragma once

#include "core/TovFile.h"
#include "io/TovAudioReader.h"
#include "io/TovWavFormat.h"

/** Reads RIFF WAVE files of integer PCM, 1 to 32 bits.
 *
 *  Bits per sample and how they are read: 1 to 8 #EncU8, 9 to 16 #EncS16, 17
 *  to 24 #EncS24.  Deliberate: 25 to 32 bits are #EncFloat32Scaled16, which is
 *  what TovWavWriter writes for four bytes under the integer tag.
 */
class TOV_API TovWavReader : public TovAudioReader {
public:
  TovWavReader();
  ~TovWavReader() override; ///< closes

  int initialize(const char* path) override;
  void close() override;
  int getFileSpec(TovAudioIOFormat* format) override;
  int readChannel(float* out, int channel, long long start, long long count) override;
  int readChannels(const TovNLPArray<float>& outputs, const TovNLArray<int>& channels,
                   long long start, long long count) override;

  /** Walks the chunks of @p file, which stands at its start, until both "fmt "
   *  and "data" are met, in either order: 0 and all three filled, or 1.
   *  Chunk sizes are taken as stated, odd ones too: files of this library
   *  have no pad bytes. */
  static int getWavDetails(TovFile& file, TovWavFmtChunk* fmt, long long* dataOffset,
                           long long* dataSize);

private:
  bool isOpen; ///< a file was opened and its header accepted
  TovFile file;
  TovWavFmtChunk fmt;   ///< kept when closed
  long long dataOffset; ///< byte position of the first sample
  long long dataSize;   ///< bytes of the "data" chunk, as stated
};
