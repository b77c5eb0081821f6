#pragma once

#include <cstdio>
#include <memory>
#include <vector>

#include "app/ForeignSoundFile.h"

/** Any span of a decoded file, with the samples that decoding it from its
 *  first frame to its last gives.
 *
 *      file ->  ....[ window, decoded lately ]|decoder
 *
 *  Requests overlap a little where a rate is converted, which the window
 *  serves.  Before it, decoders that seek exactly seek; others begin anew, and
 *  from then on keep what they decode in a temporary file, so that playing
 *  backwards decodes once.
 *
 *  Constant memory.  One thread at a time.
 */
class ForeignSoundWindow {
public:
  explicit ForeignSoundWindow(ForeignSoundFile& decodedFile) : file(decodedFile) {}

  /** For a file that was just opened. */
  void reset();

  /** The samples from frame @p start on, interleaved; @p count, the frames
   *  wanted, becomes that of those there.  Null where there are none. */
  const float* at(long long start, long long& count);

private:
  struct CloseFile {
    void operator()(std::FILE* stream) const { (void)std::fclose(stream); }
  };

  std::size_t samplesOf(long long frames) const;
  bool moveTo(long long start);
  bool decodeMore();
  bool readKept(long long start);
  bool keep(const float* samples, long long frames);
  void dropOldest(long long room);

  ForeignSoundFile& file;
  std::vector<float> samples;
  long long first = 0;                        ///< frame of the window's first sample
  long long decoded = 0;                      ///< frames in the window
  long long piece = 0;                        ///< frames decoded at once
  long long next = 0;                         ///< frame that the decoder gives next
  long long keptUntil = 0;                    ///< frames in the temporary file
  std::unique_ptr<std::FILE, CloseFile> kept; ///< null until it is needed
};
