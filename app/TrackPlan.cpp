#include "app/TrackPlan.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "app/Failures.h"

double timeOnFrame(double seconds, int rate)
{
  constexpr double kFar = std::numeric_limits<double>::infinity();
  const double frame = std::round(seconds * rate);
  const double time = frame / rate;
  for (const double candidate : {time, std::nextafter(time, kFar), std::nextafter(time, -kFar)}) {
    if (candidate * rate == frame) {
      return candidate;
    }
  }
  // No time gives the frame exactly.  Just above it the library still counts
  // the frame; just below it would count the one before.
  return time * rate > frame ? time : std::nextafter(time, kFar);
}

static bool isWithin(double value, double limit)
{
  return value >= -limit && value <= limit; // no number is not
}

// Far beyond any timeline, and as far from where frame numbers overflow.
static constexpr double kMostSeconds = 4e9;

/** What is wrong with settings that no command line would give, but a session
 *  might hold; null where nothing is. */
static const char* problemOf(const TrackSettings& settings)
{
  constexpr double kMostFactor = 8.0;
  if (!isWithin(static_cast<double>(settings.gain), kMostFactor) ||
      !isWithin(static_cast<double>(settings.pan), 1.0) ||
      !isWithin(static_cast<double>(settings.width), 1.0)) {
    return "its gain, pan or width is no number";
  }
  if (!isWithin(settings.start, kMostSeconds) || !isWithin(settings.end, kMostSeconds)) {
    return "its start or end is no usable time";
  }
  if (!isWithin(settings.srcIn, kMostSeconds) || !isWithin(settings.srcOut, kMostSeconds)) {
    return "the times of its used part are not usable";
  }
  return nullptr;
}

static bool isPlayable(int playRate, const SourceFile& source)
{
  constexpr int kMostRate = 768000;
  return playRate >= 1 && (playRate <= kMostRate || playRate == source.rate());
}

static void checkSettings(const MixTrack& track)
{
  if (const char* problem = problemOf(track.settings)) {
    throw Failure(track.name, std::string("cannot be mixed: ") + problem);
  }
  if (track.source && !isPlayable(track.settings.playRate, *track.source)) {
    throw Failure(track.name, "cannot be mixed: it is to be played at " +
                                  std::to_string(track.settings.playRate) + " Hz");
  }
}

/** A start just above its frame makes the file provider, which rounds down the
 *  time before the start, begin a frame late: the file begins one further. */
static double sourceIn(const MixTrack& track, double startTime, int rate)
{
  const TrackSettings& settings = track.settings;
  const bool isLate = track.source && settings.playRate == rate &&
                      startTime * rate > std::round(settings.start * rate);
  return isLate ? settings.srcIn + 1.0 / track.source->rate() : settings.srcIn;
}

static double soundEnd(const MixTrack& track)
{
  const TrackSettings& settings = track.settings;
  double end = settings.hasEnd() ? settings.end : settings.start;
  if (track.source) {
    const double runsOut = settings.runsOut(*track.source);
    end = settings.hasEnd() ? std::min(end, runsOut) : runsOut;
  }
  return std::min(end, kMostSeconds);
}

TrackPlan planTrack(const MixTrack& track, int rate)
{
  checkSettings(track);
  const TrackSettings& settings = track.settings;
  TrackPlan plan = {};
  plan.startTime = timeOnFrame(settings.start, rate);
  plan.srcIn = sourceIn(track, plan.startTime, rate);
  plan.endTime = settings.hasEnd() ? timeOnFrame(settings.end, rate) : plan.startTime;
  plan.soundEnd = timeOnFrame(soundEnd(track), rate);
  plan.isTooShort = settings.hasEnd() && !TrackSettings::isEndBehind(plan.startTime, plan.endTime);
  const int channels = track.source ? track.source->channels() : 2;
  plan.leftChannel = track.channels ? track.channels->first - 1 : 0;
  plan.rightChannel = track.channels ? track.channels->second - 1 : std::min(1, channels - 1);
  return plan;
}
