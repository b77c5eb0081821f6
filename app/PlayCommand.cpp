#include "app/Commands.h"

#include <cstdlib>
#include <string>

#include "app/Failures.h"
#include "app/MixArguments.h"
#include "app/MixContents.h"
#include "app/MixGraph.h"
#include "app/MixSpan.h"
#include "app/PlayArguments.h"
#include "app/PlayControls.h"
#include "app/PlayRun.h"
#include "app/PlaySession.h"
#include "app/PlayTracks.h"
#include "app/ScaledFloatInput.h"
#include "app/Terminal.h"
#include "core/TovGlobals.h"
#include "playback/TovAudioPlayer.h"
#include "playback/TovAudioPlayerFactory.h"

static constexpr int kPlayerRate = 44100;

static const char* const kPlayNotes =
    "Examples:\n"
    "  tov play drums.wav --gain -3 bass.aiff --pan -0.4 --start 1.5\n"
    "  tov play shot.script --from 10 --to 20 --loop --volume -6dB\n"
    "  tov play shot.script --device null --json\n"
    "\n"
    "Plays the mix that \"tov mix\" with the same files and options would write, through the\n"
    "computer's audio output at 44100 Hz.  \"tov mix --help\" tells of tracks and sessions.\n"
    "\n";

static const char* const kPlayNotesBehindKeys =
    "\n"
    "What mute, solo and filter change is heard at once, behind a short gap.  A loop that is set\n"
    "while it plays has such a gap where it goes round for the first time; from then on, and with\n"
    "--loop from the beginning, it has none.  A loop is a tenth of a second long at least.  The\n"
    "position, in minutes and as timecode by --fps, is the one that is heard.  Levels are peaks\n"
    "in dBFS (0 is full scale) behind the volume, held for a moment; clips counts how often the\n"
    "left and the right one rose above full scale.\n"
    "\n"
    "At the end the program ends, with --reverse at the beginning; where it was turned round with\n"
    "j or l, it pauses there.\n"
    "Where the audio output goes away the position is kept, and the output tried again for a\n"
    "while.  A file that can no longer be read falls silent, and the rest plays on.  Ctrl-Z\n"
    "suspends the program and pauses playback until it is continued.\n"
    "\n"
    "Where standard input or standard error is no terminal there are no keys, and the line is\n"
    "written to standard error once a second; with --json, an object a line on standard output,\n"
    "the last of which has \"event\": \"done\".  With --quiet and with any --progress but auto\n"
    "there are no keys either.\n";

CLI::App* declarePlay(CLI::App& program)
{
  CLI::App* command = program.add_subcommand("play", "Play a mix through the audio output");
  declareArguments(*command, playOptions(),
                   {{"FILE", "Files to play, each followed by its options", true}});
  command->footer(std::string(kPlayNotes) + kPlayKeyNotes + kPlayNotesBehindKeys);
  return command;
}

static void setQuality(int quality)
{
  TovGlobals::ref(TovName::getString("sys.defaultAudioPlaybackQuality"), kTovIdInteger, 0)
      ->set(std::to_string(quality).c_str());
}

/** Opens the audio output. */
static TovAudioPlayer& openPlayer(const PlayRequest& request)
{
  if (request.quality) {
    setQuality(*request.quality);
  }
  if (!request.device.empty()) {
    setenv("PLAYOUT_DEVICE", request.device.c_str(), 1);
  }
  TovAudioPlayer& player = *TovAudioPlayerFactory::getAudioPlayer();
  // Only a player without an output refuses this.
  if (player.stop() != 0) {
    throw Failure("playback",
                  "the audio output could not be opened; --device null plays in silence");
  }
  player.setVolume(request.volume);
  player.setFilterFreq(request.filter);
  return player;
}

static PlayHead headOf(const PlayRequest& request, const MixGraph& graph)
{
  const FrameSpan span = spanOf(request.mix, graph, "mix");
  PlayHead head(span, {graph.getRate(), hostFramesPerSecond()}, request.isReverse);
  if (request.isLoop && !head.loopAll()) {
    throw UsageError("--loop: what is to be played is shorter than a tenth of a second");
  }
  return head;
}

static void checkScaledFloatInputs(const MixGraph& graph, const PlayRequest& request,
                                   const Notices& notices)
{
  for (int i = 0; i < graph.getTrackCount(); ++i) {
    if (const MixTrack& track = graph.getTrack(i); track.source) {
      checkScaledFloatInput(*track.source, request.mix.isForced, notices);
    }
  }
}

static ProgressStyle styleElsewhere(ProgressStyle wanted)
{
  return wanted == ProgressStyle::automatic ? ProgressStyle::text : wanted;
}

int runPlay(const CLI::App& command)
{
  const PlayRequest request = playRequestOf(argumentsInOrder(command));
  const Notices notices(request.mix.isQuiet);
  const MixContents contents = gatherMix(request.mix, notices);
  refuseMissing(contents, request.mix.isMissingAllowed, notices);
  MixRequest heard = request.mix;
  heard.rate = kPlayerRate;
  MixGraph graph(contents, heard, notices,
                 ProviderReference<TovAudioMixer>(TovAudioMixer::getMasterMixer()));
  const PlayHead head = headOf(request, graph);
  checkScaledFloatInputs(graph, request, notices);
  graph.activate();
  TovAudioPlayer& player = openPlayer(request);
  PlayTracks tracks(graph);
  PlaySession session(player, head);
  const Playback playback = {session, tracks, player, request.isReverse};
  if (request.report == ProgressStyle::automatic && Terminal::isThere()) {
    playAtTerminal(playback);
  } else {
    playUnattended(playback, styleElsewhere(request.report), notices);
  }
  return 0;
}
