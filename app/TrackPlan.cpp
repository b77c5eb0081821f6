#include "app/TrackPlan.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "app/Failures.h"
#include "app/NumberText.h"

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

/** A quarter of a frame behind the frame's beginning, where rounding down
 *  meets the frame whatever the conversions on the way lose. */
static double sourceTimeOfFrame(double frame, const SourceFile& source)
{
  return (frame + 0.25) / source.rate();
}

static void checkChannels(const TrackRequest& request, const SourceFile& source)
{
  if (!request.channels) {
    return;
  }
  if (std::max(request.channels->first, request.channels->second) > source.channels()) {
    throw UsageError("--channels " + std::to_string(request.channels->first) + "," +
                     std::to_string(request.channels->second) + ": " + source.name + " has " +
                     std::to_string(source.channels()) +
                     (source.channels() == 1 ? " channel" : " channels"));
  }
}

TrackPlan planTrack(const TrackRequest& request, const SourceFile& source, int rate)
{
  checkChannels(request, source);
  const double frameCount = static_cast<double>(source.format.frameCount);
  const double inFrame = std::round(request.in * source.rate());
  const double outFrame =
      request.out ? std::min(std::round(*request.out * source.rate()), frameCount) : frameCount;
  if (inFrame > 0.0 && inFrame >= outFrame) {
    throw UsageError("--in " + shortNumber(request.in) + " leaves nothing of " + source.name +
                     ", which is " + shortNumber(source.seconds()) + " seconds long");
  }
  TrackPlan plan = {};
  plan.playRate = request.playRate.value_or(source.rate());
  const double runsOut = request.start + (outFrame - inFrame) / plan.playRate;
  plan.startTime = timeOnFrame(request.start, rate);
  plan.endTime = timeOnFrame(std::min(request.end.value_or(runsOut), runsOut), rate);
  // A start just above its frame makes the file provider, which rounds down
  // the time before the start, begin a frame late: the file begins one further.
  const bool isLate =
      plan.playRate == rate && plan.startTime * rate > std::round(request.start * rate);
  plan.srcIn = sourceTimeOfFrame(isLate ? inFrame + 1.0 : inFrame, source);
  plan.srcOut = sourceTimeOfFrame(outFrame, source);
  plan.leftChannel = request.channels ? request.channels->first - 1 : 0;
  plan.rightChannel =
      request.channels ? request.channels->second - 1 : std::min(1, source.channels() - 1);
  return plan;
}
