#pragma once

#include <string>
#include <vector>

#include "app/MixRender.h"
#include "app/PlotAxes.h"
#include "app/PlotEnvelope.h"

/** All that a lane shows. */
struct TrackLane {
  MixedTrack mixed;
  std::vector<EnvelopeColumn> columns;
  double framesPerColumn; ///< of the file
  WaveColours colours;
};

/** Draws the track into its lane: span, fades and waveform; hatched where its
 *  file is missing. */
void drawTrackLane(PlotCanvas& canvas, const PlotStyle& style, const Area& area,
                   const TimeAxis& axis, const TrackLane& lane, const AmplitudeScale& scale);

/** Writes name, badges, level and times into the area left of the lane, as much
 *  as has room. */
void drawTrackText(PlotCanvas& canvas, const PlotStyle& style, const Area& area,
                   const TrackLane& lane);
