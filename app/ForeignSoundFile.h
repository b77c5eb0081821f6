#pragma once

#include <ctime>
#include <memory>
#include <string>
#include <tuple>

#include <sndfile.h>
#include <sys/types.h>

#include "core/TovFile.h"

/** A file that libsndfile decodes, read through the host's TovFile.
 *
 *  One thread at a time.
 */
class ForeignSoundFile {
public:
  ForeignSoundFile();
  ~ForeignSoundFile();
  ForeignSoundFile(const ForeignSoundFile&) = delete;
  ForeignSoundFile& operator=(const ForeignSoundFile&) = delete;

  /** Opens the file at its first frame and finds out how long it is, which
   *  takes decoding it where it does not say.  False where it cannot be read;
   *  getError() says why then. */
  bool open(const std::string& path);
  void close();
  bool isOpen() const { return sound != nullptr; }

  /** Whether it stands open on this file, which nobody has written to since. */
  bool isOpenOn(const std::string& path) const;

  const std::string& getError() const { return error; }

  /** Format, rate and channels. */
  const SF_INFO& getInfo() const { return info; }
  long long getFrames() const { return frames; }

  /** Whether a seek brings the very samples that decoding from the start does.
   *  Decoders that carry much from frame to frame come near, no more. */
  bool isSeekExact() const;

  /** Decodes the next @p count frames, interleaved; returns how many there
   *  were. */
  long long read(float* samples, long long count);

  bool seek(long long frame);

  /** Back at the first frame of the same file, as freshly opened. */
  bool restart();

private:
  /** What libsndfile reads from: the file, with a wrong size in its header put
   *  right. */
  struct View {
    TovFile file;
    long long length = 0;
    long long position = 0;
    long long patchAt = 0;
    std::string patch; ///< bytes from patchAt on; empty where the header is right
  };

  /** Device, number, size and time of the last writing. */
  using Identity = std::tuple<dev_t, ino_t, off_t, std::time_t, long>;
  static Identity identityOf(const std::string& path);

  static SF_VIRTUAL_IO callbacks();
  bool openView();
  bool openSound();
  bool fail(const std::string& why);
  bool findLength();
  long long countFrames();

  std::string path;
  Identity identity = {}; ///< when it was opened
  std::unique_ptr<View> view;
  SNDFILE* sound = nullptr;
  SF_INFO info = {};
  long long frames = 0;
  std::string error;
};
