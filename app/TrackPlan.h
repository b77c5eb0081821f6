#pragma once

#include "app/MixRequest.h"
#include "app/SourceFile.h"

/** A track's place in the mix, in the library's terms. */
struct TrackPlan {
  double startTime; ///< timeline seconds, on a frame of the output
  double endTime;   ///< timeline seconds, on a frame of the output
  double srcIn;     ///< seconds of the file
  double srcOut;    ///< seconds of the file
  int playRate;     ///< frames of the file per second
  int leftChannel;  ///< counted from 0
  int rightChannel; ///< counted from 0

  bool isEmpty() const { return !(startTime < endTime); }
};

/** Where the track lies in a mix at @p rate.  It ends when its used part runs
 *  out, or earlier where the user says so, so that the fade-out is always on
 *  sound.  Throws UsageError for what the file does not have. */
TrackPlan planTrack(const TrackRequest& request, const SourceFile& source, int rate);

/** The time of the output frame nearest to @p seconds; chosen so that rate
 *  times it gives the frame's number exactly wherever a double allows, since
 *  the library rounds such products down. */
double timeOnFrame(double seconds, int rate);
