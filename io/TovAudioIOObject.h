#pragma once

#include "core/TovExport.h"
#include "io/TovAudioIOFormat.h"

/** What readers and writers share: the one byte buffer through which all
 *  their transfers go.
 *
 *  One thread at a time per object; only the buffer's allocation is guarded.
 */
class TOV_API TovAudioIOObject {
public:
  TovAudioIOObject();
  virtual ~TovAudioIOObject();
  TovAudioIOObject(const TovAudioIOObject&) = delete;
  TovAudioIOObject& operator=(const TovAudioIOObject&) = delete;

  /** Makes sure that the buffer holds at least @p size bytes.  A buffer that
   *  is too small is replaced by one of size + 16 bytes, at least 1024; its
   *  contents are not kept.  Allocates. */
  void allocBuffer(long long size);

  /** The buffer's capacity in bytes. */
  long long getBufferSize() const { return bufferSize; }

protected:
  /** What every transfer asks of allocBuffer(), in bytes. */
  static constexpr long long kTransferSize = 8192;

  /** Frames that one pass through the buffer moves: as many as fit in the
   *  largest multiple of 12 x channels bytes, so that a pass is whole for 1,
   *  2, 3 and 4 bytes a sample (2052 frames of 16-bit stereo).  Grows the
   *  buffer where not even one such group fits. */
  long long framesPerPass(const TovAudioIOFormat& format);

  unsigned char* getBuffer() const { return buffer; }

private:
  unsigned char* buffer; ///< owned; allocation protected by lock
  long long bufferSize;  ///< bytes; protected by lock
  unsigned int lock;     ///< TovLock word
};
