#pragma once

#include <utility>

#include "pcm/kernels/EvenPositions.h"
#include "pcm/kernels/ResamplingLoops.h"

// Resampling by a whole ratio of frames, many outputs at once.  After a period
// (160 outputs or 147 inputs from 44.1 to 48 kHz) the positions lie between the
// input frames as before, but for the rounding of the sums.  So the lanes of a
// vector are outputs one period apart:
//
//      output   n        n + P        n + 2P   ...     P: outputs of a period
//      input    c        c + Q        c + 2Q   ...     Q: its input frames
//
//   1. The distances of a group of kLanes periods, one after the other.
//   2. They are transposed: one vector per output of the period.
//   3. So is the input: row j holds frame j of each period.
//   4. Where all lanes fall on the same table entries these are constants, and
//      only the fraction between two entries varies.  Each lane adds up its
//      own output in the plain order.
//   5. Where they do not, each lane fetches its own entries.  Where not even
//      the input frames are a period apart, the plain loop does it.
//   6. The outputs are transposed back.
//
// The source that includes this defines kLanes, Floats, Ints, areAllEqual() and
// gathered().

namespace {

constexpr int kMostPeriod = 512;  ///< outputs, and input frames: raising it costs stack
constexpr int kMostHandles = 128; ///< likewise

// --- Vectors ---------------------------------------------------------------

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

// --- A group -----------------------------------------------------------------

/** What all channels of a request share. */
struct Period {
  int outputs = 0; ///< 0: none that is short enough
  int inputs = 0;
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
  return {times * outputs, times * inputs};
}

/** Rows of a transposed matrix start in different places of the cache. */
constexpr int kRowStride = kMostPeriod + 16;

struct GroupBuffers {
  alignas(64) float distances[kLanes * kRowStride + kLanes]; ///< one row per lane
  alignas(64) float phases[2][(kMostPeriod + kLanes) * kLanes];
  alignas(64) float rows[2][(kMostPeriod + 2 * kMostHandles + 2 * kLanes) * kLanes];
  int firstFrames[kMostPeriod]; ///< of the first lane
  int frames[kMostPeriod];
  int isUneven[kMostPeriod]; ///< step (5): input frames not a period apart
};

/** Step (2) or (3) of the interpolation, with the same entries for all lanes,
 *  or with each lane's own. */
template <std::size_t kChannels>
void addWingLanes(Floats* sums, const TovKernels::FilterWing& wing, Floats distance,
                  const float* const* nearest, long long direction)
{
  const int entries = wing.samplesPerCrossing;
  const Floats position = distance * static_cast<float>(entries);
  Ints index = truncatedLanes(position);
  const Floats fraction = position - floatLanes(index);
  const int i0 = index[0];
  long long row = 0;
  if (areAllEqual(index, Ints{} + i0)) {
    const float* const value = wing.row(i0);
    const float* const delta = value + wing.rowLength / 2;
    const int taps = wing.length / entries - (i0 < entries ? 0 : 1);
    for (int tap = 0; tap < taps; ++tap, row += direction) {
      const Floats coefficient = value[tap] + fraction * delta[tap];
      for (std::size_t channel = 0; channel < kChannels; ++channel)
        sums[channel] += coefficient * loaded(nearest[channel] + row);
    }
    return;
  }
  for (int taps = wing.length / entries; taps > 0; --taps, row += direction) {
    const Ints isInside = index < wing.length;
    const Ints i = isInside ? index : Ints{};
    const Floats coefficient = gathered(wing.value, i) + fraction * gathered(wing.delta, i);
    for (std::size_t channel = 0; channel < kChannels; ++channel) {
      const Floats sum = sums[channel] + coefficient * loaded(nearest[channel] + row);
      sums[channel] = isInside ? sum : sums[channel];
    }
    index += entries;
  }
}

/** The same along a stretched filter; false where the lanes' entries differ,
 *  and then the sums are of no use. */
template <std::size_t kChannels>
bool addStretchedWingLanes(Floats* sums, const TovKernels::Resampling& r, Floats distance,
                           const float* const* nearest, long long direction)
{
  const float entries = static_cast<float>(r.wing.samplesPerCrossing);
  const int shift = __builtin_ctz(static_cast<unsigned int>(r.wing.samplesPerCrossing));
  Floats position = entries * distance;
  Ints isOther = {};
  long long row = 0;
  long long tapsLeft = r.handles;
  int i = truncatedLanes(position)[0];
  do {
    const Ints index = truncatedLanes(position);
    const Floats fraction = position - floatLanes(index);
    isOther |= index ^ i;
    const float* const pair = r.wing.pairs + 2 * (i + (i >> shift) * 8); // pairIndex(i), sooner
    const Floats coefficient = pair[0] + fraction * pair[1];
    for (std::size_t channel = 0; channel < kChannels; ++channel)
      sums[channel] += coefficient * loaded(nearest[channel] + row);
    row += direction;
    distance += r.ratioF;
    position = entries * distance;
    i = truncatedLanes(position)[0];
    if (i >= r.wing.length) { // then so must all others be
      isOther |= position < static_cast<float>(r.wing.length);
      break;
    }
  } while (--tapsLeft > 0);
  return areAllEqual(isOther, Ints{});
}

template <std::size_t kChannels>
void addStretchedWingLanesApart(Floats* sums, const TovKernels::Resampling& r, Floats distance,
                                const float* const* nearest, long long direction)
{
  const float entries = static_cast<float>(r.wing.samplesPerCrossing);
  Floats position = entries * distance;
  Ints isInside = Ints{} - 1; // the first tap is always taken
  long long row = 0;
  long long tapsLeft = r.handles;
  do {
    const Ints index = isInside ? truncatedLanes(position) : Ints{};
    const Floats fraction = position - floatLanes(index);
    const Floats coefficient =
        gathered(r.wing.value, index) + fraction * gathered(r.wing.delta, index);
    for (std::size_t channel = 0; channel < kChannels; ++channel) {
      const Floats sum = sums[channel] + coefficient * loaded(nearest[channel] + row);
      sums[channel] = isInside ? sum : sums[channel];
    }
    row += direction;
    distance += r.ratioF;
    position = entries * distance;
    isInside &= position < static_cast<float>(r.wing.length);
  } while (!areAllEqual(isInside, Ints{}) && --tapsLeft > 0);
}

/** One output of each period.  @p right is the row of the frame at or above the
 *  positions, one for each channel. */
template <bool kStretched, std::size_t kChannels>
void interpolateLanes(Floats* sums, const TovKernels::Resampling& r, Floats distance,
                      const float* const* right)
{
  const float* left[kChannels];
  for (std::size_t channel = 0; channel < kChannels; ++channel) {
    left[channel] = right[channel] - kLanes;
    sums[channel] = Floats{};
  }
  if constexpr (kStretched) {
    const Floats difference = r.ratioF - distance;
    const Floats leftDistance = difference > 0.0f ? difference : Floats{};
    if (!addStretchedWingLanes<kChannels>(sums, r, distance, right, kLanes) ||
        !addStretchedWingLanes<kChannels>(sums, r, leftDistance, left, -kLanes)) {
      for (std::size_t channel = 0; channel < kChannels; ++channel)
        sums[channel] = Floats{};
      addStretchedWingLanesApart<kChannels>(sums, r, distance, right, kLanes);
      addStretchedWingLanesApart<kChannels>(sums, r, leftDistance, left, -kLanes);
    }
    for (std::size_t channel = 0; channel < kChannels; ++channel)
      sums[channel] *= r.ratioF;
  } else {
    addWingLanes<kChannels>(sums, r.wing, distance, right, kLanes);
    addWingLanes<kChannels>(sums, r.wing, 1.0f - distance, left, -kLanes);
  }
}

/** The frames of @p in from @p first on, one period after the other, as rows of
 *  one frame of each.  Nothing at or behind @p end is read; zeros stand there. */
void transposeInput(float* rows, const float* in, long long first, long long end, int period,
                    int count)
{
  for (int j = 0; j < count; j += kLanes) {
    Floats block[kLanes];
#pragma GCC unroll 16
    for (int lane = 0; lane < kLanes; ++lane) {
      const long long at = first + static_cast<long long>(lane) * period + j;
      if (at + kLanes <= end) {
        block[lane] = loaded(in + at);
      } else {
        float part[kLanes] = {};
        for (long long k = at; k < end; ++k)
          part[k - at] = in[k];
        block[lane] = loaded(part);
      }
    }
    transpose(block);
#pragma GCC unroll 16
    for (int lane = 0; lane < kLanes; ++lane)
      stored(rows + (j + lane) * kLanes, block[lane]);
  }
}

/** Step (6): lane after lane, as far as @p frames go. */
void transposeOutput(float* out, const float* phases, int period, long long frames)
{
  for (int n = 0; n < period; n += kLanes) {
    Floats block[kLanes];
#pragma GCC unroll 16
    for (int lane = 0; lane < kLanes; ++lane)
      block[lane] = loaded(phases + (n + lane) * kLanes);
    transpose(block);
    const int count = period - n < kLanes ? period - n : kLanes;
    for (int lane = 0; lane < kLanes; ++lane) {
      const long long at = static_cast<long long>(lane) * period + n;
      if (count == kLanes && at + kLanes <= frames) {
        stored(out + at, block[lane]);
      } else {
        const float* const part = reinterpret_cast<const float*>(&block[lane]);
        for (int k = 0; k < count && at + k < frames; ++k)
          out[at + k] = part[k];
      }
    }
  }
}

/** The next @p frames outputs, at most a group; @p end is behind the last input
 *  frame that may be read. */
template <bool kStretched, std::size_t kChannels>
void resampleGroup(float* const (&out)[kChannels], const float* const (&in)[kChannels],
                   const TovKernels::Resampling& r, Period period, EvenPositions& positions,
                   long long end, long long frames, GroupBuffers& buffers)
{
  const EvenPositions begin = positions;
  const double base = static_cast<double>(static_cast<long long>(positions.position()));
  for (int n = 0; n < period.outputs; ++n)
    buffers.isUneven[n] = 0;
  for (int lane = 0; lane < kLanes; ++lane) { // Step (1)
    const long long left = frames - static_cast<long long>(lane) * period.outputs;
    const int count = left <= 0               ? 0
                      : left < period.outputs ? static_cast<int>(left)
                                              : period.outputs;
    float* const distances = buffers.distances + lane * kRowStride;
    int* const reached = lane == 0 ? buffers.firstFrames : buffers.frames;
    positions.take(distances, reached, base, count);
    if (lane > 0)
      for (int n = 0; n < count; ++n)
        buffers.isUneven[n] |= reached[n] ^ (buffers.firstFrames[n] + lane * period.inputs);
    if constexpr (kStretched)
      for (int n = 0; n < count; ++n)
        distances[n] = stretchedRight(distances[n], r.ratio);
    for (int n = count; n < period.outputs; ++n) // lanes without an output follow the first
      distances[n] = buffers.distances[n];
  }
  for (int n = 0; n < period.outputs; n += kLanes) { // Step (2)
    Floats block[kLanes];
#pragma GCC unroll 16
    for (int lane = 0; lane < kLanes; ++lane)
      block[lane] = loaded(buffers.distances + lane * kRowStride + n);
    transpose(block);
#pragma GCC unroll 16
    for (int lane = 0; lane < kLanes; ++lane)
      stored(buffers.phases[0] + (n + lane) * kLanes, block[lane]);
  }
  const int handles = static_cast<int>(r.handles);
  const int rows = buffers.firstFrames[period.outputs - 1] + 2 * handles;
  for (std::size_t channel = 0; channel < kChannels; ++channel) // Step (3)
    transposeInput(buffers.rows[channel], in[channel], static_cast<long long>(base) - handles, end,
                   period.inputs, rows);

  for (int n = 0; n < period.outputs; ++n) {
    const Floats distance = loaded(buffers.phases[0] + n * kLanes);
    Floats sums[kChannels] = {};
    const int c = buffers.firstFrames[n];
    if (buffers.isUneven[n] == 0) { // Steps (4) and (5)
      const float* right[kChannels];
      for (std::size_t channel = 0; channel < kChannels; ++channel)
        right[channel] = buffers.rows[channel] + (c + handles) * kLanes;
      interpolateLanes<kStretched, kChannels>(sums, r, distance, right);
    }
    for (std::size_t channel = 0; channel < kChannels; ++channel)
      stored(buffers.phases[channel] + n * kLanes, sums[channel]);
  }
  for (std::size_t channel = 0; channel < kChannels; ++channel) // Step (6)
    transposeOutput(out[channel], buffers.phases[channel], period.outputs, frames);

  for (int n = 0; n < period.outputs; ++n) // Step (5), for what is still open
    for (int lane = 0; lane < kLanes && buffers.isUneven[n] != 0; ++lane) {
      const long long at = static_cast<long long>(lane) * period.outputs + n;
      EvenPositions here = begin;
      here.skip(at);
      for (std::size_t channel = 0; channel < kChannels && at < frames; ++channel)
        resampleChannel<kStretched>(out[channel] + at, in[channel], r, here.position(), 1);
    }
}

/** How far the last outputs read is known but for a frame or a few: the plain
 *  loop does them, and the others read nothing that those do not. */
struct Ending {
  long long outputs;
  long long inputEnd; ///< behind the last frame that is surely read
};

template <bool kStretched>
Ending endingOf(const TovKernels::Resampling& r, long long frames)
{
  constexpr int kDoubtfulTaps = kStretched ? 6 : 1;
  EvenPositions last(r.phase, r.step);
  last.skip(frames - 1);
  const double taps = r.wing.length / r.wing.samplesPerCrossing / (kStretched ? r.ratio : 1.0);
  const double sure = taps - (kStretched ? kDoubtfulTaps / 2 + 1 : kDoubtfulTaps);
  return {static_cast<long long>(kDoubtfulTaps * r.ratio) + 3,
          static_cast<long long>(::ceil(last.position()) + (sure > 0.0 ? sure : 0.0))};
}

template <bool kStretched>
void resampleByPeriods(float* const* outputs, const float* const* inputs, int channels,
                       const TovKernels::Resampling& r, long long frames)
{
  const Period period = periodOf(r.outRate, r.inRate);
  const long long group = static_cast<long long>(period.outputs) * kLanes;
  const long long worthwhile = group / 4;
  if (group == 0 || frames < worthwhile || r.handles > kMostHandles) {
    resamplePlainly<kStretched>(outputs, inputs, channels, r, frames);
    return;
  }
  const Ending ending = endingOf<kStretched>(r, frames);
  GroupBuffers buffers;
  EvenPositions positions(r.phase, r.step);
  long long done = 0;
  while (frames - ending.outputs - done >= worthwhile) {
    const long long left = frames - ending.outputs - done;
    const long long count = left < group ? left : group;
    const EvenPositions begin = positions;
    for (int i = 0; i < channels; i += 2) {
      positions = begin;
      float* const out[2] = {outputs[i] + done, i + 1 < channels ? outputs[i + 1] + done : nullptr};
      const float* const in[2] = {inputs[i], i + 1 < channels ? inputs[i + 1] : nullptr};
      if (out[1])
        resampleGroup<kStretched, 2>(out, in, r, period, positions, ending.inputEnd, count,
                                     buffers);
      else
        resampleGroup<kStretched, 1>({out[0]}, {in[0]}, r, period, positions, ending.inputEnd,
                                     count, buffers);
    }
    done += count;
  }
  for (int i = 0; i < channels; ++i)
    resampleChannel<kStretched>(outputs[i] + done, inputs[i], r, positions.position(),
                                frames - done);
}

} // namespace
