#pragma once

#include "pcm/kernels/LaneFilters.h"

// LaneFilters.h for a stretched filter, where each tap has an index and a
// fraction of its own.  All indices of a wing grow, or stay, as the distance
// grows, since every operation on the way to them does.  So where the least and
// the greatest of some distances have the same, all between them have.  The taps
// of each output of the period are kept with such a range, and later groups, a
// rounding away, find theirs ready.
//
// Positions are distances in entries.  These are a power of two, so that sums of
// positions are those of the distances.

namespace {

constexpr int kMostKeptTaps = 10240; ///< raising it costs stack
constexpr int kSteady = 5; ///< times that make it worth to keep coefficients: 4096 frames have 4

/** The table entries of a tap, and the index of the first. */
struct Tap {
  float index;
  float value;
  float delta;
};

/** Those of an output of the period. */
struct KeptTaps {
  float least; ///< distance on the right; above the greatest: none are kept
  float greatest;
  int count[2]; ///< on the right, and behind them on the left
  Tap* taps;
  float* coefficients; ///< of all taps, at the distance below
  float steady;        ///< where one distance comes again and again
  int times;           ///< that it came

  bool areNone() const { return !(least <= greatest); }
  Ints areOf(Floats right) const { return (right >= least) & (right <= greatest); }
  bool areOfAll(Floats right) const { return areAllEqual(areOf(right), Ints{} - 1); }
  bool isOf(float right) const { return right >= least && right <= greatest; }
  bool areSteady(Floats right) const
  {
    return times >= kSteady && areAllEqual(bitsOf(right), bitsOf(Floats{} + steady));
  }
};

/** Most often all lanes have the same taps; where those differ by a rounding,
 *  two sorts of them are enough. */
struct Place {
  KeptTaps sort[2];

  void exchange()
  {
    const KeptTaps other = sort[0];
    sort[0] = sort[1];
    sort[1] = other;
  }
};

/** Each lane's neighbour at a distance of @p kAway, which is a power of two. */
template <int kAway, int... kLane>
Floats neighbours(Floats value, std::integer_sequence<int, kLane...>)
{
  return __builtin_shufflevector(value, value, (kLane ^ kAway)...);
}

template <int kAway = kLanes / 2>
float leastOf(Floats value)
{
  const Floats other = neighbours<kAway>(value, std::make_integer_sequence<int, kLanes>{});
  const Floats least = other < value ? other : value;
  if constexpr (kAway > 1)
    return leastOf<kAway / 2>(least);
  else
    return least[0];
}

float greatestOf(Floats value)
{
  return -leastOf(-value);
}

/** The first lane that is set, or the last. */
int firstOf(Ints lanes)
{
  int lane = 0;
  while (lane < kLanes - 1 && lanes[lane] == 0)
    ++lane;
  return lane;
}

/** The distances of the left wing: see stretchedLeft(). */
Floats stretchedLeftLanes(Floats rightDistance, float ratioF)
{
  const Floats leftDistance = ratioF - rightDistance;
  return leftDistance > 0.0f ? leftDistance : Floats{};
}

/** Walks along a wing as the plain loop does, and writes the taps of the first
 *  lane.  Returns their number; nonzero become the lanes of @p isOther that have
 *  others. */
[[gnu::always_inline]] inline int findTaps(Tap* taps, Ints& isOther,
                                           const TovKernels::Resampling& r, Floats distance)
{
  const int samplesPerCrossing = r.wing.samplesPerCrossing;
  const int shift = __builtin_ctz(static_cast<unsigned int>(samplesPerCrossing));
  const int length = r.wing.length;
  const int most = static_cast<int>(r.handles);
  const float* const pairs = r.wing.pairs;
  const Floats step = Floats{} + static_cast<float>(samplesPerCrossing) * r.ratioF;
  Floats position = static_cast<float>(samplesPerCrossing) * distance;
  Ints index = truncatedLanes(position);
  Ints difference = isOther;
  int count = 0;
  do {
    const int i = index[0];
    difference |= index ^ i;
    const float* const pair = pairs + 2 * (i + (i >> shift) * 8); // pairIndex(i), sooner
    taps[count++] = {static_cast<float>(i), pair[0], pair[1]};
    position += step;
    index = truncatedLanes(position);
  } while (index[0] < length && count < most);
  if (count < most) // the first lane came to the end: then so must the others
    difference |= position < static_cast<float>(length);
  isOther = difference;
  return count;
}

/** Each lane at entries of its own. */
template <std::size_t kChannels>
[[gnu::noinline]] void interpolateStretchedApart(LaneOutputs<1, kChannels>& out,
                                                 const TovKernels::Resampling& r, Floats right)
{
  const float entries = static_cast<float>(r.wing.samplesPerCrossing);
  out.clear();
  for (int wing = 0; wing < 2; ++wing) {
    Floats position = entries * (wing == 0 ? right : stretchedLeftLanes(right, r.ratioF));
    Ints isInside = Ints{} - 1; // the first tap is always taken
    long long row = wing == 0 ? 0 : -kLanes;
    long long tapsLeft = r.handles;
    do {
      const Ints index = isInside ? truncatedLanes(position) : Ints{};
      const Floats fraction = position - floatLanes(index);
      const Floats coefficient =
          gathered(r.wing.value, index) + fraction * gathered(r.wing.delta, index);
      for (std::size_t channel = 0; channel < kChannels; ++channel) {
        Floats& sum = out.sums[0][channel];
        const Floats longer = sum + coefficient * loaded(out.right[0][channel] + row);
        sum = isInside ? longer : sum;
      }
      row += wing == 0 ? kLanes : -kLanes;
      position += entries * r.ratioF;
      isInside &= position < static_cast<float>(r.wing.length);
    } while (!areAllEqual(isInside, Ints{}) && --tapsLeft > 0);
  }
  for (std::size_t channel = 0; channel < kChannels; ++channel)
    out.sums[0][channel] *= r.ratioF; // Step (4)
}

/** The coefficients of outputs, tap by tap, at distances that differ by lane. */
template <std::size_t kOutputs>
struct InterpolatedCoefficients {
  const Floats* right;
  float entries;
  float ratioF;
  Floats positions[kOutputs];
  const Tap* taps[kOutputs];

  [[gnu::always_inline]] void begin(const KeptTaps* const* of, int wing)
  {
#pragma GCC unroll 4
    for (std::size_t i = 0; i < kOutputs; ++i) {
      positions[i] = entries * (wing == 0 ? right[i] : stretchedLeftLanes(right[i], ratioF));
      taps[i] = of[i]->taps + (wing == 0 ? 0 : of[i]->count[0]);
    }
  }

  [[gnu::always_inline]] Floats next(std::size_t i, int k)
  {
    const Tap& tap = taps[i][k];
    const Floats coefficient = tap.value + (positions[i] - tap.index) * tap.delta;
    positions[i] += entries * ratioF;
    return coefficient;
  }
};

/** Those that are kept, at distances that all lanes share. */
template <std::size_t kOutputs>
struct SteadyCoefficients {
  const float* coefficients[kOutputs];

  [[gnu::always_inline]] void begin(const KeptTaps* const* of, int wing)
  {
#pragma GCC unroll 4
    for (std::size_t i = 0; i < kOutputs; ++i)
      coefficients[i] = of[i]->coefficients + (wing == 0 ? 0 : of[i]->count[0]);
  }

  [[gnu::always_inline]] float next(std::size_t i, int k) const
  {
    return coefficients[i][k];
  }
};

/** Interpolation along a filter that is stretched by 1 / ratio. */
class StretchedLaneFilter {
public:
  static constexpr bool kStretched = true;

  StretchedLaneFilter(const TovKernels::Resampling& request, const Period& period)
      : r(request), entries(static_cast<float>(r.wing.samplesPerCrossing)),
        placeCount(kMostKeptTaps / static_cast<int>(4 * r.handles)), outputs(period.shortest)
  {
    for (int i = 0; i < placeCount && i <= outputs; ++i)
      for (int k = 0; k < 2; ++k)
        clear(places[i].sort[k], (i + k * placeCount) * 2 * r.handles);
  }

  /** As LaneFilter::interpolate(). */
  template <std::size_t kOutputs, std::size_t kChannels>
  [[gnu::always_inline]] inline void interpolate(LaneOutputs<kOutputs, kChannels>& out, int n)
  {
    const KeptTaps* of[kOutputs];
    Floats right[kOutputs];
    bool areKept = true;
    bool areSteady = true;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < kOutputs; ++i) {
      right[i] = scaledLanes(out.distances[i], r.ratio);
      of[i] = &placeOf(n + static_cast<int>(i)).sort[0];
      areKept = areKept && of[i]->areOfAll(right[i]);
      areSteady = areSteady && of[i]->areSteady(right[i]);
    }
    if (areSteady) {
      addWings(out, of, SteadyCoefficients<kOutputs>{});
    } else if (areKept || find<kOutputs>(right, n)) {
      addTaps(out, right, of);
      for (std::size_t i = 0; i < kOutputs; ++i)
        if (areAllEqual(bitsOf(right[i]), bitsOf(Floats{} + right[i][0])))
          count(placeOf(n + static_cast<int>(i)).sort[0], right[i][0]);
    } else {
      interpolateAlone(out, n);
    }
  }

private:
  void clear(KeptTaps& kept, long long first)
  {
    kept = {1.0f, 0.0f, {0, 0}, taps + first, steadyCoefficients + first, 0.0f, 0};
  }

  /** That all lanes are at one distance. */
  void count(KeptTaps& kept, float right)
  {
    kept.times = right == kept.steady ? kept.times + 1 : 1;
    kept.steady = right;
    if (kept.times == kSteady)
      keepCoefficients(kept);
  }

  [[gnu::noinline]] void keepCoefficients(const KeptTaps& kept)
  {
    const Tap* tap = kept.taps;
    float* coefficient = kept.coefficients;
    for (int wing = 0; wing < 2; ++wing) {
      float position = entries * (wing == 0 ? kept.steady : stretchedLeft(kept.steady, r.ratioF));
      for (int k = 0; k < kept.count[wing]; ++k, ++tap) {
        *coefficient++ = tap->value + (position - tap->index) * tap->delta;
        position += entries * r.ratioF;
      }
    }
  }

  /** Outputs that there is no place for share the last one. */
  Place& placeOf(int n)
  {
    const int output = n == kNoOutput ? outputs : n % outputs;
    return places[output < placeCount ? output : placeCount - 1];
  }

  /** Finds what is missing.  False where the lanes of an output have not all
   *  the same taps, or where two outputs have one place. */
  template <std::size_t kOutputs>
  [[gnu::noinline]] bool find(const Floats* right, int n)
  {
    for (std::size_t i = 0; i < kOutputs; ++i) {
      Place& place = placeOf(n + static_cast<int>(i));
      const Ints isMissing = ~(place.sort[0].areOf(right[i]) | place.sort[1].areOf(right[i]));
      if (!areAllEqual(isMissing, Ints{})) {
        place.exchange();
        findTapsOf(place.sort[0], right[i], isMissing, !place.sort[1].areNone());
      }
      if (place.sort[1].areOfAll(right[i]))
        place.exchange();
    }
    bool areKept = true;
    for (std::size_t i = 0; i < kOutputs; ++i)
      areKept = areKept && placeOf(n + static_cast<int>(i)).sort[0].areOfAll(right[i]);
    return areKept;
  }

  /** Keeps the taps of the first of @p lanes, with the range of those that share
   *  them; or with how far it goes, so that distances which drift stay inside
   *  for long. */
  void findTapsOf(KeptTaps& kept, Floats right, Ints lanes, bool isToBeWide)
  {
    const float lead = right[firstOf(lanes)];
    const Floats looked = isToBeWide ? around(lead) : lanes ? right : Floats{} + lead;
    const Floats shared = walk(kept, looked) == 0 ? looked : Floats{} + lead;
    kept.least = leastOf(shared);
    kept.greatest = greatestOf(shared);
    kept.times = 0;
  }

  /** A distance, and others on both sides, further and further away. */
  Floats around(float distance) const
  {
    Floats all = Floats{} + distance;
    float away = 6e-8f;
    for (int lane = 1; lane + 1 < kLanes; lane += 2) {
      all[lane] = distance > away ? distance - away : 0.0f;
      all[lane + 1] = distance + away < r.ratioF ? distance + away : r.ratioF;
      away *= 3.0f;
    }
    return all;
  }

  /** Walks along both wings as the plain loop does, and keeps the taps of the
   *  first lane.  Nonzero are the lanes that have others. */
  Ints walk(KeptTaps& kept, Floats right)
  {
    Ints isOther = {};
    kept.count[0] = findTaps(kept.taps, isOther, r, right);
    kept.count[1] =
        findTaps(kept.taps + kept.count[0], isOther, r, stretchedLeftLanes(right, r.ratioF));
    return isOther;
  }

  /** Both wings of all outputs, with the coefficients that @p coefficients hands
   *  out tap by tap. */
  template <std::size_t kOutputs, std::size_t kChannels, typename Coefficients>
  [[gnu::always_inline]] inline void addWings(LaneOutputs<kOutputs, kChannels>& out,
                                              const KeptTaps* const* of,
                                              Coefficients coefficients) const
  {
    out.clear();
#pragma GCC unroll 2
    for (int wing = 0; wing < 2; ++wing) {
      coefficients.begin(of, wing);
      int common = of[0]->count[wing];
#pragma GCC unroll 4
      for (std::size_t i = 1; i < kOutputs; ++i)
        common = of[i]->count[wing] < common ? of[i]->count[wing] : common;
      const long long direction = wing == 0 ? kLanes : -kLanes;
      long long row = wing == 0 ? 0 : -kLanes;
      for (int k = 0; k < common; ++k, row += direction)
#pragma GCC unroll 4
        for (std::size_t i = 0; i < kOutputs; ++i)
          addTap(out, i, coefficients.next(i, k), row);
      for (std::size_t i = 0; i < kOutputs; ++i) {
        long long rest = row;
        for (int k = common; k < of[i]->count[wing]; ++k, rest += direction)
          addTap(out, i, coefficients.next(i, k), rest);
      }
    }
#pragma GCC unroll 4
    for (std::size_t i = 0; i < kOutputs; ++i)
      for (std::size_t channel = 0; channel < kChannels; ++channel)
        out.sums[i][channel] *= r.ratioF; // Step (4)
  }

  template <std::size_t kOutputs, std::size_t kChannels, typename Coefficient>
  [[gnu::always_inline]] static inline void addTap(LaneOutputs<kOutputs, kChannels>& out,
                                                   std::size_t i, Coefficient coefficient,
                                                   long long row)
  {
    for (std::size_t channel = 0; channel < kChannels; ++channel)
      out.sums[i][channel] += coefficient * loaded(out.right[i][channel] + row);
  }

  template <std::size_t kOutputs, std::size_t kChannels>
  [[gnu::always_inline]] inline void addTaps(LaneOutputs<kOutputs, kChannels>& out,
                                             const Floats* right, const KeptTaps* const* of) const
  {
    InterpolatedCoefficients<kOutputs> coefficients = {right, entries, r.ratioF, {}, {}};
    addWings(out, of, coefficients);
  }

  template <std::size_t kOutputs, std::size_t kChannels>
  [[gnu::noinline]] void interpolateAlone(LaneOutputs<kOutputs, kChannels>& out, int n)
  {
    for (std::size_t i = 0; i < kOutputs; ++i) {
      LaneOutputs<1, kChannels> one = out.only(i);
      if constexpr (kOutputs > 1)
        interpolate(one, n + static_cast<int>(i));
      else
        interpolateSorts(one, placeOf(n));
      out.take(one, i);
    }
  }

  /** Those lanes that have one sort of taps, then those that have the other;
   *  should there be more, each of them its own. */
  template <std::size_t kChannels>
  void interpolateSorts(LaneOutputs<1, kChannels>& out, Place& place)
  {
    const Floats right = scaledLanes(out.distances[0], r.ratio);
    Ints isOpen = Ints{} - 1;
    LaneOutputs<1, kChannels> some = out;
    for (KeptTaps& sort : place.sort) {
      if (areAllEqual(isOpen, Ints{}))
        return;
      const float lead = right[firstOf(isOpen)];
      if (!sort.isOf(lead))
        findTapsOf(sort, right, isOpen, false);
      const Ints isHere = isOpen & sort.areOf(right);
      const Floats here = isHere ? right : Floats{} + lead;
      const KeptTaps* const of = &sort;
      addTaps(some, &here, &of);
      out.take(some, isHere);
      isOpen &= ~isHere;
    }
    if (!areAllEqual(isOpen, Ints{})) {
      interpolateStretchedApart(some, r, right);
      out.take(some, isOpen);
    }
  }

  const TovKernels::Resampling& r;
  float entries;
  int placeCount;
  int outputs; ///< of the shortest period
  Place places[kMostPeriod + 1];
  Tap taps[kMostKeptTaps];
  float steadyCoefficients[kMostKeptTaps];
};

} // namespace
