#pragma once

#include "core/TovNLVArray.h"
#include "io/TovAudioIOFormat.h"
#include "io/TovAudioIOObject.h"

class TovFile;

/** Reads the samples of one file as float, any channels of any span.
 *
 *  Usable between a successful initialize() and close(); may then be used for
 *  another file.  Made by TovAudioTranslator::createReader() and owned by the
 *  caller.  One thread at a time.
 */
class TOV_API TovAudioReader : public TovAudioIOObject {
public:
  TovAudioReader();
  ~TovAudioReader() override;

  /** Closes what was open and opens @p path: 0, or 1 where the file cannot
   *  be opened or its header is not acceptable. */
  virtual int initialize(const char* path) = 0;

  /** Closes the file; the base has none. */
  virtual void close();

  /** Describes the open file: 0, or 1 with state, frameCount and channels set
   *  (#FormatNone without a file, #FormatUnsupported for a sample format that
   *  is not handled) and the other fields as they were. */
  virtual int getFileSpec(TovAudioIOFormat* format) = 0;

  /** Delivers file channel 0 into @p out.  Deliberate: @p channel is ignored. */
  virtual int readChannel(float* out, int channel, long long start, long long count) = 0;

  /** Reads @p count frames from frame @p start: output i receives file
   *  channel channels[i] (the nearest valid one where there is none such).
   *  0; 1 no file open; 2 no outputs, or not as many as channels; 3 the sample
   *  format is not handled; 4 the file ended before (WAV; AIFF returns 0 and
   *  leaves the missing frames untouched). */
  virtual int readChannels(const TovNLPArray<float>& outputs, const TovNLArray<int>& channels,
                           long long start, long long count) = 0;

  /** Stores a copy of @p name; null or empty stores none. */
  void setFileName(const char* name);

protected:
  /** readChannel() of both formats: readChannels() for one output, channel 0. */
  int readFirstChannel(float* out, long long start, long long count);

  /** readChannels() of both formats: moves frames pass by pass until @p count
   *  are delivered or the file ends; the codes of readChannels(), with 4 for a
   *  file that ended before and for a span that no file can have. */
  int readFrames(bool isOpen, TovFile& file, long long dataOffset,
                 const TovNLPArray<float>& outputs, const TovNLArray<int>& channels,
                 long long start, long long count);

private:
  char* fileName; ///< owned, null when none
};
