#include "app/MixSummary.h"

#include <cstdio>
#include <iostream>

#include <nlohmann/json.hpp>

#include "app/TimeText.h"
#include "app/TrackText.h"

static const char* whyNotHeard(const MixedTrack& mixed)
{
  if (mixed.track.isMissing()) {
    return ", left out";
  }
  if (mixed.track.settings.mute) {
    return ", muted";
  }
  return mixed.plan.isTooShort ? ", shorter than a frame" : ", not heard (another track is solo)";
}

static void printTrack(const MixedTrack& mixed)
{
  std::printf("  %s  (%s)\n", mixed.track.name.c_str(), sourceForPeople(mixed.track).c_str());
  std::printf("      %s to %s, %s%s\n", timeForPeople(mixed.plan.startTime).c_str(),
              timeForPeople(mixed.plan.soundEnd).c_str(), settingsForPeople(mixed.track).c_str(),
              mixed.isHeard ? "" : whyNotHeard(mixed));
}

void printMixSummary(const MixRequest& request, const MixResult& result)
{
  std::printf("%s: %zu %s, %s, %d Hz, %d bit, stereo\n", request.output.c_str(),
              result.tracks.size(), result.tracks.size() == 1 ? "track" : "tracks",
              timeForPeople(result.seconds()).c_str(), result.rate, request.bits);
  for (const MixedTrack& track : result.tracks) {
    printTrack(track);
  }
  const std::vector<double> peaks = result.levels.peaksInDecibels();
  std::printf("peak left %s, right %s; %lld samples clipped\n", levelForPeople(peaks[0]).c_str(),
              levelForPeople(peaks[1]).c_str(), result.levels.getClipped());
  std::printf("rendered at %.1f times real time (%s quality)\n", result.timesRealTime,
              qualityName(request.quality).c_str());
}

static nlohmann::ordered_json jsonOf(const MixedTrack& mixed)
{
  const TrackSettings& settings = mixed.track.settings;
  return {{"file", mixed.track.name},      {"gain", decibelsOfFactor(settings.gain)},
          {"pan", settings.pan},           {"width", settings.width},
          {"start", mixed.plan.startTime}, {"end", mixed.plan.soundEnd},
          {"heard", mixed.isHeard}};
}

static void printMixSummaryAsJson(const MixRequest& request, const MixResult& result)
{
  nlohmann::ordered_json tracks = nlohmann::ordered_json::array();
  for (const MixedTrack& track : result.tracks) {
    tracks.push_back(jsonOf(track));
  }
  nlohmann::ordered_json clipped = nlohmann::ordered_json::array();
  for (const ChannelLevel& level : result.levels.getChannels()) {
    clipped.push_back(level.clipped);
  }
  const nlohmann::ordered_json line = {{"event", "done"},
                                       {"output", request.output},
                                       {"tracks", tracks},
                                       {"sampleRate", result.rate},
                                       {"bits", request.bits},
                                       {"frames", result.frames},
                                       {"seconds", result.seconds()},
                                       {"peakDbfs", result.levels.peaksInDecibels()},
                                       {"clipped", clipped},
                                       {"timesRealTime", result.timesRealTime}};
  // A file's name need not be valid UTF-8; the line must be.
  std::cout << line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
            << std::endl;
}

void tellOfMix(const MixRequest& request, const MixResult& result)
{
  if (request.isQuiet) {
    return;
  }
  if (request.progress == ProgressStyle::json) {
    printMixSummaryAsJson(request, result);
  } else {
    printMixSummary(request, result);
  }
}
