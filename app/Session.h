#pragma once

#include <string>
#include <vector>

#include "app/AudioCommand.h"
#include "app/Failures.h"
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

/** The library cannot load what a script's audio command carries; the reason is
 *  that of whyUnreadable(). */
class UnreadableSettings : public Failure {
public:
  using Failure::Failure;
};

/** Loads the session that a script holds, as the library reads it, without a
 *  look at its files.  Throws Failure where there is none and UnreadableSettings
 *  where loading would leave the mixer empty instead. */
Session loadSession(const std::string& name);
