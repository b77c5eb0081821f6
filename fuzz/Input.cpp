#include "fuzz/Input.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace fuzz {

std::uint64_t Input::bigEndian(int count)
{
  std::uint64_t value = 0;
  for (int i = 0; i < count; ++i)
    value = value << 8 | (position < size ? data[position++] : 0u);
  return value;
}

unsigned int Input::u8()
{
  return static_cast<unsigned int>(bigEndian(1));
}
unsigned int Input::u16()
{
  return static_cast<unsigned int>(bigEndian(2));
}
std::uint32_t Input::u32()
{
  return static_cast<std::uint32_t>(bigEndian(4));
}
std::uint64_t Input::u64()
{
  return bigEndian(8);
}
int Input::s8()
{
  return static_cast<std::int8_t>(u8());
}
float Input::f32()
{
  return std::bit_cast<float>(u32());
}
double Input::f64()
{
  return std::bit_cast<double>(u64());
}

int Input::below(int limit)
{
  return static_cast<int>(u8()) % limit;
}

double Input::seconds()
{
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kEdges[16] = {0.0,      -0.0,    kNaN,   kInfinity, -kInfinity, DBL_MAX,
                                 -DBL_MAX, DBL_MIN, 1e-9,   -1e-9,     1e9,        -1e9,
                                 1e13,     -1e13,   9.3e18, 0.02};
  const unsigned int kind = u8();
  if (kind < 16)
    return kEdges[kind];
  if (kind == 16)
    return f64();
  return static_cast<std::int32_t>(u32()) / 48000.0;
}

float Input::factor()
{
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kEdges[8] = {0.0f,      -0.0f,      std::numeric_limits<float>::quiet_NaN(),
                               kInfinity, -kInfinity, FLT_MAX,
                               FLT_MIN,   3.1e-5f};
  const unsigned int kind = u8();
  if (kind < 8)
    return kEdges[kind];
  return kind == 8 ? f32() : (static_cast<float>(kind) - 64.0f) / 64.0f;
}

int Input::rate(std::span<const int> known)
{
  const unsigned int kind = u8();
  return kind < 128 ? known[kind % known.size()] : static_cast<int>(u32() >> (kind & 31));
}

float Input::phase()
{
  constexpr float kEdges[] = {0.0f, 0.99999994f, 1.0f, 5.9604645e-8f, 0.5f};
  const unsigned int kind = u8();
  return kind < 5 ? kEdges[kind] : static_cast<float>(u16()) / 65536.0f;
}

std::string Input::text()
{
  const std::vector<std::uint8_t> characters = bytes(u8());
  return std::string(characters.begin(), characters.end());
}

std::vector<std::uint8_t> Input::bytes(std::size_t count)
{
  const std::size_t taken = std::min(count, size - position);
  const std::uint8_t* const first = data + position;
  position += taken;
  return std::vector<std::uint8_t>(first, first + taken);
}

std::string Input::restOfText()
{
  const std::vector<std::uint8_t> left = rest();
  return std::string(left.begin(), std::find(left.begin(), left.end(), 0));
}

std::string Input::peek(std::size_t count) const
{
  const std::size_t taken = std::min(count, size - position);
  return std::string(reinterpret_cast<const char*>(data) + position, taken);
}

void require(bool holds, const char* what)
{
  if (holds)
    return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

} // namespace fuzz
