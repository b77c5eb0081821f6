#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
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
  int tracks = 0;                      ///< whole ones up to the end, or to the other input
  std::string inputTag;                ///< the other input's
  std::vector<std::string_view> names; ///< of the whole tracks' files, within the blob

  bool isReadable() const { return kind == readable; }
};

/** Walks over a mixer's blob.  The library reads every track's input as an
 *  audio file, whatever it was when it was saved: so this must be asked before
 *  settings are kept, and where a load has left nothing. */
MixerBlobFindings examineMixerBlob(std::span<const unsigned char> blob);

/** A readable blob with all its files' names empty, of which a mixer makes the
 *  same tracks without looking for any file. */
BlobBytes withoutNames(std::span<const unsigned char> blob, const MixerBlobFindings& findings);

/** The blob of any provider. */
BlobBytes blobOf(TovAudioProvider& provider);

/** An input that is only kept in a session: it has a file's blob and no file. */
class KeptInput : public TovAudioFile {
public:
  explicit KeptInput(std::shared_ptr<const std::string> storedName) : name(std::move(storedName)) {}

  int serialize(void** out) override;

private:
  std::shared_ptr<const std::string> name;
};

/** Gives a file provider these values as a session holds them: the library's
 *  setter would clamp the rate.  Its file stays as it is. */
void setFileSettings(TovAudioFile& file, int playRate, double srcIn, double srcOut);

/** Empties the mixer and sets its gain as a session holds it, which may be
 *  more than the library's setter lets through. */
void emptyWithGain(TovAudioMixer& mixer, float masterGain);
