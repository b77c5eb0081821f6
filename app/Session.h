#pragma once

#include <string>
#include <vector>

#include "app/AudioCommand.h"
#include "app/MixerBlob.h"
#include "app/TrackSettings.h"

/** One entry of a session. */
struct SessionTrack {
  std::string storedName; ///< of the file; may be empty
  TrackSettings settings;
};

/** A mix as a script holds it. */
struct Session {
  std::vector<SessionTrack> tracks;
  float masterGain = 1.0f; ///< factor
};

/** Why the library cannot load what the audio command carries, phrased to
 *  follow the script's name and a colon; empty where it can. */
std::string whyUnreadable(const AudioCommand& command);

/** Loads the session that a script holds through the library's script hook, as
 *  the host does.  Throws Failure where there is none or where loading would
 *  leave the mixer empty instead. */
Session loadSession(const std::string& name);
