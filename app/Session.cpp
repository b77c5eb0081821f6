#include "app/Session.h"

#include "app/Failures.h"
#include "app/ProviderReference.h"
#include "app/ScriptFile.h"
#include "core/TovBuffer.h"
#include "core/TovCompressor.h"
#include "core/TovGlobals.h"
#include "core/TovScript.h"

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

std::string whyUnreadable(const AudioCommand& command)
{
  if (!command.argument) {
    return std::string(); // an empty argument list is an empty mix
  }
  TovBuffer buffer;
  if (TovCompressor::decompressString(command.argument->c_str(), buffer) != 0) {
    return "its audio settings are damaged";
  }
  const unsigned char* bytes = buffer.getData();
  return settingsProblem(examineMixerBlob(
      bytes == nullptr ? BlobBytes() : BlobBytes(bytes, bytes + buffer.getSize())));
}

static SessionTrack trackOf(const TovAudioTrack& track)
{
  SessionTrack entry;
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
  entry.storedName = file.getFileName();
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
  if (const std::string problem = whyUnreadable(*command); !problem.empty()) {
    throw Failure(name, problem);
  }
  const ProviderReference<TovAudioMixer> mixer(TovAudioMixer::getMasterMixer());
  TovGlobals::ref(TovName::getString("gui.addScriptFlag"), kTovIdInteger, 0)->set("0");
  if (TovScript::runAudio(text->c_str()) != 0) {
    throw Failure(name, "its audio settings could not be loaded");
  }
  Session session;
  session.masterGain = mixer->getMasterGain();
  for (int i = 0; i < mixer->getNumTracks(); ++i) {
    session.tracks.push_back(trackOf(*mixer->getTrack(i)));
  }
  mixer->clear();
  return session;
}
