#pragma once

#include <cstddef>

#include "graph/TovAudioProvider.h"
#include "io/TovAudioIOFormat.h"

class TovAudioReader;

/** Delivers the samples of one audio file, at any rate, over any span.
 *
 *  Request time 0 falls on the frame at srcIn; times before it reach into the
 *  file's earlier part.  Nothing behind srcOut is heard.
 *
 *  Locks: every operation takes providerLock unless it says otherwise;
 *  activate(), deactivate() and refresh() do not.  A lock of its own guards
 *  the reader, so that a host may change the file name while a feeder thread
 *  activates; order: providerLock, that lock, bufferLock.
 */
class TOV_API TovAudioFile : public TovAudioProvider {
public:
  /** A provider without a file. */
  TovAudioFile();

  /** Opens the other's file for itself, with the other's playback rate,
   *  srcIn and srcOut, which must not change meanwhile. */
  TovAudioFile(const TovAudioFile& other);

  TovAudioProvider* clone() const override;

  /** Opens the file for reading: 0; 1 where there is no usable file; 3 where
   *  it cannot be opened any more.  Takes no providerLock. */
  int activate(const TovAudioContext& context) override;

  /** Does nothing; 0. */
  int deactivate() override;

  /** 0; 1 not activated, a playback rate below 1, or above 8 MHz
   *  and not the context's, a request above 2^28 frames,
   *  or the file could not be read; 2 no reader; 4 a context rate below 1 or a
   *  null buffer; 5 the request lies outside the used part of the file.
   *  Frames before the file's first and behind srcOut or its last are
   *  silence. */
  int getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>& channelMap,
               const TovAudioContext& context, double t0, double t1) override;

  /** The "AFIL" blob: tag, version 0, file name with closing 0, playback rate,
   *  srcIn, srcOut. */
  int serialize(void** out) override;

  /** Reads an "AFIL" blob and opens its file; one that is not there keeps its
   *  name and settings.  No notification.  -1 for another tag or version.
   *  Deliberate: another version leaves providerLock held. */
  int deserialize(const void* blob, bool append) override;

  /** The same for a blob of @p size bytes: nothing outside them is read, and a
   *  blob that does not lie inside them is refused (-1). */
  int deserializeBounded(const void* blob, std::size_t size, bool append);

  /** Sets the file name, finds the reader, reads the format and sets playback
   *  rate, srcIn and srcOut to the file's own (44100, 0, 0 where it is not
   *  usable); the status of setFileName().  No notification. */
  int initialize(const char* name);
  int initializeNoLock(const char* name);

  /** Sets the file name: environment variables in it are replaced and it is
   *  resolved to a full path.  Null takes the file away.  0, 2 or 3 (see
   *  refresh()).  Notifies. */
  int setFileName(const char* name);
  int setFileNameNoLock(const char* name);

  /** Finds a reader for the path anew and reads the format: 0; 2 unknown file
   *  type; 3 the reader could not open it.  Says so through TovSys::error().
   *  The name is kept, so that it can be tried again.  Takes no providerLock. */
  int refresh();

  /** The name as given; empty where there is none.  Valid until it changes. */
  const char* getFileName() const;

  /** The file's own format: 0; 1 no reader; 4 null. */
  int getSourceFormat(TovAudioIOFormat* out) const;

  int getPlaybackRate() const; ///< frames per second at which the file's frames are played
  double getSrcIn() const;     ///< seconds of the file at its own rate
  double getSrcOut() const;    ///< seconds of the file at its own rate
  int hasError() const;        ///< 1 while no file is usable, else 0

  /** Clamped to [200, 192000]: 0.  A rate of 0 or less changes nothing: 4.
   *  Notifies in both cases. */
  int setPlaybackRate(int rate);

  /** Start and end of the used part, unchecked: 0.  Notify. */
  int setSrcIn(double seconds);
  int setSrcOut(double seconds);

protected:
  ~TovAudioFile() override;

private:
  struct Span;
  int refreshNoReaderLock();
  int failNoReaderLock(int status);
  int planSpan(Span& span, const TovAudioIOFormat& format, const TovAudioContext& context,
               double t0, double t1) const;
  bool planConversion(Span& span, const TovAudioContext& inner, const TovAudioContext& context,
                      double t0, double t1) const;
  int render(const Span& span, const TovNLPArray<float>& buffers, const TovNLArray<int>& channelMap,
             const TovAudioContext& context);

  TovAudioReader* reader;        ///< owned; protected by readerLock
  char* fileName;                ///< owned; written under both locks
  char* filePath;                ///< owned; protected by readerLock
  TovAudioIOFormat sourceFormat; ///< protected by readerLock
  int playbackRate;              ///< protected by providerLock
  double srcIn;                  ///< protected by providerLock
  double srcOut;                 ///< protected by providerLock
  int errorFlag;                 ///< protected by readerLock
  mutable unsigned int readerLock;
  std::uint32_t openRate; ///< rate of the open file; protected by readerLock
  bool isOpenRateKnown;   ///< the open file was asked for it; protected by readerLock
};
