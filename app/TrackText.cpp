#include "app/TrackText.h"

#include <cstdio>

#include "app/NumberText.h"
#include "app/TimeText.h"

std::string sourceForPeople(const MixTrack& track)
{
  if (!track.source) {
    return "missing: " + track.whyMissing;
  }
  const std::string bits =
      track.source->bits > 0 ? std::to_string(track.source->bits) + " bit, " : std::string();
  return track.source->formatName + ", " + std::to_string(track.source->rate()) + " Hz, " + bits +
         std::to_string(track.source->channels()) + " ch";
}

/** Nothing where the whole file is used. */
static std::string usedPart(const MixTrack& track)
{
  const TrackSettings& settings = track.settings;
  if (!track.source) {
    return ", file from " + timeForPeople(settings.srcIn) + " to " + timeForPeople(settings.srcOut);
  }
  const SourceFile& source = *track.source;
  const double in = settings.inFrame(source);
  const double out = settings.outFrame(source);
  if (!(in > 0.0) && !(in < 0.0) && out >= static_cast<double>(source.format.frameCount)) {
    return std::string();
  }
  return ", file from " + timeForPeople(in / source.rate()) + " to " +
         timeForPeople(out / source.rate());
}

std::string settingsForPeople(const MixTrack& track)
{
  const TrackSettings& settings = track.settings;
  char gain[48];
  (void)std::snprintf(gain, sizeof gain, "%+.1f dB", decibelsOfFactor(settings.gain));
  std::string text = gain;
  text += ", pan " + shortNumber(static_cast<double>(settings.pan));
  text += ", width " + shortNumber(static_cast<double>(settings.width));
  text += usedPart(track);
  if (!track.source || settings.playRate != track.source->rate()) {
    text += ", played at " + std::to_string(settings.playRate) + " Hz";
  }
  if (track.channels) {
    text += ", channels " + std::to_string(track.channels->first) + " and " +
            std::to_string(track.channels->second);
  }
  return settings.solo ? text + ", solo" : text;
}
