#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace support {

/** Builds files and blobs byte by byte, one call per field. */
class Bytes {
public:
  Bytes& text(std::string_view characters);
  Bytes& u8(unsigned int value);
  Bytes& u16le(unsigned int value);
  Bytes& u16be(unsigned int value);
  Bytes& u24le(unsigned int value);
  Bytes& u24be(unsigned int value);
  Bytes& u32le(std::uint64_t value);
  Bytes& u32be(std::uint64_t value);
  Bytes& f32be(float value);
  Bytes& f64be(double value);
  Bytes& zeros(std::size_t count);
  Bytes& append(const Bytes& other);
  Bytes& append(const std::vector<std::uint8_t>& other);

  const std::vector<std::uint8_t>& data() const { return bytes; }
  std::size_t size() const { return bytes.size(); }

private:
  Bytes& littleEndian(std::uint64_t value, int count);
  Bytes& bigEndian(std::uint64_t value, int count);
  std::vector<std::uint8_t> bytes;
};

/** A whole WAV file: 44 bytes of header with the stated sizes right, then
 *  @p samples. */
Bytes wavFile(unsigned int channels, unsigned int rate, unsigned int bits, const Bytes& samples);

/** A whole AIFF file: 54 bytes of header, then @p samples, of which @p frames
 *  says the frame count of "COMM". */
Bytes aiffFile(unsigned int channels, std::uint32_t frames, unsigned int rate, unsigned int bits,
               const Bytes& samples);

/** The 10 bytes of an 80-bit extended number for a whole rate of 2 or more. */
Bytes extendedRate(std::uint32_t rate);

} // namespace support
