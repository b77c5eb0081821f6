#pragma once

#include "pcm/kernels/LaneFilters.h"
#include "pcm/kernels/StretchedLaneFilters.h"

// Resampling by a whole ratio of frames, many outputs at once, one period apart
// (PeriodPositions.h).  For each group of periods:
//
//   1. The distances of all outputs.
//   2. The input is transposed: row j holds frame j of each period.
//   3. Output after output of the period, all lanes at once (LaneFilters.h).
//   4. The outputs are transposed back.
//   5. Where the lanes' input frames are anywhere, the plain loop does it.
//
// The source that includes this defines kLanes, Floats, Ints, areAllEqual() and
// gathered().

namespace {

constexpr int kMostHandles = 128; ///< raising it costs stack

struct GroupBuffers {
  GroupPositions positions;
  alignas(64) float outputs[(kMostPeriod + kLanes) * kLanes]; ///< of the second channel
  alignas(64) float rows[2][(kMostPeriod + 2 * kMostHandles + 2 * kLanes) * kLanes];
};

/** The frames of @p in from @p first on, one period after the other, as rows of
 *  one frame of each.  Nothing at or behind @p end is read; zeros stand there. */
void transposeInput(float* rows, const float* in, long long first, long long end, int period,
                    int count)
{
  const long long lastLane = first + static_cast<long long>(kLanes - 1) * period;
  for (int j = 0; j < count; j += kLanes) {
    Floats block[kLanes];
    if (lastLane + j + kLanes <= end) {
      const float* lane = in + first + j;
#pragma GCC unroll 16
      for (int i = 0; i < kLanes; ++i, lane += period)
        block[i] = loaded(lane);
    } else {
      for (int i = 0; i < kLanes; ++i) {
        float part[kLanes] = {};
        for (long long k = 0, at = first + static_cast<long long>(i) * period + j;
             k < kLanes && at + k < end; ++k)
          part[k] = in[at + k];
        block[i] = loaded(part);
      }
    }
    transpose(block);
#pragma GCC unroll 16
    for (int i = 0; i < kLanes; ++i)
      stored(rows + (j + i) * kLanes, block[i]);
  }
}

/** Lane after lane, as far as @p frames go. */
void transposeOutput(float* out, const float* outputs, int period, long long frames)
{
  for (int n = 0; n < period; n += kLanes) {
    Floats block[kLanes];
#pragma GCC unroll 16
    for (int i = 0; i < kLanes; ++i)
      block[i] = loaded(outputs + (n + i) * kLanes);
    transpose(block);
    const int count = period - n < kLanes ? period - n : kLanes;
    if (count == kLanes && static_cast<long long>(kLanes - 1) * period + n + kLanes <= frames) {
      float* lane = out + n;
#pragma GCC unroll 16
      for (int i = 0; i < kLanes; ++i, lane += period)
        stored(lane, block[i]);
    } else {
      for (int i = 0; i < kLanes; ++i) {
        const long long at = static_cast<long long>(i) * period + n;
        const float* const part = reinterpret_cast<const float*>(&block[i]);
        for (int k = 0; k < count && at + k < frames; ++k)
          out[at + k] = part[k];
      }
    }
  }
}

/** An output of which some lanes stand at a frame or just below it, and the
 *  others just above it, so that the next frame is theirs. */
template <typename Filter, std::size_t kChannels>
[[gnu::noinline]] void interpolateSplit(LaneOutputs<1, kChannels>& out, Filter& filter, int n)
{
  const Ints isAbove = out.distances[0] >= 0.5f;
  LaneOutputs<1, kChannels> below = out;
  below.distances[0] = isAbove ? Floats{} : out.distances[0];
  for (std::size_t channel = 0; channel < kChannels; ++channel)
    below.right[0][channel] -= isAbove[0] != 0 ? kLanes : 0;
  LaneOutputs<1, kChannels> above = below;
  above.distances[0] = isAbove ? out.distances[0] : Floats{} + 1.0f;
  for (std::size_t channel = 0; channel < kChannels; ++channel)
    above.right[0][channel] += kLanes;
  filter.interpolate(below, n);
  filter.interpolate(above, kNoOutput);
  out.take(below, ~isAbove);
  out.take(above, isAbove);
}

/** Outputs from the one @p n of each period on. */
template <std::size_t kOutputs, typename Filter, std::size_t kChannels>
[[gnu::always_inline]] inline void interpolateOutputs(Filter& filter, GroupBuffers& buffers, int n,
                                                      int handles,
                                                      float* const (&results)[kChannels])
{
  const GroupPositions& group = buffers.positions;
  LaneOutputs<kOutputs, kChannels> out;
#pragma GCC unroll 4
  for (std::size_t i = 0; i < kOutputs; ++i) {
    const int at = n + static_cast<int>(i);
    out.distances[i] = loaded(group.distances + at * kLanes);
    for (std::size_t channel = 0; channel < kChannels; ++channel)
      out.right[i][channel] = buffers.rows[channel] + (group.frames[at] + handles) * kLanes;
  }
  out.clear();
  if constexpr (kOutputs == 1) {
    if (group.lanes[n] == Lanes::Split)
      interpolateSplit(out, filter, n);
    else if (group.lanes[n] == Lanes::Even)
      filter.interpolate(out, n);
  } else {
    filter.interpolate(out, n);
  }
#pragma GCC unroll 4
  for (std::size_t i = 0; i < kOutputs; ++i)
    for (std::size_t channel = 0; channel < kChannels; ++channel)
      stored(results[channel] + (n + static_cast<int>(i)) * kLanes, out.sums[i][channel]);
}

/** The next @p frames outputs, at most a group; @p end is behind the last input
 *  frame that may be read. */
template <typename Filter, std::size_t kChannels>
void resampleGroup(float* const (&out)[kChannels], const float* const (&in)[kChannels],
                   const TovKernels::Resampling& r, Filter& filter, const Period& period,
                   EvenPositions& positions, long long end, long long frames, GroupBuffers& buffers)
{
  const EvenPositions begin = positions;
  GroupPositions& group = buffers.positions;
  takeGroup(group, positions, period, frames); // Step (1)

  const int handles = static_cast<int>(r.handles);
  const int rows = group.frames[period.outputs - 1] + 1 + 2 * handles;
  const long long first = static_cast<long long>(begin.position()) - handles;
  for (std::size_t channel = 0; channel < kChannels; ++channel) // Step (2)
    transposeInput(buffers.rows[channel], in[channel], first, end, period.inputs, rows);

  // The first channel's outputs take the place of the distances.
  float* results[kChannels];
  for (std::size_t channel = 0; channel < kChannels; ++channel)
    results[channel] = channel == 0 ? group.distances : buffers.outputs;
  constexpr int kTogether = 2 / kChannels;
  for (int n = 0; n < period.outputs;) { // Step (3)
    if (kTogether > 1 && n + kTogether <= period.outputs && group.areEven(n, kTogether)) {
      interpolateOutputs<kTogether>(filter, buffers, n, handles, results);
      n += kTogether;
    } else {
      interpolateOutputs<1>(filter, buffers, n, handles, results);
      ++n;
    }
  }
  for (std::size_t channel = 0; channel < kChannels; ++channel) // Step (4)
    transposeOutput(out[channel], results[channel], period.outputs, frames);

  for (int n = 0; n < period.outputs; ++n) // Step (5)
    for (int lane = 0; lane < kLanes && group.lanes[n] == Lanes::Apart; ++lane) {
      const long long at = static_cast<long long>(lane) * period.outputs + n;
      EvenPositions here = begin;
      here.skip(at);
      for (std::size_t channel = 0; channel < kChannels && at < frames; ++channel)
        resampleChannel<Filter::kStretched>(out[channel] + at, in[channel], r, here.position(), 1);
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
  const int crossings = r.wing.length / r.wing.samplesPerCrossing;
  const double taps = crossings / (kStretched ? r.ratio : 1.0);
  const double sure = taps - (kStretched ? kDoubtfulTaps / 2 + 1 : kDoubtfulTaps);
  return {static_cast<long long>(kDoubtfulTaps * r.ratio) + 3,
          static_cast<long long>(::ceil(last.position()) + (sure > 0.0 ? sure : 0.0))};
}

template <typename Filter>
void resampleByPeriods(float* const* outputs, const float* const* inputs, int channels,
                       const TovKernels::Resampling& r, long long frames)
{
  constexpr bool kStretched = Filter::kStretched;
  const Period period = periodOf(r.outRate, r.inRate);
  const long long group = static_cast<long long>(period.outputs) * kLanes;
  const long long worthwhile = 2LL * period.outputs;
  if (group == 0 || frames < worthwhile || r.handles > kMostHandles) {
    resamplePlainly<kStretched>(outputs, inputs, channels, r, frames);
    return;
  }
  const Ending ending = endingOf<kStretched>(r, frames);
  GroupBuffers buffers;
  Filter filter(r, period);
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
        resampleGroup<Filter, 2>(out, in, r, filter, period, positions, ending.inputEnd, count,
                                 buffers);
      else
        resampleGroup<Filter, 1>({out[0]}, {in[0]}, r, filter, period, positions, ending.inputEnd,
                                 count, buffers);
    }
    done += count;
  }
  for (int i = 0; i < channels; ++i)
    resampleChannel<kStretched>(outputs[i] + done, inputs[i], r, positions.position(),
                                frames - done);
}

/** By the length of the quality's filter. */
void resampleUpByPeriods(float* const* outputs, const float* const* inputs, int channels,
                         const TovKernels::Resampling& r, long long frames)
{
  switch (r.wing.length / r.wing.samplesPerCrossing) {
  case 3:
    return resampleByPeriods<LaneFilter<3>>(outputs, inputs, channels, r, frames);
  case 7:
    return resampleByPeriods<LaneFilter<7>>(outputs, inputs, channels, r, frames);
  case 13:
    return resampleByPeriods<LaneFilter<13>>(outputs, inputs, channels, r, frames);
  default: // GCOVR_EXCL_LINE a quality that is yet to come
    return resamplePlainly<false>(outputs, inputs, channels, r, frames); // GCOVR_EXCL_LINE
  }
}

} // namespace
