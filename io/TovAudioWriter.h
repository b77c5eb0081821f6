#pragma once

#include "core/TovNLVArray.h"
#include "io/TovAudioIOFormat.h"
#include "io/TovAudioIOObject.h"

class TovFile;

/** Writes a file: the header at initialize(), frames appended by
 *  writeChannels(), sizes filled in by close().
 *
 *  Made by TovAudioTranslator::createWriter() and owned by the caller.  One
 *  thread at a time.
 */
class TOV_API TovAudioWriter : public TovAudioIOObject {
public:
  TovAudioWriter();
  ~TovAudioWriter() override;

  /** Starts the file at @p path with the sampleRate, bytesPerSample and
   *  channels of @p format (its encoding and byte order are the file
   *  format's): 0, or 1 where the format is not possible or the file cannot
   *  be written. */
  virtual int initialize(const char* path, const TovAudioIOFormat& format) = 0;

  /** Completes and closes the file; the base has none. */
  virtual void close();

  /** Copies the format of the file being written: 0, or 1 for null or where
   *  no file was started.  Still answers after close(). */
  virtual int getFileSpec(TovAudioIOFormat* format);

  /** Appends @p frames frames, taken from the beginning of each input: 0;
   *  1 no file open; 2 not as many inputs as channels; 3 (WAV) or 4 (AIFF)
   *  the file took fewer bytes.  Deliberate: @p startFrame changes nothing. */
  virtual int writeChannels(const TovNLPArray<float>& inputs, int startFrame, int frames) = 0;

protected:
  /** Whether a file can have the rate, size and channels of @p wanted; says
   *  why not through TovSys::error(), with a message of the file format's own
   *  for the rate, and warns of more than two channels in its words. */
  static bool isPossible(const TovAudioIOFormat& wanted, const char* rateMessage,
                         const char* channelsWarning);

  /** initialize() of both formats: the stored record of a file with the rate,
   *  size and channels of @p wanted. */
  static TovAudioIOFormat recordOf(const TovAudioIOFormat& wanted, TovSampleEncoding encoding,
                                   bool bigEndian);

  /** writeChannels() of both formats: appends frames pass by pass to the file
   *  of @p record; the codes of the WAV writer. */
  int appendFrames(bool isOpen, TovFile& file, const TovAudioIOFormat& record,
                   const TovNLPArray<float>& inputs, int frames);
};
