#include "app/SessionInfo.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include "app/NumberText.h"
#include "app/SessionNames.h"
#include "app/TimeText.h"
#include "app/TrackText.h"

static void printTrack(std::size_t number, const MixTrack& track)
{
  const TrackSettings& settings = track.settings;
  std::printf("  track %-3zu %s  (%s)\n", number, track.name.c_str(),
              sourceForPeople(track).c_str());
  const std::string end = settings.hasEnd() ? timeForPeople(settings.end) : "the end of the file";
  std::printf("            %s to %s, %s%s\n", timeForPeople(settings.start).c_str(), end.c_str(),
              settingsForPeople(track).c_str(), settings.mute ? ", muted" : "");
}

void printSession(const std::string& name, const MixContents& contents)
{
  const std::size_t count = contents.tracks.size();
  std::printf("%s\n", name.c_str());
  std::printf("  format    session, %zu %s\n", count, count == 1 ? "track" : "tracks");
  std::printf("  master    %+.1f dB\n", decibelsOfFactor(contents.masterGain));
  for (std::size_t i = 0; i < count; ++i) {
    printTrack(i + 1, contents.tracks[i]);
  }
}

/** What is no number and silence's level in decibels become null. */
static nlohmann::ordered_json jsonOf(const MixTrack& track)
{
  const TrackSettings& settings = track.settings;
  nlohmann::ordered_json object = {{"file", nameForPrograms(track.entry->storedName)},
                                   {"path", track.entry->path},
                                   {"found", !track.isMissing()},
                                   {"gain", decibelsOfFactor(settings.gain)},
                                   {"pan", decimalOf(settings.pan)},
                                   {"width", decimalOf(settings.width)},
                                   {"mute", settings.mute},
                                   {"solo", settings.solo},
                                   {"start", settings.start},
                                   {"end", nullptr},
                                   {"shift", settings.shift},
                                   {"in", settings.srcIn},
                                   {"out", settings.srcOut},
                                   {"playRate", settings.playRate}};
  if (settings.hasEnd()) {
    object["end"] = settings.end;
  }
  if (track.isMissing()) {
    object["error"] = track.whyMissing;
    return object;
  }
  object["format"] = track.source->formatName;
  object["bits"] = nullptr;
  if (track.source->bits > 0) {
    object["bits"] = track.source->bits;
  }
  object["sampleRate"] = track.source->rate();
  object["channels"] = track.source->channels();
  object["frames"] = track.source->format.frameCount;
  object["reader"] = track.source->isForeign() ? "libsndfile" : "library";
  return object;
}

nlohmann::ordered_json jsonOfSession(const std::string& name, const MixContents& contents)
{
  nlohmann::ordered_json tracks = nlohmann::ordered_json::array();
  for (const MixTrack& track : contents.tracks) {
    tracks.push_back(jsonOf(track));
  }
  return {{"file", name},
          {"format", "session"},
          {"master", decibelsOfFactor(contents.masterGain)},
          {"tracks", std::move(tracks)}};
}
