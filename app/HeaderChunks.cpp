#include "app/HeaderChunks.h"

HeaderBytes::HeaderBytes(const std::string& path, bool isBigEndian)
    : stream(path, std::ios::binary), bigEndian(isBigEndian)
{
  stream.seekg(0, std::ios::end);
  length = static_cast<long long>(stream.tellg());
}

std::string HeaderBytes::text(long long position, int count)
{
  std::string bytes(static_cast<std::size_t>(count), '\0');
  stream.clear();
  stream.seekg(position);
  stream.read(bytes.data(), count);
  return bytes;
}

std::uint32_t HeaderBytes::number(long long position, int count)
{
  const std::string bytes = text(position, count);
  std::uint32_t value = 0;
  for (int i = 0; i < count; ++i) {
    const int index = bigEndian ? i : count - 1 - i;
    value = value << 8 | static_cast<unsigned char>(bytes[static_cast<std::size_t>(index)]);
  }
  return value;
}

ChunkPlaces findChunks(HeaderBytes& bytes, const char* descriptionId, const char* soundId,
                       bool areOddSizesPadded)
{
  // As many as the library looks at: no file of worth has more.
  constexpr int kMostChunks = 1 << 16;
  ChunkPlaces places;
  long long position = 12;
  for (int chunk = 0; chunk < kMostChunks && position + 8 <= bytes.size() &&
                      !(places.description >= 0 && places.sound >= 0);
       ++chunk) {
    const std::string id = bytes.text(position, 4);
    const std::uint32_t size = bytes.number(position + 4, 4);
    position += 8;
    if (id == descriptionId) {
      places.isAnyRepeated = places.isAnyRepeated || places.description >= 0;
      places.description = position;
      places.descriptionSize = size;
    } else if (id == soundId) {
      places.isAnyRepeated = places.isAnyRepeated || places.sound >= 0;
      places.sound = position;
    }
    // The library does not go over chunks of 2 GB and more either.
    if (size < 0x80000000u) {
      position += size + (areOddSizesPadded ? size % 2 : 0);
    }
  }
  return places;
}
