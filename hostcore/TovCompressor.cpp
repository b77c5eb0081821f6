#include "core/TovCompressor.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <vector>
#include <zlib.h>

// The text is a mark, "z1", that names form and version, and then the bytes
// of (length, stream) in base64url without padding: the length of the data as
// four bytes, most significant first, and the zlib stream of the data.

namespace {

using Bytes = std::vector<unsigned char>;

constexpr char kMark[] = {'z', '1'};
constexpr std::size_t kLengthBytes = 4;
constexpr unsigned long kLargestData = 64ul << 20;
constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr int kNoDigit = -1;

int digitValue(char c)
{
  const void* const found = c ? std::memchr(kDigits, c, sizeof kDigits - 1) : nullptr;
  return found ? static_cast<int>(static_cast<const char*>(found) - kDigits) : kNoDigit;
}

std::string toBase64(const Bytes& bytes)
{
  std::string text;
  text.reserve(bytes.size() / 3 * 4 + 4);
  unsigned int bits = 0;
  int bitCount = 0;
  for (const unsigned char byte : bytes) {
    bits = (bits << 8 | byte) & 0xffff;
    for (bitCount += 8; bitCount >= 6; bitCount -= 6)
      text += kDigits[bits >> (bitCount - 6) & 63];
  }
  if (bitCount > 0)
    text += kDigits[bits << (6 - bitCount) & 63];
  return text;
}

bool fromBase64(const std::string& text, Bytes& bytes)
{
  bytes.reserve(text.size() / 4 * 3 + 3);
  unsigned int bits = 0;
  int bitCount = 0;
  for (const char c : text) {
    const int value = digitValue(c);
    if (value == kNoDigit)
      return false;
    bits = (bits << 6 | static_cast<unsigned int>(value)) & 0xffff;
    bitCount += 6;
    if (bitCount >= 8) {
      bitCount -= 8;
      bytes.push_back(static_cast<unsigned char>(bits >> bitCount & 0xff));
    }
  }
  // Left over are the unused bits of the last digit: fewer than a digit, and 0.
  return bitCount < 6 && (bits & ((1u << bitCount) - 1)) == 0;
}

bool isBlank(char c)
{
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool inflateExactly(const Bytes& packed, TovBuffer& out)
{
  unsigned long length = 0;
  for (std::size_t i = 0; i < kLengthBytes; ++i)
    length = length << 8 | packed[i];

  // A stream of n bytes never holds more than about 1032 n: a length beyond
  // that is a lie, and not worth the memory.
  const unsigned long streamBytes = static_cast<unsigned long>(packed.size() - kLengthBytes);
  if (length > kLargestData || length / 1040 > streamBytes)
    return false;

  out.allocate(length);
  unsigned char spare = 0; // room for a byte that should not come
  uLongf inflated = length ? length : 1;
  uLong consumed = streamBytes;
  const int result = uncompress2(length ? out.getData() : &spare, &inflated,
                                 packed.data() + kLengthBytes, &consumed);
  if (result == Z_MEM_ERROR)
    throw std::bad_alloc();
  return result == Z_OK && inflated == length && consumed == streamBytes;
}

} // namespace

int TovCompressor::compressBuffer(TovBuffer& buffer, int length)
{
  if (length < 0 || static_cast<unsigned long>(length) > std::min(buffer.getSize(), kLargestData))
    return 1;

  const uLong dataBytes = static_cast<uLong>(length);
  uLongf streamBytes = compressBound(dataBytes);
  Bytes packed(kLengthBytes + streamBytes);
  for (std::size_t i = 0; i < kLengthBytes; ++i)
    packed[i] = static_cast<unsigned char>(dataBytes >> (8 * (kLengthBytes - 1 - i)) & 0xff);
  const unsigned char nothing = 0;
  const int result =
      compress2(packed.data() + kLengthBytes, &streamBytes, dataBytes ? buffer.getData() : &nothing,
                dataBytes, Z_BEST_COMPRESSION);
  if (result == Z_MEM_ERROR)
    throw std::bad_alloc();
  if (result != Z_OK)
    return 1;
  packed.resize(kLengthBytes + streamBytes);

  const std::string text = std::string(kMark, sizeof kMark) + toBase64(packed);
  buffer.allocate(static_cast<unsigned long>(text.size() + 1));
  std::memcpy(buffer.getData(), text.c_str(), text.size() + 1);
  return 0;
}

int TovCompressor::decompressString(const char* text, TovBuffer& out)
{
  std::string digits; // made first: the text may stand in the buffer itself
  for (; text && *text; ++text)
    if (!isBlank(*text))
      digits += *text;
  out.allocate(0);
  if (digits.compare(0, sizeof kMark, kMark, sizeof kMark) != 0)
    return 1;

  Bytes packed;
  if (!fromBase64(digits.substr(sizeof kMark), packed) || packed.size() < kLengthBytes ||
      !inflateExactly(packed, out)) {
    out.allocate(0);
    return 1;
  }
  return 0;
}
