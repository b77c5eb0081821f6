#include "app/MixContents.h"

#include <algorithm>

#include "app/Failures.h"
#include "app/ForeignSounds.h"
#include "app/ScriptFile.h"
#include "app/Session.h"
#include "pcm/TovPcm.h"

/** Its settings follow once all files are open. */
static MixTrack trackOfFile(const TrackRequest& request)
{
  MixTrack track;
  track.source = openSource(request.file);
  track.name = track.source->name;
  track.channels = request.channels;
  return track;
}

/** What samples on the timeline are counted by. */
static int countingRateOf(const MixRequest& request, const MixContents& contents)
{
  int rate = 0;
  for (const MixTrack& track : contents.tracks) {
    rate = track.source ? std::max(rate, track.source->rate()) : rate;
  }
  return request.rate.value_or(rate);
}

/** Looks for the file of a session's track. */
static void findSource(MixTrack& track)
{
  if (track.entry->storedName.empty()) {
    track.name = "(no name)";
    track.whyMissing = "names no file";
    return;
  }
  track.name = withoutControlCharacters(track.entry->path);
  try {
    track.source = openSource(track.entry->path);
    track.source->name = track.name;
  } catch (const Failure& failure) {
    track.whyMissing = withoutControlCharacters(failure.reason());
  }
}

MixContents contentsOfSession(const std::string& name, const std::vector<NameMapping>& mappings)
{
  const Session session = loadSession(name);
  const std::string folder = folderOfScript(name);
  MixContents contents;
  contents.masterGain = session.masterGain;
  for (const SessionTrack& entry : session.tracks) {
    const std::string storedName = mappedName(entry.storedName, mappings);
    MixTrack track;
    track.settings = entry.settings;
    track.entry = {name, folder, static_cast<int>(contents.tracks.size()) + 1, storedName,
                   pathOfStoredName(storedName, name)};
    findSource(track);
    contents.tracks.push_back(std::move(track));
  }
  return contents;
}

/** Adds a session's tracks; the master level is that of the first session. */
static void addSession(MixContents& contents, MixContents session, bool isFirst)
{
  if (isFirst) {
    contents.masterGain = session.masterGain;
  }
  for (MixTrack& track : session.tracks) {
    contents.tracks.push_back(std::move(track));
  }
}

/** What the script holds that tracks are to be added to. */
static bool addWhatIsThere(MixContents& contents, const MixRequest& request, const Notices& notices)
{
  const std::optional<std::string> text = readScript(request.script);
  const std::optional<AudioCommand> command = text ? findAudioCommand(*text) : std::nullopt;
  if (!command) {
    return false;
  }
  if (const std::string problem = whyUnreadable(*command); !problem.empty() && request.isForced) {
    notices.say(request.script, problem + "; saved over as told");
    return false;
  } else if (!problem.empty()) {
    throw Failure(request.script,
                  problem + "; nothing was added to them (--force saves over them)");
  }
  addSession(contents, contentsOfSession(request.script, request.mappings), true);
  return true;
}

MixContents gatherMix(const MixRequest& request, const Notices& notices)
{
  readIntegersAsScaledFloats(request.isForced);
  MixContents contents;
  std::vector<std::pair<std::size_t, const TrackRequest*>> fromFiles;
  bool isAnySession = request.isAppended && addWhatIsThere(contents, request, notices);
  for (const TrackRequest& track : request.tracks) {
    if (!isSession(track.file)) {
      fromFiles.emplace_back(contents.tracks.size(), &track);
      contents.tracks.push_back(trackOfFile(track));
      continue;
    }
    if (track.hasOptions) {
      throw UsageError(track.file + " is a session, whose tracks have their own settings; the "
                                    "options of a track follow a sound file");
    }
    addSession(contents, contentsOfSession(track.file, request.mappings), !isAnySession);
    isAnySession = true;
  }
  if (!request.mappings.empty() && !isAnySession) {
    throw UsageError("--map is for the files of a session, and there is none");
  }
  contents.countingRate = countingRateOf(request, contents);
  for (const auto& [index, wish] : fromFiles) {
    MixTrack& track = contents.tracks[index];
    track.settings = settingsOf(*wish, *track.source, contents.countingRate);
  }
  if (request.master) {
    contents.masterGain = TovPcm::dBToFactor(*request.master);
  }
  return contents;
}

static std::string placeOf(const MixTrack& track)
{
  return "track " + std::to_string(track.entry->number) + " of " + track.entry->session;
}

void refuseMissing(const MixContents& contents, bool isAllowed, const Notices& notices)
{
  std::string list;
  int count = 0;
  for (const MixTrack& track : contents.tracks) {
    if (!track.isMissing()) {
      continue;
    }
    if (isAllowed) {
      notices.say(track.name, track.whyMissing + "; " + placeOf(track) + " is left out");
    }
    list += "\n  " + track.name + ": " + track.whyMissing + " (" + placeOf(track) + ")";
    ++count;
  }
  if (count > 0 && !isAllowed) {
    throw Failure("mix",
                  std::to_string(count) + (count == 1 ? " file is missing" : " files are missing") +
                      " (--map OLD=NEW looks elsewhere, --allow-missing goes on without):" + list);
  }
}
