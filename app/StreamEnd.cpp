#include "app/StreamEnd.h"

#include <algorithm>
#include <optional>

#include "app/FirstBytes.h"
#include "app/HeaderChunks.h"

namespace {

/** What a Xing header says, as far as it says it. */
struct XingHeader {
  std::optional<long long> frames;
  std::optional<long long> bytes;
  long long streamBegin; ///< first byte of the frame that holds it
};

/** Behind the tags, which others put before the sound. */
long long mpegBegin(HeaderBytes& bytes)
{
  constexpr int kMostTags = 16;
  constexpr int kTagHeader = 10;
  long long position = 0;
  for (int tag = 0; tag < kMostTags && bytes.text(position, 3) == "ID3"; ++tag) {
    const std::uint32_t size = bytes.number(position + 6, 4); // seven bits a byte
    position += kTagHeader + ((size >> 24 & 0x7F) << 21 | (size >> 16 & 0x7F) << 14 |
                              (size >> 8 & 0x7F) << 7 | (size & 0x7F));
  }
  return position;
}

std::optional<XingHeader> findXing(HeaderBytes& bytes)
{
  constexpr int kLookedAt = 256; // the header stands 13 to 40 bytes into the first frame
  const long long begin = mpegBegin(bytes);
  const std::string start = bytes.text(begin, kLookedAt);
  const std::size_t at = std::min(start.find("Xing"), start.find("Info"));
  if (at == std::string::npos) {
    return std::nullopt;
  }
  const long long position = begin + static_cast<long long>(at);
  const std::uint32_t flags = bytes.number(position + 4, 4);
  const bool hasFrames = (flags & 1) != 0;
  XingHeader header = {std::nullopt, std::nullopt, begin};
  if (hasFrames) {
    header.frames = bytes.number(position + 8, 4);
  }
  if ((flags & 2) != 0) {
    header.bytes = bytes.number(position + (hasFrames ? 12 : 8), 4);
  }
  return header;
}

std::string whyMpegCutShort(const std::string& path)
{
  constexpr int kLeastStream = 128; // two frames, at the lowest rate
  HeaderBytes bytes(path, true);
  if (bytes.size() - mpegBegin(bytes) < kLeastStream) {
    return "is cut short: it ends in its first frame";
  }
  const std::optional<XingHeader> xing = findXing(bytes);
  if (!xing || !xing->bytes || *xing->bytes <= bytes.size() - xing->streamBegin) {
    return std::string();
  }
  return "is cut short: its header promises " + std::to_string(*xing->bytes) +
         " bytes, the file holds " + std::to_string(bytes.size() - xing->streamBegin);
}

/** The last page says that it is the last, and lies in the file. */
bool endsWithLastPage(HeaderBytes& bytes)
{
  constexpr int kLongestPage = 27 + 255 + 255 * 255;
  constexpr int kFlagsAt = 5;
  constexpr char kLastPage = 4;
  const int looked = static_cast<int>(std::min<long long>(bytes.size(), 2LL * kLongestPage));
  const std::string tail = bytes.text(bytes.size() - looked, looked);
  const std::size_t page = tail.rfind("OggS");
  if (page == std::string::npos || tail.size() < page + 27) {
    return false;
  }
  const std::size_t segments = static_cast<unsigned char>(tail[page + 26]);
  std::size_t end = page + 27 + segments;
  for (std::size_t i = 0; i < segments && page + 27 + i < tail.size(); ++i) {
    end += static_cast<unsigned char>(tail[page + 27 + i]);
  }
  return (tail[page + kFlagsAt] & kLastPage) != 0 && end <= tail.size();
}

} // namespace

bool hasStatedMpegLength(const std::string& path)
{
  HeaderBytes bytes(path, true);
  const std::optional<XingHeader> xing = findXing(bytes);
  return xing && xing->frames;
}

std::string whyStreamCutShort(const std::string& path)
{
  const std::string format = soundFormatByFirstBytes(path);
  if (format == "MP3") {
    return whyMpegCutShort(path);
  }
  if (format == "Ogg") {
    HeaderBytes bytes(path, false);
    return endsWithLastPage(bytes) ? std::string() : "is cut short: its last page is missing";
  }
  return std::string();
}
