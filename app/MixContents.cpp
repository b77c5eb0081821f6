#include "app/MixContents.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <unordered_map>

#include "app/Failures.h"
#include "app/ForeignSounds.h"
#include "app/OutputFile.h"
#include "app/ScriptFile.h"
#include "app/Session.h"
#include "core/TovFile.h"
#include "pcm/TovPcm.h"

/** Its settings follow once all files are open. */
static MixTrack trackOfFile(const TrackRequest& request)
{
  MixTrack track;
  track.source = std::make_shared<SourceFile>(openSource(request.file));
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
  track.name = nameForPeople(track.entry->path);
  if (track.entry->isTooLong) {
    track.whyMissing = systemErrorText(ENAMETOOLONG);
    return;
  }
  try {
    SourceFile source = openSource(track.entry->path);
    source.name = track.name;
    track.source = std::make_shared<SourceFile>(std::move(source));
  } catch (const Failure& failure) {
    track.whyMissing = withoutControlCharacters(failure.reason());
  }
}

/** Says where the entry's file is, or would be. */
static void placeEntry(MixTrack& track, SessionEntry entry, const SessionFolder& folder)
{
  const bool isNameTooLong = entry.storedName.size() >= TovFile::kMaxPath;
  std::string path = isNameTooLong ? std::string() : folder.pathOf(entry.storedName);
  entry.isTooLong = isNameTooLong || isTooLongForPath(path);
  entry.path =
      !entry.isTooLong ? std::move(path) : shortened(isNameTooLong ? entry.storedName : path);
  track.entry = std::make_shared<SessionEntry>(std::move(entry));
}

/** Of many tracks of one name, its file is looked at for the first only. */
static void useSameFile(MixTrack& track, SessionEntry entry, const MixTrack& first)
{
  entry.path = first.entry->path;
  entry.isTooLong = first.entry->isTooLong;
  track.entry = std::make_shared<SessionEntry>(std::move(entry));
  track.name = first.name;
  track.source = first.source;
  track.whyMissing = first.whyMissing;
}

MixContents contentsOfSession(const std::string& name, const std::vector<NameMapping>& mappings)
{
  Session session = loadSession(name);
  const SessionFolder folder(name);
  std::unordered_map<std::string_view, std::size_t> firstByName;
  MixContents contents;
  contents.masterGain = session.masterGain;
  contents.tracks.reserve(session.tracks.size());
  for (SessionTrack& entry : session.tracks) {
    const std::size_t index = contents.tracks.size();
    MixTrack track;
    track.settings = entry.settings;
    SessionEntry named = {.session = name,
                          .folder = folder.getCanonicalName(),
                          .number = static_cast<int>(index) + 1,
                          .storedName = mappedName(std::move(entry.storedName), mappings)};
    const auto known = firstByName.find(named.storedName);
    if (known != firstByName.end()) {
      useSameFile(track, std::move(named), contents.tracks[known->second]);
    } else {
      placeEntry(track, std::move(named), folder);
      findSource(track);
      firstByName.emplace(track.entry->storedName, index);
    }
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
  try {
    addSession(contents, contentsOfSession(request.script, request.mappings), true);
    return true;
  } catch (const UnreadableSettings& failure) {
    if (request.isForced) {
      notices.say(request.script, failure.reason() + "; saved over as told");
      return false;
    }
    throw Failure(request.script,
                  failure.reason() + "; nothing was added to them (--force saves over them)");
  }
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
  constexpr int kMostListed = 1000;
  std::string list;
  int count = 0;
  for (const MixTrack& track : contents.tracks) {
    if (!track.isMissing()) {
      continue;
    }
    if (isAllowed) {
      notices.say(track.name, track.whyMissing + "; " + placeOf(track) + " is left out");
    } else if (count < kMostListed) {
      list += "\n  " + track.name + ": " + track.whyMissing + " (" + placeOf(track) + ")";
    }
    ++count;
  }
  if (count > 0 && !isAllowed) {
    if (count > kMostListed) {
      list += "\n  and " + std::to_string(count - kMostListed) + " more";
    }
    throw Failure("mix",
                  std::to_string(count) + (count == 1 ? " file is missing" : " files are missing") +
                      " (--map OLD=NEW looks elsewhere, --allow-missing goes on without):" + list);
  }
}
