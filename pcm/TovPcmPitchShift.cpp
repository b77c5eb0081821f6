#include "pcm/TovPcm.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

// The pitch shifter reads its input by linear interpolation at a position that
// runs at the ordinary rate ratio plus an offset, which drifts by pitch - 1
// output frames a frame:
//
//      offset  0 ....... G ................... W ............... 2W
//              |search   |                     | quiet: splice   | splice
//              |for the  |                     | (a hit)         | anyway
//              |quietest |
//
//   1. In the first G frames of drift, remember the offset of the quietest
//      sample.
//   2. Beyond W, jump back to it at the next quiet sample, so that the splice
//      is not heard.
//   3. Beyond 2W, jump back whatever is heard.
//   4. Going down, the picture is mirrored: the drift begins at 2W and falls.
//      Deliberate: step (3) has no mirror image, so that the offset may keep
//      falling until a quiet sample comes.

namespace {

constexpr double kSpliceWindowSeconds = 0.07;
constexpr double kSearchZoneSeconds = 0.015;
constexpr float kQuietDB = -82.0f;

class Splicer {
public:
  Splicer(double inRate, double drift)
      : window(inRate * kSpliceWindowSeconds), zone(inRate * kSearchZoneSeconds), shift(drift),
        quiet(TovPcm::dBToFactor(kQuietDB)), offset(drift >= 0.0 ? 0.0 : 2.0 * window),
        bestOffset(offset)
  {
  }

  double currentOffset() const { return offset; }
  int hitCount() const { return hits; }
  int spliceCount() const { return splices; }

  void advance(float level)
  {
    offset += shift;
    const bool isUp = shift >= 0.0;
    if (isUp ? offset < zone : offset > 2.0 * window - zone) { // Step (1)
      if (level < bestLevel) {
        bestOffset = offset;
        bestLevel = level;
      }
    } else if (isUp ? offset > window : offset < window) {
      if (level < quiet) { // Step (2)
        ++hits;
        splice();
      } else if (offset > 2.0 * window) { // Steps (3) and (4): never so going down
        splice();
      }
    }
  }

private:
  void splice()
  {
    offset = bestOffset;
    bestLevel = 1.0f;
    ++splices;
  }

  const double window; ///< W, in output frames
  const double zone;   ///< G, likewise
  const double shift;
  const float quiet;
  double offset;
  double bestOffset;
  float bestLevel = 1.0f;
  int hits = 0;
  int splices = 0;
};

/** Linear interpolation; positions outside hold the first or last frame. */
float interpolated(const float* in, double last, double position)
{
  position = std::clamp(position, -1.0, last + 1.0); // keeps the fraction finite
  const double a = std::clamp(std::floor(position), 0.0, last);
  const double b = std::clamp(std::ceil(position), 0.0, last);
  const float before = in[static_cast<long long>(a)];
  const float behind = in[static_cast<long long>(b)];
  return before + (behind - before) * static_cast<float>(position - a);
}

long long outputFrames(int outRate, int inRate, long long outFrames, long long inFrames)
{
  const double resampled = static_cast<double>(inFrames) * outRate / inRate + 0.5;
  return resampled < static_cast<double>(outFrames) ? static_cast<long long>(resampled) : outFrames;
}

} // namespace

long long TovPcm::resampleWithPitchShift(float* out, const float* in, int outRate, int inRate,
                                         long long outFrames, long long inFrames, float pitch)
{
  const bool isPossible =
      outRate >= 1 && inRate >= 1 && outFrames > 0 && inFrames > 0 && std::isfinite(pitch);
  const long long count = isPossible ? outputFrames(outRate, inRate, outFrames, inFrames) : 0;
  const double step = isPossible ? static_cast<double>(inRate) / outRate : 0.0;
  const double last = static_cast<double>(inFrames) - 1.0;

  Splicer splicer(inRate, static_cast<double>(pitch) - 1.0);
  for (long long i = 0; i < count; ++i) {
    const double position = (static_cast<double>(i) + splicer.currentOffset()) * step;
    out[i] = interpolated(in, last, position);
    splicer.advance(std::fabs(out[i]));
  }

  const int hits = splicer.hitCount();
  const int splices = splicer.spliceCount();
  const float percent = splices > 0
                            ? static_cast<float>(hits) / static_cast<float>(splices) * 100.0f
                            : std::numeric_limits<float>::quiet_NaN();
  std::printf("Hits: %d/%d (%5.2f%%)\n", hits, splices, static_cast<double>(percent));
  return count;
}
