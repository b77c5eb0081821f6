#include "app/TrackSettings.h"

#include <algorithm>
#include <cmath>

#include "app/Failures.h"
#include "app/NumberText.h"
#include "pcm/TovPcm.h"

double TrackSettings::inFrame(const SourceFile& source) const
{
  return std::floor(srcIn * source.rate());
}

double TrackSettings::outFrame(const SourceFile& source) const
{
  return std::min(std::floor(srcOut * source.rate()),
                  static_cast<double>(source.format.frameCount));
}

double TrackSettings::runsOut(const SourceFile& source) const
{
  // A session may name any rate; below 1 nothing is played.
  return start + (outFrame(source) - inFrame(source)) / std::max(playRate, 1);
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

static void useFrames(TrackSettings& settings, const TrackRequest& request,
                      const SourceFile& source)
{
  const double frameCount = static_cast<double>(source.format.frameCount);
  const double in = request.in.secondsAt(source.rate());
  const std::optional<double> out =
      request.out ? std::optional(request.out->secondsAt(source.rate())) : std::nullopt;
  if (out && *out <= in) {
    throw UsageError("--out of " + request.file + " is not behind its --in");
  }
  const double inFrame = std::round(in * source.rate());
  const double outFrame = out ? std::min(std::round(*out * source.rate()), frameCount) : frameCount;
  if (inFrame > 0.0 && inFrame >= outFrame) {
    throw UsageError("--in " + shortNumber(in) + " leaves nothing of " + source.name +
                     ", which is " + shortNumber(source.seconds()) + " seconds long");
  }
  settings.srcIn = sourceTimeOfFrame(inFrame, source);
  settings.srcOut = sourceTimeOfFrame(outFrame, source);
}

TrackSettings settingsOf(const TrackRequest& request, const SourceFile& source, int countingRate)
{
  checkChannels(request, source);
  TrackSettings settings;
  settings.gain = TovPcm::dBToFactor(request.gain);
  settings.pan = request.pan;
  settings.width = request.width;
  settings.mute = request.mute;
  settings.solo = request.solo;
  settings.start = request.start.secondsAt(countingRate);
  settings.playRate = request.playRate.value_or(source.rate());
  useFrames(settings, request, source);
  const double runsOut = settings.runsOut(source);
  const double end = request.end ? request.end->secondsAt(countingRate) : runsOut;
  if (request.end && end <= settings.start) {
    throw UsageError("--end of " + request.file + " is not behind its --start");
  }
  settings.end = std::min(end, runsOut);
  if (settings.end < runsOut && !settings.hasEnd()) {
    throw UsageError("--end of " + request.file +
                     " is less than a tenth of a millisecond behind its --start");
  }
  return settings;
}

double decibelsOfFactor(float factor)
{
  const double decibels = 20.0 * std::log10(static_cast<double>(factor));
  const double rounded = std::round(decibels * 1000.0) / 1000.0;
  // Which of two zeros is no matter.
  const bool isSame = TovPcm::dBToFactor(static_cast<float>(rounded)) == factor;
  return isSame ? rounded + 0.0 : decibels;
}
