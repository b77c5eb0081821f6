#pragma once

#include <atomic>

#include "app/SourceFile.h"
#include "core/TovNLVArray.h"
#include "graph/TovAudioFile.h"

/** A file provider that remembers whether its file let it down.
 *
 *  A mixer leaves out an input that fails, without a word, and the AIFF reader
 *  delivers silence for what a file no longer holds; neither may happen to a
 *  mix that somebody keeps.  Also picks the two channels of a file with more.
 */
class WatchedFile : public TovAudioFile {
public:
  /** Opens the source.  Throws Failure. */
  explicit WatchedFile(const SourceFile& source);
  WatchedFile(const WatchedFile& other);

  TovAudioProvider* clone() const override;

  /** From now on the requests' own channel maps do not count. */
  void chooseChannels(int left, int right);

  /** How many requests go by from one look at the file's length to the next;
   *  1 unless set. */
  void setLookInterval(int requests) { lookInterval = requests; }

  int getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>& channelMap,
               const TovAudioContext& context, double t0, double t1) override;

  /** Throws Failure where a request could not be answered from the file.  Any
   *  thread. */
  void throwIfFailed() const;

  /** Whether throwIfFailed() would throw.  Any thread. */
  bool isFailed() const { return hasFailed; }

  /** Opens a file that failed anew, where it can be; it has not failed then
   *  until it does so again.  Any thread. */
  void tryAgain();

  const SourceFile& getSource() const { return source; }

protected:
  ~WatchedFile() override;

private:
  SourceFile source;
  TovNLArray<int> chosenChannels; ///< empty: the request's map counts
  int lookInterval = 1;
  std::atomic<int> requestsUnseen = 0; ///< since the last look
  std::atomic<bool> hasFailed = false; ///< set by whichever thread renders
};
