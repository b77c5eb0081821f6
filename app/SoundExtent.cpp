#include "app/SoundExtent.h"

#include "app/FirstBytes.h"
#include "app/HeaderChunks.h"
#include "app/StreamEnd.h"

namespace {

/** How the chunks of a container are laid out. */
struct Grammar {
  const char* format;
  int idBytes;
  int sizeBytes;
  bool isBigEndian;
  bool countsHeader; ///< a size counts its chunk's header too
  int alignment;
  int firstChunk;
  const char* soundId;
  bool hasContainerSize; ///< behind the first four bytes, counted from behind it
};

constexpr Grammar kGrammars[] = {
    {"WAV", 4, 4, false, false, 2, 12, "data", true},
    {"RF64", 4, 4, false, false, 2, 12, "data", false},
    {"W64", 16, 8, false, true, 8, 40, "data", false},
    {"AIFF", 4, 4, true, false, 2, 12, "SSND", true},
    {"AIFC", 4, 4, true, false, 2, 12, "SSND", true},
    {"CAF", 4, 8, true, false, 1, 8, "data", false},
};

/** What programs write that cannot go back to fill in a size of 32 bits. */
bool isPlaceholder(long long size)
{
  return (size >= 0x7EFFFF00 && size <= 0x7F000010) ||
         (size >= 0x7FFFF000 - 256 && size <= 0x80000100) ||
         (size >= 0xFFFFF000 && size <= 0xFFFFFFFF);
}

long long number(HeaderBytes& bytes, long long position, int count, bool isBigEndian)
{
  if (count <= 4) {
    return bytes.number(position, count);
  }
  const unsigned long long first = bytes.number(position, 4);
  const unsigned long long second = bytes.number(position + 4, 4);
  return static_cast<long long>(isBigEndian ? first << 32 | second : second << 32 | first);
}

/** Whether what follows could be a chunk, and not sound. */
bool isChunkAt(HeaderBytes& bytes, long long position, const Grammar& grammar)
{
  for (const char c : bytes.text(position, 4)) {
    if (c < ' ' || c > '~') {
      return false;
    }
  }
  const long long size =
      number(bytes, position + grammar.idBytes, grammar.sizeBytes, grammar.isBigEndian);
  return size >= 0 && size <= bytes.size() - position - grammar.idBytes - grammar.sizeBytes;
}

SoundExtent::Verdict verdictOn(HeaderBytes& bytes, const Grammar& grammar, long long begin,
                               const SoundExtent& extent)
{
  constexpr long long kAiffHeader = 8; // of the sound itself
  const long long least = grammar.soundId[0] == 'S' ? kAiffHeader : 0;
  if (extent.stated <= least && extent.held > least) {
    return isChunkAt(bytes, begin + extent.stated, grammar) ? SoundExtent::whole
                                                            : SoundExtent::wrongSize;
  }
  if (extent.stated <= extent.held) {
    return SoundExtent::whole;
  }
  if (!grammar.hasContainerSize) {
    return SoundExtent::cutShort;
  }
  const long long container = number(bytes, 4, 4, grammar.isBigEndian) + 8;
  const bool agrees = container >= begin + extent.stated;
  return agrees && !isPlaceholder(extent.stated) ? SoundExtent::cutShort : SoundExtent::wrongSize;
}

SoundExtent extentByChunks(HeaderBytes& bytes, const Grammar& grammar)
{
  constexpr int kMostChunks = 1 << 16;
  const int header = grammar.idBytes + grammar.sizeBytes;
  SoundExtent extent;
  extent.isBigEndian = grammar.isBigEndian;
  extent.sizeBytes = grammar.sizeBytes;
  long long position = grammar.firstChunk;
  for (int chunk = 0; chunk < kMostChunks && position <= bytes.size() - header; ++chunk) {
    extent.sizeAt = position + grammar.idBytes;
    extent.stated = number(bytes, extent.sizeAt, grammar.sizeBytes, grammar.isBigEndian) -
                    (grammar.countsHeader ? header : 0);
    const bool isSound = bytes.text(position, 4) == grammar.soundId;
    position += header;
    if (isSound) {
      extent.held = bytes.size() - position;
      if (bytes.text(0, 4) == "RF64" && extent.stated == 0xFFFFFFFF) {
        extent.stated = number(bytes, 28, 8, false); // of the first chunk, "ds64"
      }
      const bool isOpenEnded = extent.stated < 0; // CAF
      extent.verdict =
          isOpenEnded ? SoundExtent::whole : verdictOn(bytes, grammar, position, extent);
      return extent;
    }
    if (extent.stated < 0 || extent.stated > bytes.size() - position) {
      break;
    }
    position += (extent.stated + grammar.alignment - 1) / grammar.alignment * grammar.alignment;
  }
  return SoundExtent();
}

SoundExtent extentOfAu(const std::string& path)
{
  constexpr long long kUnknown = 0xFFFFFFFF;
  HeaderBytes bytes(path, HeaderBytes(path, true).text(0, 4) == ".snd");
  SoundExtent extent;
  extent.stated = bytes.number(8, 4);
  extent.held = bytes.size() - bytes.number(4, 4);
  const bool isThere = extent.stated == kUnknown || extent.stated <= extent.held;
  extent.verdict = isThere ? SoundExtent::whole : SoundExtent::cutShort;
  return extent;
}

std::string promise(const SoundExtent& extent)
{
  return "is cut short: its header promises " + std::to_string(extent.stated) +
         " bytes of sound, the file holds " + std::to_string(extent.held > 0 ? extent.held : 0);
}

} // namespace

SoundExtent soundExtentOf(const std::string& path)
{
  const std::string format = soundFormatByFirstBytes(path);
  if (format == "AU") {
    return extentOfAu(path);
  }
  for (const Grammar& known : kGrammars) {
    if (format == known.format) {
      Grammar grammar = known;
      HeaderBytes probe(path, false);
      grammar.isBigEndian = known.isBigEndian || probe.text(0, 4) == "RIFX";
      HeaderBytes bytes(path, grammar.isBigEndian);
      return extentByChunks(bytes, grammar);
    }
  }
  return SoundExtent();
}

std::string whyCutShort(const std::string& path)
{
  if (const std::string reason = whyStreamCutShort(path); !reason.empty()) {
    return reason;
  }
  const SoundExtent extent = soundExtentOf(path);
  return extent.verdict == SoundExtent::cutShort ? promise(extent) : std::string();
}
