#include "app/PlotLane.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "app/PlotSound.h"

TrackFades::TrackFades(const MixTrack& track, const TrackPlan& plan)
    : start(plan.startTime),
      end(track.settings.hasEnd() ? plan.endTime : std::numeric_limits<double>::infinity())
{
}

double TrackFades::gainAt(double seconds) const
{
  const double in = std::clamp((seconds - start) / kSeconds, 0.0, 1.0);
  const double out = std::clamp((end - seconds) / kSeconds, 0.0, 1.0);
  return in * out;
}

/** Where the frames of a track's file come to lie on the timeline. */
struct TrackTimes {
  double start;
  double inFrame;
  double rate;

  TrackTimes(const MixTrack& track, const TrackPlan& plan)
      : start(plan.startTime), inFrame(track.settings.inFrame(*track.source)),
        rate(track.settings.playRate)
  {
  }
  double secondsOf(double frame) const { return start + (frame - inFrame) / rate; }

  /** The first frame at this time or behind it. */
  long long frameAt(double seconds) const
  {
    constexpr double kFar = 1e15;
    constexpr double kRounding = 1e-6;
    const double frame = std::ceil(inFrame + (seconds - start) * rate - kRounding);
    return static_cast<long long>(std::clamp(frame, -kFar, kFar));
  }
};

FrameSpan seenFrames(const MixTrack& track, const TrackPlan& plan, const TimeColumns& columns)
{
  if (!track.source) {
    return {0, 0};
  }
  const TrackTimes times(track, plan);
  const long long first = static_cast<long long>(std::max(times.inFrame, 0.0));
  const double last = std::min(columns.to, plan.soundEnd);
  const FrameSpan seen = {
      std::max(first, times.frameAt(columns.from)),
      std::min<long long>(times.frameAt(last), track.source->format.frameCount)};
  return {seen.from, std::max(seen.from, seen.to)};
}

/** Puts a track's samples into columns, which may hold many or none. */
class LaneColumns {
public:
  LaneColumns(const MixTrack& track, const TrackPlan& plan, const TimeColumns& timeColumns)
      : times(track, plan), fades(track, plan), gain(static_cast<double>(track.settings.gain)),
        columns(timeColumns), finished(static_cast<std::size_t>(columns.count)),
        counts(finished.size())
  {
  }

  void take(const TovNLPArray<float>& samples, int frames, long long first)
  {
    for (int i = 0; i < frames;) {
      const double seconds = times.secondsOf(static_cast<double>(first + i));
      const int column = columnAt(seconds);
      const long long next = times.frameAt(columns.timeOf(column + 1.0));
      const int end = static_cast<int>(std::clamp<long long>(next - first, i + 1, frames));
      for (; i < end; ++i) {
        const double level = gain * fades.gainAt(times.secondsOf(static_cast<double>(first + i)));
        for (int c = 0; c < samples.getCount(); ++c) {
          add(static_cast<std::size_t>(column), static_cast<double>(samples[c][i]) * level);
        }
      }
    }
  }

  std::vector<EnvelopeColumn> finish(FrameSpan seen)
  {
    for (std::size_t i = 0; i < finished.size(); ++i) {
      EnvelopeColumn& column = finished[i];
      if (counts[i] > 0) {
        column.rms = static_cast<float>(
            std::sqrt(static_cast<double>(column.rms) / static_cast<double>(counts[i])));
      } else if (i > 0 && isBetween(seen, i)) {
        column = finished[i - 1]; // fewer frames than pixels
      }
    }
    return std::move(finished);
  }

private:
  int columnAt(double seconds) const
  {
    constexpr double kRounding = 1e-6;
    const double place =
        (seconds - columns.from) / (columns.to - columns.from) * columns.count + kRounding;
    return std::clamp(static_cast<int>(place), 0, columns.count - 1);
  }

  bool isBetween(FrameSpan seen, std::size_t column) const
  {
    const double seconds = columns.timeOf(static_cast<double>(column));
    return seconds > times.secondsOf(static_cast<double>(seen.from)) &&
           seconds < times.secondsOf(static_cast<double>(seen.to));
  }

  void add(std::size_t index, double value)
  {
    EnvelopeColumn& column = finished[index];
    if (std::isnan(value)) {
      return;
    }
    const float sample = static_cast<float>(value);
    column.lowest = counts[index] == 0 ? sample : std::min(column.lowest, sample);
    column.highest = counts[index] == 0 ? sample : std::max(column.highest, sample);
    column.rms += sample * sample; // the sum, until finish()
    ++counts[index];
  }

  TrackTimes times;
  TrackFades fades;
  double gain;
  TimeColumns columns;
  std::vector<EnvelopeColumn> finished;
  std::vector<long long> counts;
};

std::vector<EnvelopeColumn> columnsOfTrack(const MixTrack& track, const TrackPlan& plan,
                                           const TimeColumns& columns, Progress& progress)
{
  const FrameSpan seen = seenFrames(track, plan, columns);
  if (seen.length() == 0) {
    return std::vector<EnvelopeColumn>(static_cast<std::size_t>(columns.count));
  }
  LaneColumns lane(track, plan, columns);
  TovNLArray<int> channels;
  channels.append(plan.leftChannel);
  if (plan.rightChannel != plan.leftChannel) {
    channels.append(plan.rightChannel);
  }
  readSpan(*track.source, channels, seen,
           [&](const TovNLPArray<float>& samples, int frames, long long first) {
             lane.take(samples, frames, first);
             progress.advance(frames);
           });
  return lane.finish(seen);
}
