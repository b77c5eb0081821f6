#pragma once

#include <cstdint>
#include <cstring>

#include "core/TovFile.h"
#include "core/TovSys.h"

/** Walks the chunks of a file, which stands at its start, until its format
 *  chunk and its sample chunk are met, in either order: 0, or 1 where the file
 *  is not acceptable.
 *
 *      container | size | form | chunk id | size | body | chunk id | size ...
 *
 *  @p Layout says how the file format goes:
 *  - `Desc`, its chunk header, read by fillChunkDesc();
 *  - kOwner, for messages; kContainer, kForm, kFormatId, kSampleId;
 *    kFormatBytes, what the format chunk holds at least;
 *  - takeFormat(body), the bytes of the format chunk;
 *  - takeSamples(file, size, skip): the file stands behind the header of the
 *    sample chunk; sets the bytes to skip; false where the file ends.
 *
 *  Sizes are taken as stated: an odd one is not rounded up, as files of this
 *  library have no pad bytes, and one of 2^31 or more skips nothing.  A file
 *  that has neither chunk among its first 65536 is not acceptable: others have
 *  a few dozen, and walking through a made-up one could take for ever.
 */
template <typename Layout>
class TovChunkWalk {
public:
  TovChunkWalk(TovFile& f, Layout& l) : file(f), layout(l) {}

  int run()
  {
    char form[4];
    if (!readDesc() || !isChunk(Layout::kContainer) || file.read(form, 4) != 4 ||
        std::memcmp(form, Layout::kForm, 4) != 0)
      return 1;

    for (int chunk = 0; chunk < kMostChunks && readDesc(); ++chunk) {
      std::uint32_t skip = desc.size;
      if (isChunk(Layout::kFormatId)) {
        if (!enterFormat(skip))
          return 1;
      } else if (isChunk(Layout::kSampleId)) {
        if (!enterSamples(skip))
          return 1;
      }
      if (formatSeen && samplesSeen)
        return 0;
      if (static_cast<std::int32_t>(skip) > 0 && !skipBytes(skip))
        return 1;
    }
    return 1;
  }

private:
  static constexpr int kMostChunks = 1 << 16;

  bool readDesc()
  {
    unsigned char bytes[8];
    if (file.read(bytes, sizeof bytes) != sizeof bytes)
      return false;
    fillChunkDesc(desc, bytes);
    return true;
  }

  bool skipBytes(std::uint32_t bytes)
  {
    const long long position = file.tell();
    return position >= 0 && file.seek(position + bytes, 0) != 0;
  }

  bool isChunk(const char* id) const { return std::memcmp(desc.id, id, 4) == 0; }

  bool enterFormat(std::uint32_t& skip)
  {
    if (isDuplicate(formatSeen, Layout::kFormatId))
      return false;
    if (desc.size < Layout::kFormatBytes) {
      TovSys::error("%E%s: Unrecognized \"%s\" chunk found...\n", Layout::kOwner,
                    Layout::kFormatId);
      return false;
    }
    unsigned char body[Layout::kFormatBytes];
    if (file.read(body, sizeof body) != sizeof body)
      return false;
    layout.takeFormat(body);
    skip = desc.size - Layout::kFormatBytes;
    return true;
  }

  bool enterSamples(std::uint32_t& skip)
  {
    return !isDuplicate(samplesSeen, Layout::kSampleId) &&
           layout.takeSamples(file, desc.size, skip);
  }

  /** Reports a second chunk of a kind and remembers the first. */
  static bool isDuplicate(bool& seen, const char* id)
  {
    if (seen)
      TovSys::error("%E%s: duplicate \"%s\" chunk found\n", Layout::kOwner, id);
    const bool wasSeen = seen;
    seen = true;
    return wasSeen;
  }

  TovFile& file;
  Layout& layout;
  typename Layout::Desc desc;
  bool formatSeen = false;
  bool samplesSeen = false;
};
