#include "tests/support/Bytes.h"

#include <bit>

namespace support {

Bytes& Bytes::littleEndian(std::uint64_t value, int count)
{
  for (int i = 0; i < count; ++i)
    bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i) & 0xff));
  return *this;
}

Bytes& Bytes::bigEndian(std::uint64_t value, int count)
{
  for (int i = count - 1; i >= 0; --i)
    bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i) & 0xff));
  return *this;
}

Bytes& Bytes::text(std::string_view characters)
{
  bytes.insert(bytes.end(), characters.begin(), characters.end());
  return *this;
}

Bytes& Bytes::u8(unsigned int value) { return littleEndian(value, 1); }
Bytes& Bytes::u16le(unsigned int value) { return littleEndian(value, 2); }
Bytes& Bytes::u16be(unsigned int value) { return bigEndian(value, 2); }
Bytes& Bytes::u24le(unsigned int value) { return littleEndian(value, 3); }
Bytes& Bytes::u24be(unsigned int value) { return bigEndian(value, 3); }
Bytes& Bytes::u32le(std::uint64_t value) { return littleEndian(value, 4); }
Bytes& Bytes::u32be(std::uint64_t value) { return bigEndian(value, 4); }
Bytes& Bytes::f32be(float value) { return bigEndian(std::bit_cast<std::uint32_t>(value), 4); }
Bytes& Bytes::f64be(double value) { return bigEndian(std::bit_cast<std::uint64_t>(value), 8); }

Bytes& Bytes::zeros(std::size_t count)
{
  bytes.insert(bytes.end(), count, 0);
  return *this;
}

Bytes& Bytes::append(const Bytes& other)
{
  return append(other.bytes);
}

Bytes& Bytes::append(const std::vector<std::uint8_t>& other)
{
  bytes.insert(bytes.end(), other.begin(), other.end());
  return *this;
}

Bytes wavFile(unsigned int channels, unsigned int rate, unsigned int bits, const Bytes& samples)
{
  const unsigned int bytesPerFrame = channels * ((bits + 7) / 8);
  return Bytes()
      .text("RIFF").u32le(36 + samples.size())
      .text("WAVE")
      .text("fmt ").u32le(16)
      .u16le(1)                    // integer PCM
      .u16le(channels)
      .u32le(rate)
      .u32le(rate * bytesPerFrame) // bytes per second
      .u16le(bytesPerFrame)
      .u16le(bits)
      .text("data").u32le(samples.size())
      .append(samples);
}

Bytes extendedRate(std::uint32_t rate)
{
  const int log2 = 31 - std::countl_zero(rate);
  return Bytes()
      .u16be(static_cast<unsigned int>(16383 + log2)) // sign and exponent
      .u32be(rate << (31 - log2))                     // mantissa with its leading one
      .u32be(0);
}

Bytes aiffFile(unsigned int channels, std::uint32_t frames, unsigned int rate, unsigned int bits,
               const Bytes& samples)
{
  return Bytes()
      .text("FORM").u32be(46 + samples.size())
      .text("AIFF")
      .text("COMM").u32be(18)
      .u16be(channels)
      .u32be(frames)
      .u16be(bits)
      .append(extendedRate(rate))
      .text("SSND").u32be(8 + samples.size())
      .u32be(0) // offset
      .u32be(0) // block size
      .append(samples);
}

} // namespace support
