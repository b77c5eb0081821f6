#include "app/MixSummary.h"

#include <cstdio>
#include <utility>

#include "app/JsonOutput.h"
#include "app/NumberText.h"
#include "app/StandardOutput.h"
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

/** For programs: the name for messages lacks the control characters that a
 *  session's may have. */
static std::string fileOf(const MixTrack& track)
{
  const bool isOfSession = track.entry && !track.entry->storedName.empty();
  return isOfSession ? track.entry->path : track.name;
}

static nlohmann::ordered_json jsonOf(const MixedTrack& mixed)
{
  const TrackSettings& settings = mixed.track.settings;
  return {{"file", fileOf(mixed.track)},    {"gain", decibelsOfFactor(settings.gain)},
          {"pan", decimalOf(settings.pan)}, {"width", decimalOf(settings.width)},
          {"start", mixed.plan.startTime},  {"end", mixed.plan.soundEnd},
          {"heard", mixed.isHeard}};
}

nlohmann::ordered_json jsonOfMix(const MixRequest& request, const MixResult& result)
{
  nlohmann::ordered_json tracks = nlohmann::ordered_json::array();
  for (const MixedTrack& track : result.tracks) {
    tracks.push_back(jsonOf(track));
  }
  return {{"event", "done"},
          {"output", request.output},
          {"tracks", std::move(tracks)},
          {"sampleRate", result.rate},
          {"bits", request.bits},
          {"frames", result.frames},
          {"seconds", result.seconds()},
          {"peakDbfs", result.levels.peaksInDecibels()},
          {"clipped", result.levels.clippedOfChannels()},
          {"timesRealTime", result.timesRealTime}};
}

static void printSession(const MixRequest& request, const MixContents& contents)
{
  const std::size_t count = contents.tracks.size();
  std::printf("%s: holds the mix of %zu %s\n", request.script.c_str(), count,
              count == 1 ? "track" : "tracks");
}

static nlohmann::ordered_json jsonOfSession(const MixRequest& request, const MixContents& contents)
{
  nlohmann::ordered_json tracks = nlohmann::ordered_json::array();
  for (const MixTrack& track : contents.tracks) {
    tracks.push_back({{"file", fileOf(track)}, {"found", !track.isMissing()}});
  }
  return {{"event", "saved"}, {"script", request.script}, {"tracks", std::move(tracks)}};
}

MixReport::MixReport(const MixRequest& reportedRequest)
    : request(reportedRequest), isQuiet(request.isQuiet || isStandardOutput(request.output))
{
}

void MixReport::tellOfMix(const MixResult& result)
{
  if (isQuiet) {
    return;
  }
  if (request.isJson || request.progress == ProgressStyle::json) {
    takeJson(jsonOfMix(request, result));
  } else {
    printMixSummary(request, result);
  }
}

void MixReport::tellOfSession(const MixContents& contents)
{
  if (isQuiet) {
    return;
  }
  if (request.isJson || request.progress == ProgressStyle::json) {
    takeJson(jsonOfSession(request, contents));
  } else {
    printSession(request, contents);
  }
}

/** With --json one object holds everything: where a mix is rendered and saved,
 *  that of the render also names the script. */
void MixReport::takeJson(const nlohmann::ordered_json& part)
{
  if (!request.isJson) {
    printJsonLine(part);
  } else if (object.empty()) {
    object = part;
  } else {
    object["script"] = part["script"];
  }
}

void MixReport::finish() const
{
  if (!object.empty()) {
    printJsonLine(object);
  }
}
