#pragma once

#include <cstdint>

// Numbers at a cursor in a file's header, which moves on by their size.

inline std::uint32_t tovReadLittleEndian(const unsigned char*& cursor, int bytes)
{
  std::uint32_t value = 0;
  for (int i = 0; i < bytes; ++i)
    value |= static_cast<std::uint32_t>(*cursor++) << (8 * i);
  return value;
}

inline std::uint32_t tovReadBigEndian(const unsigned char*& cursor, int bytes)
{
  std::uint32_t value = 0;
  for (int i = 0; i < bytes; ++i)
    value = value << 8 | *cursor++;
  return value;
}

inline void tovWriteLittleEndian(unsigned char*& cursor, std::uint32_t value, int bytes)
{
  for (int i = 0; i < bytes; ++i)
    *cursor++ = static_cast<unsigned char>(value >> (8 * i) & 0xff);
}

inline void tovWriteBigEndian(unsigned char*& cursor, std::uint32_t value, int bytes)
{
  for (int i = bytes - 1; i >= 0; --i)
    *cursor++ = static_cast<unsigned char>(value >> (8 * i) & 0xff);
}
