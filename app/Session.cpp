#include "app/Session.h"

#include <span>
#include <string_view>

#include "app/Failures.h"
#include "app/ProviderReference.h"
#include "app/ScriptFile.h"
#include "core/TovBuffer.h"
#include "core/TovCompressor.h"

/** The settings that an audio command carries. */
struct CommandSettings {
  TovBuffer buffer;
  MixerBlobFindings findings;
  std::string problem; ///< as whyUnreadable() gives it

  std::span<const unsigned char> bytes() const { return {buffer.getData(), buffer.getSize()}; }
};

static std::string settingsProblem(const MixerBlobFindings& findings)
{
  switch (findings.kind) {
  case MixerBlobFindings::readable:
    return std::string();
  case MixerBlobFindings::laterVersion:
    return "its audio settings are of version " + std::to_string(findings.version) +
           ", which this program does not know";
  case MixerBlobFindings::noMixer:
    return "its audio settings are not those of a mix";
  case MixerBlobFindings::otherInput:
    return "its audio settings are damaged, or track " + std::to_string(findings.tracks + 1) +
           " is no audio file";
  case MixerBlobFindings::cutShort:
    break;
  }
  return "its audio settings are damaged: they end within track " +
         std::to_string(findings.tracks + 1);
}

static void readSettings(const AudioCommand& command, CommandSettings& settings)
{
  if (!command.argument) {
    return; // an empty argument list is an empty mix
  }
  if (TovCompressor::decompressString(command.argument->c_str(), settings.buffer) != 0) {
    settings.problem = "its audio settings are damaged";
    return;
  }
  settings.findings = examineMixerBlob(settings.bytes());
  settings.problem = settingsProblem(settings.findings);
}

std::string whyUnreadable(const AudioCommand& command)
{
  CommandSettings settings;
  readSettings(command, settings);
  return settings.problem;
}

static SessionTrack trackOf(const TovAudioTrack& track, std::string_view name)
{
  SessionTrack entry;
  entry.storedName = name;
  TrackSettings& settings = entry.settings;
  settings.gain = track.getGain();
  settings.pan = track.getPan();
  settings.width = track.getWide();
  settings.mute = track.getMute();
  settings.solo = track.getSolo();
  settings.start = track.getStartTime();
  settings.end = track.getEndTime();
  settings.shift = track.getTimeShift();
  // The library makes a file provider of every entry.
  const TovAudioFile& file = dynamic_cast<const TovAudioFile&>(*track.getProvider());
  settings.playRate = file.getPlaybackRate();
  settings.srcIn = file.getSrcIn();
  settings.srcOut = file.getSrcOut();
  return entry;
}

Session loadSession(const std::string& name)
{
  const std::optional<std::string> text = readScript(name);
  const std::optional<AudioCommand> command = text ? findAudioCommand(*text) : std::nullopt;
  if (!command) {
    throw Failure(name, text ? "holds no session" : "no such file");
  }
  CommandSettings settings;
  readSettings(*command, settings);
  if (!settings.problem.empty()) {
    throw UnreadableSettings(name, settings.problem);
  }
  // With the names in it the mixer would open every file of every track here,
  // long before it is known which of them are needed.
  const BlobBytes blob = withoutNames(settings.bytes(), settings.findings);
  const ProviderReference<TovAudioMixer> mixer(new TovAudioMixer());
  mixer->deserializeBounded(blob.data(), blob.size(), false);
  Session session;
  session.masterGain = mixer->getMasterGain();
  session.tracks.reserve(settings.findings.names.size());
  for (int i = 0; i < mixer->getNumTracks(); ++i) {
    session.tracks.push_back(
        trackOf(*mixer->getTrack(i), settings.findings.names[static_cast<std::size_t>(i)]));
  }
  return session;
}
