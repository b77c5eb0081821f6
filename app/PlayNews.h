#pragma once

#include <string>
#include <vector>

#include "app/PlaySession.h"

class PlayTracks;

/** Finds what happened while it plays that the user should know: the output
 *  lost and back, files lost, warnings of the library.  Main thread. */
class PlayNews {
public:
  struct Item {
    std::string subject; ///< a file, or "playback"
    std::string text;
  };

  /** Since this was asked. */
  std::vector<Item> take(const PlaySession& session, PlayTracks& tracks);

private:
  PlaySession::State state = PlaySession::paused;
};
