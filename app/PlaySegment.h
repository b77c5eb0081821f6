#pragma once

#include <algorithm>

/** What the player is told to play, in frames of the mix: from start to end,
 *  backwards where the end lies before the start, once or over and over. */
struct PlaySegment {
  long long start = 0;
  long long end = 0;
  bool isLoop = false;

  bool isBackwards() const { return end < start; }
  long long length() const { return isBackwards() ? start - end : end - start; }

  /** Where the player's transport starts, whatever the direction. */
  long long transportStart() const { return std::min(start, end); }

  /** The frame that is heard when the transport has run @p elapsed frames
   *  from there: it always runs on, also backwards and through loops.
   *
   *      forwards            backwards           looping
   *      start ----> end     end <---- start     start ---> end
   *                                              start ---> end ...
   */
  long long positionAt(long long elapsed) const;
};
