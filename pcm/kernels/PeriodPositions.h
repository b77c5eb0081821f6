#pragma once

#include "pcm/kernels/EvenPositions.h"
#include "pcm/kernels/LaneVectors.h"

// After a period (160 outputs or 147 inputs from 44.1 to 48 kHz) the positions
// lie between the input frames as before, but for the rounding of the sums.  So
// the lanes of a vector are outputs one period apart:
//
//      output   n        n + P        n + 2P   ...     P: outputs of a period
//      input    c        c + Q        c + 2Q   ...     Q: its input frames
//
// kLanes periods are a group.

namespace {

constexpr int kMostPeriod = 512; ///< outputs, and input frames: raising it costs stack

/** What all channels of a request share. */
struct Period {
  int outputs = 0; ///< 0: none that is short enough
  int inputs = 0;
  int shortest = 0; ///< outputs of the shortest one; the others are some of it
};

/** Some periods, so that there is work for a whole vector of phases. */
Period periodOf(int outRate, int inRate)
{
  int a = outRate;
  int b = inRate;
  while (b != 0) {
    const int rest = a % b;
    a = b;
    b = rest;
  }
  const int outputs = outRate / a;
  const int inputs = inRate / a;
  if (outputs > kMostPeriod || inputs > kMostPeriod)
    return {};
  int times = 1;
  while (times * outputs < 64 && 2 * times * outputs <= kMostPeriod &&
         2 * times * inputs <= kMostPeriod)
    times *= 2;
  return {times * outputs, times * inputs, outputs};
}

/** Which input frames the lanes of an output stand at. */
enum class Lanes : unsigned char {
  Even,  ///< periods apart
  Split, ///< but for one frame more, where the distance is above a half: the
         ///< positions are about those of input frames, above or below
  Apart  ///< anywhere
};

/** Where the outputs of a group stand. */
struct GroupPositions {
  alignas(64) float distances[(kMostPeriod + kLanes) * kLanes]; ///< to the frame at or above
  int frames[kMostPeriod]; ///< that frame, of the first lane, counted from the group's
  Lanes lanes[kMostPeriod];

  bool areEven(int n, int count) const
  {
    bool all = true;
    for (int i = 0; i < count; ++i)
      all = all && lanes[n + i] == Lanes::Even;
    return all;
  }
};

/** The outputs of a group that fall to a lane. */
int outputsOfLane(int lane, const Period& period, long long frames)
{
  const long long left = frames - static_cast<long long>(lane) * period.outputs;
  return left <= 0 ? 0 : left < period.outputs ? static_cast<int>(left) : period.outputs;
}

/** How the frames that all lanes reach belong together, counted from where each
 *  lane begins. */
Lanes lanesOf(const Positions& reached, const Positions& distance)
{
  const double whole = distance.half[0][0] < 0.5 ? reached.half[0][0] : reached.half[0][0] - 1.0;
  Ints difference = {};
#pragma GCC unroll 2
  for (int i = 0; i < 2; ++i) {
    const Doubles expected = distance.half[i] < 0.5 ? Doubles{} + whole : Doubles{} + (whole + 1.0);
    difference |= bitsOf(reached.half[i]) ^ bitsOf(expected);
  }
  const bool isBehindFirst = whole >= 0.0; // the rows of input begin there
  return isBehindFirst && areAllEqual(difference, Ints{}) ? Lanes::Split : Lanes::Apart;
}

/** The distances of lanes that keep their spacing over the period. */
void takeEvenLanes(GroupPositions& group, const Period& period, const double* offsets,
                   const double* spacings)
{
  Positions x = loaded(offsets);
  const Positions spacing = loaded(spacings);
  for (int n = 0; n < period.outputs; ++n) {
    const Ints first = bitsOf(Doubles{} + static_cast<double>(group.frames[n]));
    Positions reached;
    Positions distance;
#pragma GCC unroll 2
    for (int i = 0; i < 2; ++i) {
      reached.half[i] = ceiling(x.half[i]);
      distance.half[i] = reached.half[i] - x.half[i];
      x.half[i] += spacing.half[i]; // exact: all of them lie on one grid
    }
    const Ints difference = (bitsOf(reached.half[0]) ^ first) | (bitsOf(reached.half[1]) ^ first);
    group.lanes[n] = areAllEqual(difference, Ints{}) ? Lanes::Even : lanesOf(reached, distance);
    stored(group.distances + n * kLanes, floatLanes(distance));
  }
}

/** Where no lane keeps its spacing: all stand where the first does, until each
 *  gets its own. */
void takeFirstLane(GroupPositions& group, const Period& period, const float* distances)
{
  for (int n = 0; n < period.outputs; ++n) {
    group.lanes[n] = Lanes::Even;
    stored(group.distances + n * kLanes, Floats{} + distances[n]);
  }
}

/** The next @p frames positions: at least a period, at most a group.  What
 *  stands in lanes without an output is of no use, but close to the others. */
void takeGroup(GroupPositions& group, EvenPositions& positions, const Period& period,
               long long frames)
{
  const double base = static_cast<double>(static_cast<long long>(positions.position()));
  float distances[kMostPeriod];
  EvenPositions first = positions;
  first.take(distances, group.frames, base, period.outputs);

  alignas(64) double offsets[kLanes] = {};
  alignas(64) double spacings[kLanes] = {};
  bool isSet[kLanes] = {};
  EvenPositions lanes[kLanes];
  int even = 0;
  for (int lane = 0; lane < kLanes; ++lane) {
    const int count = outputsOfLane(lane, period, frames);
    lanes[lane] = positions;
    isSet[lane] = count > 0 && positions.staysEven(count);
    if (isSet[lane]) {
      offsets[lane] = positions.position() - (base + static_cast<double>(lane) * period.inputs);
      spacings[lane] = positions.evenSpacing();
      even = lane;
    }
    positions.skip(count);
  }
  for (int lane = 0; lane < kLanes; ++lane)
    if (!isSet[lane]) {
      offsets[lane] = offsets[even];
      spacings[lane] = spacings[even];
    }
  if (isSet[even])
    takeEvenLanes(group, period, offsets, spacings);
  else
    takeFirstLane(group, period, distances);

  for (int lane = 0; lane < kLanes; ++lane) {
    const int count = outputsOfLane(lane, period, frames);
    if (isSet[lane] || count == 0)
      continue;
    int reached[kMostPeriod];
    lanes[lane].take(distances, reached, base + static_cast<double>(lane) * period.inputs, count);
    for (int n = 0; n < count; ++n) {
      group.distances[n * kLanes + lane] = distances[n];
      if (reached[n] != group.frames[n])
        group.lanes[n] = Lanes::Apart;
    }
  }
}

} // namespace
