#pragma once

#include <cstdint>
#include <cstring>

// The positions of a request's outputs are phase, phase + step ... by repeated
// addition.  While a sum stays below the next power of two it is rounded to the
// same grid as the one before, so that each addition moves it by the same
// amount: a run of positions is x + k * spacing, exactly, and needs no chain of
// additions.  (Halfway between two points of the grid the sum goes to the even
// one, and from an even one always to the next: only a run's first move may
// differ.)

namespace {

class EvenPositions {
public:
  EvenPositions() = default;
  EvenPositions(double phase, double d) : next(phase), step(d) { beginRun(); }

  /** The position that comes next. */
  double position() const { return next; }

  /** Whether the next @p count positions are evenly spaced, and how far. */
  bool staysEven(long long count) const { return count <= runLength; }
  double evenSpacing() const { return spacing; }

  /** Writes the distances to the input frames at or above the next @p count
   *  positions, and these frames, counted from @p base. */
  void take(float* distances, int* frames, double base, long long count)
  {
    while (count > 0) {
      const long long n = count < runLength ? count : runLength;
      const double first = next;
      const double run = spacing;
      const int size = static_cast<int>(n);
      for (int k = 0; k < size; ++k) {
        const double x = first + static_cast<double>(k) * run;
        const double offset = x - base; // exact: both lie on the grid of x
        const int whole = static_cast<int>(offset);
        const int c = whole + (static_cast<double>(whole) < offset ? 1 : 0);
        distances[k] = static_cast<float>(static_cast<double>(c) - offset);
        frames[k] = c;
      }
      distances += n;
      frames += n;
      count -= n;
      skip(n);
    }
  }

  /** Goes on by @p count positions. */
  void skip(long long count)
  {
    while (count >= runLength) {
      count -= runLength;
      next = next + static_cast<double>(runLength - 1) * spacing + step;
      beginRun();
    }
    next += static_cast<double>(count) * spacing;
    runLength -= count;
  }

private:
  /** The power of two above a position. */
  static double binadeEnd(double x)
  {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &x, sizeof bits);
    bits = (bits & 0x7ff0000000000000u) + 0x0010000000000000u;
    double end = 0.0;
    std::memcpy(&end, &bits, sizeof end);
    return end;
  }

  void beginRun()
  {
    const double second = next + step;
    const double end = binadeEnd(next);
    spacing = second - next;
    const bool isEven = second + step <= end && second + step - second == spacing;
    runLength = spacing == 0.0 ? kLongestRun : 1;
    if (!isEven || !(spacing > 0.0))
      return;
    // Never rounded up to a whole number: both are at most 2^52 points of the
    // grid, so that what is missing to one is more than half a bit.
    const double most = (end - next) / spacing;
    runLength = most < kLongestRun ? static_cast<long long>(most) + 1 : kLongestRun;
  }

  static constexpr long long kLongestRun = 1 << 30;

  double next = 0.0;
  double step = 0.0;
  double spacing = 0.0;    ///< of the run that next stands in
  long long runLength = 1; ///< positions of it that are left, next included
};

} // namespace
