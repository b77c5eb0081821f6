#pragma once

#include <functional>

#include "app/PlotAxes.h"
#include "app/PlotEnvelope.h"
#include "app/PlotStyle.h"

/** The columns of a waveform, from the left. */
struct WaveColumns {
  int count;
  double frames; ///< of the sound, in a column
  std::function<EnvelopeColumn(int column)> at;
};

/** Draws a waveform over the whole area: what lies between lowest and highest
 *  sample, and the RMS on it; what is above full scale in the colour of alarm.
 *  Where columns hold few frames it is a line, in the colour of the RMS, and
 *  with fewer columns than pixels one from sample to sample. */
void drawWaveform(PlotCanvas& canvas, const PlotStyle& style, const Area& area,
                  const WaveColumns& columns, const AmplitudeScale& scale,
                  const WaveColours& colours);

/** Marks at the edges of the area where samples are at full scale. */
void drawClipMarks(PlotCanvas& canvas, const PlotStyle& style, const Area& area,
                   const WaveColumns& columns);
