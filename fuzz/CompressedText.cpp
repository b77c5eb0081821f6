#include "fuzz/CompressedText.h"

#include <cstring>

#include "core/TovBuffer.h"
#include "core/TovCompressor.h"
#include "fuzz/Input.h"

namespace fuzz {

namespace {

using Octets = std::vector<std::uint8_t>;

constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

Octets contents(const TovBuffer& buffer)
{
  return Octets(buffer.getData(), buffer.getData() + buffer.getSize());
}

const char* textIn(const TovBuffer& buffer)
{
  return reinterpret_cast<const char*>(buffer.getData());
}

} // namespace

std::string digitsOf(const Octets& stream)
{
  std::string text = "z1";
  for (std::size_t bit = 0; bit < stream.size() * 8; bit += 6) {
    const unsigned int high = stream[bit / 8];
    const unsigned int low = bit / 8 + 1 < stream.size() ? stream[bit / 8 + 1] : 0u;
    text += kDigits[(high << 8 | low) >> (10 - bit % 8) & 63];
  }
  return text;
}

std::string compressed(const Octets& bytes)
{
  TovBuffer buffer;
  buffer.allocate(bytes.size());
  if (!bytes.empty())
    std::memcpy(buffer.getData(), bytes.data(), bytes.size());
  require(TovCompressor::compressBuffer(buffer, static_cast<int>(bytes.size()) + 1) != 0,
          "more than there is is not compressed");
  require(TovCompressor::compressBuffer(buffer, -1) != 0, "nor is less than nothing");
  require(contents(buffer) == bytes, "a refusal leaves the buffer as it was");
  require(TovCompressor::compressBuffer(buffer, static_cast<int>(bytes.size())) == 0,
          "bytes are compressed");
  const std::string text = textIn(buffer);
  require(text.size() + 1 == buffer.getSize(), "the buffer holds the text");
  require(text.find_first_not_of(kDigits) == std::string::npos, "the text is all digits");
  return text;
}

Decompressed decompressed(const std::string& text)
{
  TovBuffer buffer;
  const int status = TovCompressor::decompressString(text.c_str(), buffer);
  return {status, contents(buffer)};
}

Decompressed decompressedInPlace(const std::string& text)
{
  TovBuffer buffer;
  buffer.allocate(text.size() + 1);
  std::memcpy(buffer.getData(), text.c_str(), text.size());
  const int status = TovCompressor::decompressString(textIn(buffer), buffer);
  return {status, contents(buffer)};
}

} // namespace fuzz
