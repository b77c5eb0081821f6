#include "app/PlayControls.h"

#include "app/PlaySession.h"
#include "app/PlaySteps.h"
#include "app/PlayTracks.h"
#include "playback/TovAudioPlayer.h"

const char* const kPlayKeyNotes =
    "Keys while it plays:\n"
    "  space        pause, and play on from there (at the end: from the beginning)\n"
    "  left, right  1 second back or ahead; with shift 10 seconds\n"
    "  , .          one frame back or ahead, heard, and pause\n"
    "  l j          play forwards, backwards; again: 2, 4, 8 times as fast, in bits\n"
    "  k            pause\n"
    "  [ ] \\        loop from here, loop to here, loop off\n"
    "  1 to 9, 0    select that track, 0 the tenth; two digits in a row beyond\n"
    "  m s          mute, solo the selected track\n"
    "  + -          volume up or down by 1 dB\n"
    "  f            low-pass filter: 8000, 4000, 2000, 1000, 500 Hz, off\n"
    "  ? q          these lines, quit\n";

PlayControls::PlayControls(PlaySession& drivenSession, PlayTracks& playedTracks,
                           TovAudioPlayer& usedPlayer)
    : session(drivenSession), tracks(playedTracks), player(usedPlayer)
{
}

void PlayControls::press(const Key& key, double now)
{
  constexpr double kJump = 1.0;
  constexpr double kFarJump = 10.0;
  // Whoever presses a key may have put a lost file back.
  tracks.tryLostFilesAgain();
  switch (key.kind) {
  case Key::playOrPause:
    return playOrPause();
  case Key::left:
    return jump(-kJump);
  case Key::right:
    return jump(kJump);
  case Key::farLeft:
    return jump(-kFarJump);
  case Key::farRight:
    return jump(kFarJump);
  case Key::frameLeft:
    return session.scrub(-1);
  case Key::frameRight:
    return session.scrub(1);
  case Key::shuttleLeft:
    return session.shuttle(true);
  case Key::shuttleStop:
    return session.pause();
  case Key::shuttleRight:
    return session.shuttle(false);
  case Key::loopIn:
  case Key::loopOut:
  case Key::loopOff:
    return changeLoop(key.kind, now);
  case Key::digit:
    return select(key.number, now);
  case Key::mute:
  case Key::solo:
    return toggle(key.kind, now);
  case Key::louder:
  case Key::softer:
    return changeVolume(key.kind == Key::louder);
  case Key::filter:
    player.setFilterFreq(filterStepFrom(player.getFilterFreq()));
    return session.refresh();
  case Key::help:
    isHelpWanted = true;
    return;
  case Key::quit:
    isQuitting = true;
    return;
  }
}

void PlayControls::playOrPause()
{
  const PlaySession::State state = session.getState();
  if (state == PlaySession::playing || state == PlaySession::lost) {
    session.pause();
  } else {
    session.play();
  }
}

void PlayControls::jump(double seconds)
{
  session.change([seconds](PlayHead& head) { head.moveBySeconds(seconds); });
}

void PlayControls::changeLoop(Key::Kind kind, double now)
{
  bool isDone = true;
  session.change([kind, &isDone](PlayHead& head) {
    if (kind == Key::loopOff) {
      head.dropLoop();
    } else {
      isDone = kind == Key::loopIn ? head.beginLoopHere() : head.endLoopHere();
    }
  });
  if (!isDone) {
    hintAt("too short to loop", now);
  }
}

void PlayControls::select(int digit, double now)
{
  constexpr double kSoonSeconds = 1.0;
  const int track =
      trackStepFrom(selectedTrack, digit, now < typedAt + kSoonSeconds, tracks.getCount());
  typedAt = now;
  if (track == 0) {
    hintAt("no such track", now);
  } else {
    selectedTrack = track;
  }
}

void PlayControls::toggle(Key::Kind kind, double now)
{
  if (selectedTrack == 0) {
    return hintAt("select a track by its number", now);
  }
  if (kind == Key::mute) {
    tracks.toggleMute(selectedTrack);
  } else {
    tracks.toggleSolo(selectedTrack);
  }
  session.refresh();
}

/** The engine applies the volume at once, behind all that was rendered. */
void PlayControls::changeVolume(bool isLouder)
{
  float volume = 1.0f;
  if (player.getVolume(&volume) == 0) {
    player.setVolume(volumeStepFrom(volume, isLouder));
  }
}

void PlayControls::hintAt(const std::string& text, double now)
{
  hint = text;
  hintedAt = now;
}

bool PlayControls::takeHelpRequest()
{
  const bool was = isHelpWanted;
  isHelpWanted = false;
  return was;
}

PlayStatus PlayControls::status(double now) const
{
  constexpr double kHintSeconds = 2.0;
  PlayStatus status = statusOf(session, tracks, player);
  status.selectedTrack = selectedTrack;
  if (now < hintedAt + kHintSeconds) {
    status.hint = hint;
  } else if (session.getState() == PlaySession::givenUp) {
    status.hint = "space tries again";
  }
  return status;
}
