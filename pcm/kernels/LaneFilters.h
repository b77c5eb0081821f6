#pragma once

#include "pcm/kernels/PeriodPositions.h"
#include "pcm/kernels/ResamplingLoops.h"

// One output per lane, at distances that are nearly the same.  As long as all
// lanes fall between the same table entries these are constants, and only the
// fraction between two entries varies; else each lane fetches its own.  Each
// lane adds up its output in the plain order.
//
// Rows of input hold one frame of each lane; those of following frames follow.

namespace {

constexpr int kNoOutput = -1; ///< instead of that of a period

/** What is interpolated at once.  Several outputs, or channels, are several
 *  chains of additions, and the processor waits for none. */
template <std::size_t kOutputs, std::size_t kChannels>
struct LaneOutputs {
  Floats distances[kOutputs];              ///< to the frame at or above
  const float* right[kOutputs][kChannels]; ///< the row of that frame
  Floats sums[kOutputs][kChannels];        ///< the result

  LaneOutputs<1, kChannels> only(std::size_t i) const
  {
    LaneOutputs<1, kChannels> one;
    one.distances[0] = distances[i];
    for (std::size_t channel = 0; channel < kChannels; ++channel)
      one.right[0][channel] = right[i][channel];
    return one;
  }

  void clear()
  {
#pragma GCC unroll 4
    for (std::size_t i = 0; i < kOutputs; ++i)
      for (std::size_t channel = 0; channel < kChannels; ++channel)
        sums[i][channel] = Floats{};
  }

  void take(const LaneOutputs<1, kChannels>& one, std::size_t i)
  {
    for (std::size_t channel = 0; channel < kChannels; ++channel)
      sums[i][channel] = one.sums[0][channel];
  }

  /** Some lanes of the first output. */
  void take(const LaneOutputs<1, kChannels>& one, Ints isTaken)
  {
    for (std::size_t channel = 0; channel < kChannels; ++channel)
      sums[0][channel] = isTaken ? one.sums[0][channel] : sums[0][channel];
  }
};

/** A wing of one output, and where it lies between the table entries. */
struct WingLanes {
  Ints index;
  Floats fraction;
  const float* value; ///< those of the first lane
  const float* delta;

  WingLanes() = default;
  WingLanes(const TovKernels::FilterWing& wing, Floats distance)
  {
    const Floats position = distance * static_cast<float>(wing.samplesPerCrossing);
    index = truncatedLanes(position);
    fraction = position - floatLanes(index);
    value = wing.row(index[0]);
    delta = value + wing.rowLength / 2;
  }

  bool areShared() const { return areAllEqual(index, Ints{} + index[0]); }
};

/** Adds taps whose entries the lanes share: from the row @p first behind that of
 *  the frame at or above on. */
template <int kTaps, std::size_t kOutputs, std::size_t kChannels>
[[gnu::always_inline]] inline void addTaps(LaneOutputs<kOutputs, kChannels>& out,
                                           const WingLanes* wings, long long first,
                                           long long direction)
{
#pragma GCC unroll 16
  for (int tap = 0; tap < kTaps; ++tap)
#pragma GCC unroll 4
    for (std::size_t n = 0; n < kOutputs; ++n) {
      const Floats coefficient = wings[n].value[tap] + wings[n].fraction * wings[n].delta[tap];
#pragma GCC unroll 2
      for (std::size_t channel = 0; channel < kChannels; ++channel)
        out.sums[n][channel] +=
            coefficient * loaded(out.right[n][channel] + first + tap * direction);
    }
}

/** Adds a wing where each lane has entries of its own. */
template <std::size_t kChannels>
[[gnu::noinline]] void addWingApart(LaneOutputs<1, kChannels>& out,
                                    const TovKernels::FilterWing& wing, const WingLanes& lanes,
                                    long long row, long long direction)
{
  Ints index = lanes.index;
  for (int taps = wing.length / wing.samplesPerCrossing; taps > 0; --taps, row += direction) {
    const Ints isInside = index < wing.length;
    const Ints i = isInside ? index : Ints{};
    const Floats coefficient = gathered(wing.value, i) + lanes.fraction * gathered(wing.delta, i);
    for (std::size_t channel = 0; channel < kChannels; ++channel) {
      Floats& sum = out.sums[0][channel];
      const Floats longer = sum + coefficient * loaded(out.right[0][channel] + row);
      sum = isInside ? longer : sum;
    }
    index += wing.samplesPerCrossing;
  }
}

/** Interpolation at unit steps along a table of @p kCrossings. */
template <int kCrossings>
class LaneFilter {
public:
  static constexpr bool kStretched = false;

  LaneFilter(const TovKernels::Resampling& r, const Period&) : wing(r.wing) {}

  /** The outputs from the one @p n of each period on. */
  template <std::size_t kOutputs, std::size_t kChannels>
  [[gnu::always_inline]] inline void interpolate(LaneOutputs<kOutputs, kChannels>& out, int)
  {
    WingLanes right[kOutputs];
    WingLanes left[kOutputs];
    bool areShared = true;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < kOutputs; ++i) {
      right[i] = WingLanes(wing, out.distances[i]);
      left[i] = WingLanes(wing, 1.0f - out.distances[i]);
      areShared = areShared && isWhole(right[i]) && isWhole(left[i]);
    }
    if (areShared) {
      out.clear();
      addTaps<kCrossings>(out, right, 0, kLanes);
      addTaps<kCrossings>(out, left, -kLanes, -kLanes);
    } else {
      interpolateAlone(out, right, left);
    }
  }

private:
  /** Whether the lanes share the entries of all taps. */
  bool isWhole(const WingLanes& lanes) const
  {
    return lanes.areShared() && lanes.index[0] < wing.samplesPerCrossing;
  }

  template <std::size_t kOutputs, std::size_t kChannels>
  [[gnu::noinline]] void interpolateAlone(LaneOutputs<kOutputs, kChannels>& out,
                                          const WingLanes* right, const WingLanes* left)
  {
    for (std::size_t i = 0; i < kOutputs; ++i) {
      LaneOutputs<1, kChannels> one = out.only(i);
      one.clear();
      addWing(one, right[i], 0, kLanes);
      addWing(one, left[i], -kLanes, -kLanes);
      out.take(one, i);
    }
  }

  template <std::size_t kChannels>
  [[gnu::always_inline]] inline void addWing(LaneOutputs<1, kChannels>& out, const WingLanes& lanes,
                                             long long first, long long direction)
  {
    if (isWhole(lanes))
      addTaps<kCrossings>(out, &lanes, first, direction);
    else if (lanes.areShared()) // a distance of exactly 1: the last entry lies behind the end
      addTaps<kCrossings - 1>(out, &lanes, first, direction);
    else
      addWingApart(out, wing, lanes, first, direction);
  }

  const TovKernels::FilterWing wing;
};

} // namespace
