#pragma once

#include "app/MixTrack.h"

/** A track's place in a mix of a certain rate. */
struct TrackPlan {
  double startTime; ///< timeline seconds, on a frame of the output
  double srcIn;     ///< seconds of the file that fall on the start
  double endTime;   ///< timeline seconds, on a frame of the output; the start's where there is none
  double soundEnd;  ///< when nothing is heard of it any more; on a frame of the output
  int leftChannel;  ///< counted from 0
  int rightChannel; ///< counted from 0
  bool isTooShort;  ///< has an end, which came to lie on its start
};

/** Where the track lies in a mix at @p rate.  Throws Failure where a session's
 *  settings are none that can be rendered. */
TrackPlan planTrack(const MixTrack& track, int rate);

/** The time of the output frame nearest to @p seconds; chosen so that rate
 *  times it gives the frame's number exactly wherever a double allows, since
 *  the library rounds such products down. */
double timeOnFrame(double seconds, int rate);
