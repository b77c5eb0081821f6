#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/SourceFile.h"
#include "app/TrackSettings.h"

/** The entry of a session that a track comes from. */
struct SessionEntry {
  std::string session;    ///< the script, as the user wrote it
  std::string folder;     ///< the script's, in its canonical form
  int number;             ///< of the track in its session, from 1
  std::string storedName; ///< as the session has it, with --map applied
  std::string path = {};  ///< where the file is, or where it should be; shortened where too long
  bool isTooLong = false; ///< no file's path is as long
};

/** One track of a mix, from the command line or from a session.  Copies share
 *  what takes memory: a session may have thousands of tracks. */
struct MixTrack {
  std::string name; ///< of the file, for messages
  TrackSettings settings;
  std::optional<std::pair<int, int>> channels; ///< left and right, counted from 1
  std::shared_ptr<const SourceFile> source;    ///< null where the file is missing
  std::string whyMissing;                      ///< phrased to follow the name and a colon
  std::shared_ptr<const SessionEntry> entry;   ///< null for a file from the command line

  bool isMissing() const { return !source; }
};

/** All that is to be mixed. */
struct MixContents {
  std::vector<MixTrack> tracks;
  float masterGain = 1.0f; ///< factor
  int countingRate = 0;    ///< of times in samples: the output's, else the highest; 0: unknown

  bool areAnyMissing() const
  {
    for (const MixTrack& track : tracks) {
      if (track.isMissing()) {
        return true;
      }
    }
    return false;
  }
};
