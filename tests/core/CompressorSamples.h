#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "core/TovCompressor.h"

namespace support {

inline std::vector<std::uint8_t> randomBytes(std::size_t count, unsigned int seed)
{
  std::mt19937 random(seed);
  std::vector<std::uint8_t> bytes(count);
  for (std::uint8_t& byte : bytes)
    byte = static_cast<std::uint8_t>(random());
  return bytes;
}

inline void fill(TovBuffer& buffer, const std::vector<std::uint8_t>& bytes)
{
  buffer.allocate(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i)
    buffer.getData()[i] = bytes[i];
}

inline std::vector<std::uint8_t> bytesOf(const TovBuffer& buffer)
{
  return {buffer.getData(), buffer.getData() + buffer.getSize()};
}

/** The text up to its closing 0; "(unterminated)" where the buffer has none. */
inline std::string textOf(const TovBuffer& buffer)
{
  const std::vector<std::uint8_t> bytes = bytesOf(buffer);
  const std::string all(bytes.begin(), bytes.end());
  const std::size_t end = all.find('\0');
  return end == std::string::npos ? "(unterminated)" : all.substr(0, end);
}

/** "(refused)" where compressBuffer() fails. */
inline std::string compressed(const std::vector<std::uint8_t>& bytes)
{
  TovBuffer buffer;
  fill(buffer, bytes);
  if (TovCompressor::compressBuffer(buffer, static_cast<int>(bytes.size())) != 0)
    return "(refused)";
  return textOf(buffer);
}

} // namespace support
