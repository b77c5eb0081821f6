#pragma once

#include "core/TovFile.h"
#include "io/TovAiffFormat.h"
#include "io/TovAudioReader.h"

/** Reads uncompressed AIFF files of 1 to 32 bits.
 *
 *  Bits per sample and how they are read: 1 to 8 #EncS8, 9 to 16 #EncS16, 17
 *  to 24 #EncS24, 25 to 32 #EncS32, most significant byte first.
 */
class TOV_API TovAiffReader : public TovAudioReader {
public:
  TovAiffReader();
  ~TovAiffReader() override; ///< closes

  int initialize(const char* path) override;
  void close() override;

  /** Deliberate: converts the stored rate in place, so that only the first
   *  call after initialize(), and then every other one, gives the true rate.
   *  readChannels() calls it too. */
  int getFileSpec(TovAudioIOFormat* format) override;

  int readChannel(float* out, int channel, long long start, long long count) override;

  /** Deliberate: a file that ends early gives 0; the frames it does not hold
   *  are left untouched. */
  int readChannels(const TovNLPArray<float>& outputs, const TovNLArray<int>& channels,
                   long long start, long long count) override;

  /** Walks the chunks of @p file, which stands at its start, until both "COMM"
   *  and "SSND" are met, in either order: 0 and all three filled, or 1.  The
   *  size of the samples follows from "COMM". */
  static int getAiffDetails(TovFile& file, TovAiffFmtChunk* fmt, long long* dataOffset,
                            long long* dataSize);

private:
  bool isOpen; ///< a file was opened and its header accepted
  TovFile file;
  TovAiffFmtChunk fmt;  ///< kept when closed
  long long dataOffset; ///< byte position of the first sample
  long long dataSize;   ///< bytes of sample data
};
