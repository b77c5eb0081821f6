#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fuzz {

/** Text of a stream that the compressor may never have made. */
std::string digitsOf(const std::vector<std::uint8_t>& stream);

/** What the compressor makes of the bytes, after it was asked for what it must
 *  refuse: one line of digits. */
std::string compressed(const std::vector<std::uint8_t>& bytes);

struct Decompressed {
  int status;
  std::vector<std::uint8_t> bytes;
};

Decompressed decompressed(const std::string& text);

/** The same of text that stands in the buffer that takes the bytes. */
Decompressed decompressedInPlace(const std::string& text);

} // namespace fuzz
