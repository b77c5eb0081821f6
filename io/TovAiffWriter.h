#pragma once

#include "core/TovFile.h"
#include "io/TovAudioWriter.h"

/** Writes uncompressed AIFF files: a header of 54 bytes, the interleaved
 *  samples most significant byte first, no pad byte.
 *
 *  Bytes per sample and how they are written: 1 #EncS8, 2 #EncS16, 3 #EncS24,
 *  4 #EncS32.
 */
class TOV_API TovAiffWriter : public TovAudioWriter {
public:
  TovAiffWriter();
  ~TovAiffWriter() override; ///< closes

  int initialize(const char* path, const TovAudioIOFormat& format) override;

  /** Fills in the sizes and the frame count and closes.  Deliberate: the
   *  record is kept, so that getFileSpec() still answers. */
  void close() override;

  int getFileSpec(TovAudioIOFormat* format) override;
  int writeChannels(const TovNLPArray<float>& inputs, int startFrame, int frames) override;

private:
  bool writeHeader(const TovAudioIOFormat& record);

  bool isOpen; ///< a file was started; stays set after close()
  TovFile file;
  std::int32_t dataStart;      ///< byte position of the first sample, 0 while there is no header
  std::int32_t frameCountPos;  ///< byte position of the frame count in the header
  std::uint32_t framesWritten; ///< frames appended so far
  TovAudioIOFormat format;     ///< all zero until a header was written
};
