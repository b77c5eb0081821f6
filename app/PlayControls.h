#pragma once

#include <string>

#include "app/PlayKeys.h"
#include "app/PlayStatus.h"

class PlaySession;
class PlayTracks;
class TovAudioPlayer;

/** What the keys do, for people. */
extern const char* const kPlayKeyNotes;

/** Does what keys ask for.  Main thread; times are the session's. */
class PlayControls {
public:
  PlayControls(PlaySession& session, PlayTracks& tracks, TovAudioPlayer& player);

  void press(const Key& key, double now);

  bool isQuitAskedFor() const { return isQuitting; }

  /** Since this was asked, help was. */
  bool takeHelpRequest();

  PlayStatus status(double now) const;

private:
  void playOrPause();
  void jump(double seconds);
  void changeLoop(Key::Kind kind, double now);
  void select(int digit, double now);
  void toggle(Key::Kind kind, double now);
  void changeVolume(bool isLouder);
  void hintAt(const std::string& text, double now);

  PlaySession& session;
  PlayTracks& tracks;
  TovAudioPlayer& player;
  int selectedTrack = 0; ///< counted from 1; none at 0
  double typedAt = -1e9; ///< when the last digit was
  double hintedAt = -1e9;
  std::string hint;
  bool isQuitting = false;
  bool isHelpWanted = false;
};
