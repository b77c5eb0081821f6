#include <algorithm>
#include <cstring>

#include "core/TovBuffer.h"
#include "core/TovCompressor.h"
#include "fuzz/Seeds.h"
#include "tests/support/SettingsBlobs.h"

// Bytes made into text and back.

namespace fuzz {

namespace {

using support::Bytes;
using Octets = std::vector<std::uint8_t>;

constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

Octets contents(const TovBuffer& buffer)
{
  return Octets(buffer.getData(), buffer.getData() + buffer.getSize());
}

/** Text of a stream that the compressor may never have made. */
std::string digitsOf(const Octets& bytes)
{
  std::string text = "z1";
  for (std::size_t bit = 0; bit < bytes.size() * 8; bit += 6) {
    const unsigned int high = bytes[bit / 8];
    const unsigned int low = bit / 8 + 1 < bytes.size() ? bytes[bit / 8 + 1] : 0u;
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
  const std::string text = reinterpret_cast<const char*>(buffer.getData());
  require(text.size() + 1 == buffer.getSize(), "the buffer holds the text");
  require(text.find_first_not_of(kDigits) == std::string::npos, "the text is all digits");
  return text;
}

void checkText(const std::string& text)
{
  TovBuffer once;
  const int status = TovCompressor::decompressString(text.c_str(), once);
  require(status == 0 || once.getSize() == 0, "bad text gives nothing");

  std::string wrapped = " ";
  for (const char c : text)
    wrapped += std::string(1, c) + "\r\n";
  TovBuffer inPlace;
  inPlace.allocate(wrapped.size() + 1);
  std::memcpy(inPlace.getData(), wrapped.c_str(), wrapped.size());
  const char* const ownText = reinterpret_cast<const char*>(inPlace.getData());
  require(TovCompressor::decompressString(ownText, inPlace) == status, "blanks change nothing");
  require(contents(inPlace) == contents(once), "nor does the place of the text");

  if (status == 0) {
    TovBuffer again;
    require(TovCompressor::decompressString(compressed(contents(once)).c_str(), again) == 0 &&
                contents(again) == contents(once),
            "what was read can be written and read");
  }
}

void run(Input& input)
{
  const int kind = input.below(3);
  const Octets bytes = input.rest();
  if (kind == 0)
    checkText(std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)));
  else
    checkText(kind == 1 ? compressed(bytes) : digitsOf(bytes));
}

} // namespace

extern const Target textTarget;
const Target textTarget = {"text", run, textSeeds,
                           "hostcore/TovCompressor.cpp hostcore/TovBuffer.cpp"};

} // namespace fuzz
