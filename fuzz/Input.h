#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace fuzz {

/** What a target is given, read from the front: numbers most significant byte
 *  first, as support::Bytes writes them with the `be` calls.  Behind the end
 *  everything reads as 0. */
class Input {
public:
  Input(const std::uint8_t* bytes, std::size_t count) : data(bytes), size(count) {}

  bool isEmpty() const { return position >= size; }

  unsigned int u8();
  unsigned int u16();
  std::uint32_t u32();
  std::uint64_t u64();
  int s8();
  float f32();
  double f64();
  bool flag() { return (u8() & 1) != 0; }

  /** A number from 0 to limit - 1, from one byte. */
  int below(int limit);

  /** A time in seconds: u8() chooses between edge cases (below 16), f64() (16)
   *  and, for all others, a count of 48000ths in 32 bits. */
  double seconds();

  /** A factor: u8() chooses between edge cases (below 8), f32() (8) and, for
   *  all others, itself in 64ths around 1. */
  float factor();

  /** A sample rate: u8() chooses one of @p known (below 128) or how many bits
   *  of u32() are left out. */
  int rate(std::span<const int> known);

  /** Where between two frames something begins: u8() chooses between edge cases
   *  (below 5) and, for all others, a count of 65536ths in 16 bits. */
  float phase();

  /** As many bytes as u8() says. */
  std::string text();

  std::vector<std::uint8_t> bytes(std::size_t count);
  std::vector<std::uint8_t> rest() { return bytes(size - position); }

  /** The rest, up to its first 0. */
  std::string restOfText();

  /** The next @p count bytes, without moving on. */
  std::string peek(std::size_t count) const;

private:
  std::uint64_t bigEndian(int count);
  const std::uint8_t* data;
  std::size_t size;
  std::size_t position = 0;
};

/** Ends the process, with @p what on standard error, where something that must
 *  hold does not. */
void require(bool holds, const char* what);

} // namespace fuzz
