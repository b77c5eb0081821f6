#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"

using BlobBytes = std::vector<unsigned char>;

/** What a mixer's settings turned out to be, from their bytes alone. */
struct MixerBlobFindings {
  enum Kind {
    readable,
    noMixer,      ///< another tag
    laterVersion, ///< a version that the library does not know
    cutShort,     ///< what they promise does not lie inside them
    otherInput    ///< a track's input is no audio file, or one of a later version
  };
  Kind kind = cutShort;
  unsigned int version = 0;
  int tracks = 0;       ///< whole ones up to the end, or to the other input
  std::string inputTag; ///< the other input's

  bool isReadable() const { return kind == readable; }
};

/** Walks over a mixer's blob.  The library reads every track's input as an
 *  audio file, whatever it was when it was saved: so this must be asked before
 *  settings are kept, and where a load has left nothing. */
MixerBlobFindings examineMixerBlob(const BlobBytes& blob);

/** The blob of any provider. */
BlobBytes blobOf(TovAudioProvider& provider);

/** Gives a file provider these values as a session holds them: the library's
 *  setter would clamp the rate.  An empty name leaves its file as it is. */
void setFileSettings(TovAudioFile& file, const std::string& name, int playRate, double srcIn,
                     double srcOut);

/** Empties the mixer and sets its gain as a session holds it, which may be
 *  more than the library's setter lets through. */
void emptyWithGain(TovAudioMixer& mixer, float masterGain);
