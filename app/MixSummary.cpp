#include "app/MixSummary.h"

#include <cstdio>
#include <iostream>

#include <nlohmann/json.hpp>

#include "app/NumberText.h"
#include "app/TimeText.h"

static std::string settingsForPeople(const MixedTrack& track)
{
  const TrackRequest& request = track.request;
  char gain[48];
  std::snprintf(gain, sizeof gain, "%+.1f dB", static_cast<double>(request.gain));
  std::string text = gain;
  text += ", pan " + shortNumber(static_cast<double>(request.pan));
  text += ", width " + shortNumber(static_cast<double>(request.width));
  if (request.in > 0.0 || request.out) {
    text += ", file from " + timeForPeople(request.in) + " to " +
            timeForPeople(request.out.value_or(track.source.seconds()));
  }
  if (request.playRate) {
    text += ", played at " + std::to_string(*request.playRate) + " Hz";
  }
  if (request.channels) {
    text += ", channels " + std::to_string(request.channels->first) + " and " +
            std::to_string(request.channels->second);
  }
  if (request.solo) {
    text += ", solo";
  }
  if (!track.isHeard) {
    text += request.mute ? ", muted" : ", not heard (another track is solo)";
  }
  return text;
}

static void printTrack(const MixedTrack& track)
{
  const SourceFile& source = track.source;
  std::printf("  %s  (%s, %d Hz, %d bit, %d ch)\n", source.name.c_str(), source.formatName.c_str(),
              source.rate(), source.bits, source.channels());
  std::printf("      %s to %s, %s\n", timeForPeople(track.plan.startTime).c_str(),
              timeForPeople(track.plan.endTime).c_str(), settingsForPeople(track).c_str());
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

static nlohmann::ordered_json jsonOf(const MixedTrack& track)
{
  return {{"file", track.source.name},     {"gain", track.request.gain},
          {"pan", track.request.pan},      {"width", track.request.width},
          {"start", track.plan.startTime}, {"end", track.plan.endTime},
          {"heard", track.isHeard}};
}

void printMixSummaryAsJson(const MixRequest& request, const MixResult& result)
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
