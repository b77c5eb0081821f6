#pragma once

#include <utility>

// Vectors of kLanes samples, and of half as many double precision positions:
// both fill a register.  The source that includes this defines kLanes, Floats
// and Ints.

namespace {

typedef float HalfFloats __attribute__((vector_size(2 * kLanes)));
typedef double Doubles __attribute__((vector_size(4 * kLanes)));

Floats loaded(const float* in)
{
  Floats value;
  __builtin_memcpy(&value, in, sizeof value);
  return value;
}

void stored(float* out, Floats value)
{
  __builtin_memcpy(out, &value, sizeof value);
}

/** One double precision number per lane. */
struct Positions {
  Doubles half[2];
};

Positions loaded(const double* in)
{
  Positions value;
  __builtin_memcpy(&value, in, sizeof value);
  return value;
}

Ints bitsOf(Doubles value)
{
  return reinterpret_cast<Ints>(value);
}

Ints bitsOf(Floats value)
{
  return reinterpret_cast<Ints>(value);
}

/** Rounds up; of what is below 2^51. */
[[gnu::always_inline]] inline Doubles ceiling(Doubles x)
{
  constexpr double kNoFraction = 6755399441055744.0; // 1.5 * 2^52: sums are whole numbers
  const Doubles nearest = (x + kNoFraction) - kNoFraction;
  return nearest < x ? nearest + 1.0 : nearest;
}

template <int... kLane>
Floats joined(HalfFloats a, HalfFloats b, std::integer_sequence<int, kLane...>)
{
  return __builtin_shufflevector(a, b, kLane...);
}

[[gnu::always_inline]] inline Floats floatLanes(const Positions& value)
{
  return joined(__builtin_convertvector(value.half[0], HalfFloats),
                __builtin_convertvector(value.half[1], HalfFloats),
                std::make_integer_sequence<int, kLanes>{});
}

/** Each lane's number by @p factor, in double precision. */
[[gnu::always_inline]] inline Floats scaledLanes(Floats value, double factor)
{
  HalfFloats half[2];
  __builtin_memcpy(half, &value, sizeof half);
  return floatLanes({__builtin_convertvector(half[0], Doubles) * factor,
                     __builtin_convertvector(half[1], Doubles) * factor});
}

Ints truncatedLanes(Floats value)
{
  return __builtin_convertvector(value, Ints);
}

Floats floatLanes(Ints value)
{
  return __builtin_convertvector(value, Floats);
}

template <int... kLane>
Floats zippedLow(Floats a, Floats b, std::integer_sequence<int, kLane...>)
{
  return __builtin_shufflevector(a, b, (kLane / 2 + kLane % 2 * kLanes)...);
}

template <int... kLane>
Floats zippedHigh(Floats a, Floats b, std::integer_sequence<int, kLane...>)
{
  return __builtin_shufflevector(a, b, (kLanes / 2 + kLane / 2 + kLane % 2 * kLanes)...);
}

/** Zips the upper half of the rows into the lower one; as often as the number
 *  of lanes is a power of two, that is a transposition. */
template <int kTimes>
[[gnu::always_inline]] inline void zipRows(Floats (&rows)[kLanes])
{
  if constexpr (kTimes > 1) {
    constexpr std::make_integer_sequence<int, kLanes> kAll{};
    Floats zipped[kLanes];
#pragma GCC unroll 16
    for (int i = 0; i < kLanes / 2; ++i) {
      zipped[2 * i] = zippedLow(rows[i], rows[i + kLanes / 2], kAll);
      zipped[2 * i + 1] = zippedHigh(rows[i], rows[i + kLanes / 2], kAll);
    }
    zipRows<kTimes / 2>(zipped);
#pragma GCC unroll 16
    for (int i = 0; i < kLanes; ++i)
      rows[i] = zipped[i];
  }
}

[[gnu::always_inline]] inline void transpose(Floats (&rows)[kLanes])
{
  zipRows<kLanes>(rows);
}

} // namespace
