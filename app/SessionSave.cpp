#include "app/SessionSave.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <unistd.h>

#include "app/AudioCommand.h"
#include "app/Failures.h"
#include "app/Interruption.h"
#include "app/MixerBlob.h"
#include "app/OutputFile.h"
#include "app/ProviderReference.h"
#include "app/ScriptFile.h"
#include "app/Session.h"
#include "core/TovBuffer.h"
#include "core/TovCompressor.h"
#include "core/TovScript.h"

/** An entry of the same session keeps its name letter by letter: the host may
 *  look for it in its own way. */
static std::shared_ptr<const std::string> storedNameOf(const MixTrack& track,
                                                       const std::string& folder)
{
  if (!track.entry) {
    return std::make_shared<std::string>(nameToStore(track.source->path, folder));
  }
  const SessionEntry& entry = *track.entry;
  if (entry.folder == folder || entry.storedName.empty() || entry.isTooLong) {
    return {track.entry, &entry.storedName};
  }
  return std::make_shared<std::string>(nameToStore(entry.path, folder));
}

static void addTrack(TovAudioMixer& mixer, const MixTrack& track, const std::string& folder)
{
  const TrackSettings& settings = track.settings;
  const ProviderReference<KeptInput> input(new KeptInput(storedNameOf(track, folder)));
  setFileSettings(*input, settings.playRate, settings.srcIn, settings.srcOut);
  mixer.addProvider(input.get());
  // The mixer's own setters search all tracks for the provider.
  TovAudioTrack& last = *mixer.getTrack(mixer.getNumTracks() - 1);
  last.setGain(settings.gain);
  last.setPan(settings.pan);
  last.setWide(settings.width);
  last.setMute(settings.mute);
  last.setSolo(settings.solo);
  last.setStartTime(settings.start);
  last.setEndTime(settings.end);
  last.setTimeShift(settings.shift);
}

/** Refuses a mixer whose settings would not come back as they are. */
static void checkBlob(const BlobBytes& blob, int tracks, const std::string& script)
{
  const MixerBlobFindings findings = examineMixerBlob(blob);
  if (findings.kind == MixerBlobFindings::otherInput) {
    throw Failure(script, "the mix cannot be kept: the input of track " +
                              std::to_string(findings.tracks + 1) +
                              " is no audio file, and only audio files are read back");
  }
  if (!findings.isReadable() || findings.tracks != tracks) {
    throw Failure(script, "the mix cannot be kept: a session holds up to 65535 tracks");
  }
}

/** Whether a command carries these settings. */
static bool areSettingsIn(const AudioCommand& command, const BlobBytes& blob)
{
  TovBuffer buffer;
  return command.argument &&
         TovCompressor::decompressString(command.argument->c_str(), buffer) == 0 &&
         std::equal(blob.begin(), blob.end(), buffer.getData(),
                    buffer.getData() + buffer.getSize());
}

/** A whole line with the audio command, as the library's hook gives it. */
static std::string audioLine(const MixContents& contents, const std::string& script)
{
  const ProviderReference<TovAudioMixer> mixer(TovAudioMixer::getMasterMixer());
  emptyWithGain(*mixer, contents.masterGain);
  const std::string folder = folderOfScript(script);
  for (const MixTrack& track : contents.tracks) {
    addTrack(*mixer, track, folder);
  }
  const std::string line = TovScript::audioToString().c_str();
  const BlobBytes blob = blobOf(*mixer);
  mixer->clear();
  checkBlob(blob, static_cast<int>(contents.tracks.size()), script);
  const std::optional<AudioCommand> command = findAudioCommand(line);
  if (!command || !areSettingsIn(*command, blob)) {
    throw Failure(script, "the mix cannot be kept: its settings are too large to be read back");
  }
  return line;
}

static std::string withLineAppended(std::string text, std::string line)
{
  const bool hasCarriageReturns = text.find("\r\n") != std::string::npos;
  const std::string lineEnd = hasCarriageReturns ? "\r\n" : "\n";
  if (!text.empty() && text.back() != '\n') {
    text += lineEnd;
  }
  while (!line.empty() && line.back() == '\n') {
    line.pop_back();
  }
  return text + line + lineEnd;
}

static void refuseToLose(const AudioCommand& old, const MixRequest& request)
{
  const std::string problem = whyUnreadable(old);
  if (!problem.empty() && !request.isForced) {
    throw Failure(request.script, problem + "; they were not saved over (--force saves over them)");
  }
}

/** The script's text with the mix in it. */
static std::string scriptWith(const MixContents& contents, const MixRequest& request)
{
  const std::string text = readScript(request.script).value_or("");
  const std::optional<AudioCommand> old = findAudioCommand(text);
  if (old) {
    refuseToLose(*old, request);
  }
  const std::string line = audioLine(contents, request.script);
  const AudioCommand command = findAudioCommand(line).value();
  const std::string commandText = line.substr(command.begin, command.end - command.begin);
  const std::string newText = old ? text.substr(0, old->begin) + commandText + text.substr(old->end)
                                  : withLineAppended(text, line);
  // In a script that ends within a string or a comment the line would be part
  // of that.
  const std::optional<AudioCommand> found = findAudioCommand(newText);
  if (!found || found->argument != command.argument) {
    throw Failure(request.script, "ends within a string or a comment, where no command can be "
                                  "added");
  }
  return newText;
}

static void writeAll(const OutputFile& file, const std::string& text)
{
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t written = write(file.getDescriptor(), text.data() + done, text.size() - done);
    if (written < 0 && errno != EINTR) {
      throw Failure(file.getTargetName(),
                    "could not be written completely: " + systemErrorText(errno));
    }
    done += written > 0 ? static_cast<std::size_t>(written) : 0;
  }
}

void saveSession(const MixContents& contents, const MixRequest& request)
{
  const std::string text = scriptWith(contents, request);
  OutputFile file(request.script);
  writeAll(file, text);
  throwIfInterrupted();
  file.commit();
}

void checkSession(const MixContents& contents, const MixRequest& request)
{
  scriptWith(contents, request);
  const OutputFile file(request.script);
}

void sayWhatIsMissing(const MixContents& contents, const MixRequest& request,
                      const Notices& notices)
{
  for (const MixTrack& track : contents.tracks) {
    if (track.isMissing() && request.output.empty()) {
      notices.say(track.name, track.whyMissing + "; its entry is kept");
    }
  }
}
