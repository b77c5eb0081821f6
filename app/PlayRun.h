#pragma once

#include "app/Notices.h"
#include "app/Progress.h"

class PlaySession;
class PlayTracks;
class TovAudioPlayer;

/** What is played, and by what. */
struct Playback {
  PlaySession& session;
  PlayTracks& tracks;
  TovAudioPlayer& player;
  bool isReverse; ///< it ends where it comes to the beginning
};

/** Plays with keys and one line that is rewritten, until it is at its end or
 *  the user quits.  Throws Failure and Interrupted. */
void playAtTerminal(const Playback& playback);

/** Plays to the end and tells how far it is, once a second; @p style is not
 *  automatic.  Throws Failure and Interrupted. */
void playUnattended(const Playback& playback, ProgressStyle style, const Notices& notices);
