#pragma once

#include <vector>

#include "app/MixGraph.h"
#include "app/PlotEnvelope.h"
#include "app/Progress.h"

/** How a track comes and goes, as the mixer has it. */
struct TrackFades {
  double start; ///< timeline seconds
  double end;   ///< where the fade-out is over; far away where there is none

  static constexpr double kSeconds = 0.02;

  TrackFades(const MixTrack& track, const TrackPlan& plan);

  /** From 0 to 1. */
  double gainAt(double seconds) const;
};

/** A stretch of the timeline in columns of pixels. */
struct TimeColumns {
  double from; ///< seconds
  double to;
  int count;

  double timeOf(double column) const { return from + (to - from) * column / count; }
};

/** Frames of a track's file that are seen in these columns. */
FrameSpan seenFrames(const MixTrack& track, const TrackPlan& plan, const TimeColumns& columns);

/** The waveform of a track over the timeline: of both channels that it takes,
 *  with its gain and fades.  Pan and width, which move sound from side to side,
 *  and mute do not count.  Throws Failure and Interrupted. */
std::vector<EnvelopeColumn> columnsOfTrack(const MixTrack& track, const TrackPlan& plan,
                                           const TimeColumns& columns, Progress& progress);
