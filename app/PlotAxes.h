#pragma once

#include <vector>

#include "app/PlotStyle.h"
#include "app/PlotTicks.h"

/** The time axis of a picture: a stretch of time over a stretch of pixels. */
class TimeAxis {
public:
  /** @p area is where all that goes by this axis lies. */
  TimeAxis(const PlotCanvas& canvas, const PlotStyle& style, const Area& area,
           const TimeScale& scale);

  double pixelOf(double seconds) const;

  /** Pixels below the area that ticks and labels take. */
  static double heightFor(const PlotStyle& style) { return style.times(2.3); }

  /** Lines at the ticks, behind what is drawn into a lane. */
  void drawGrid(PlotCanvas& canvas, const PlotStyle& style, const Area& lane) const;

  /** Ticks and labels below the area, and the unit left of it where there are
   *  @p unitRoom pixels for it. */
  void drawLabels(PlotCanvas& canvas, const PlotStyle& style, double unitRoom) const;

private:
  Area area;
  TimeScale scale;
  std::vector<Tick> ticks;
};

/** How samples become heights within a lane. */
struct AmplitudeScale {
  double top = 1.0; ///< the magnitude at the lane's edges
  bool isInDecibels = false;

  static constexpr double kDecibels = 60.0; ///< from the edges to the middle

  /** From -1 at the lower edge to 1 at the upper one. */
  double heightOf(double sample) const;
};

/** Labels left of a lane, as many as its height allows. */
void drawAmplitudeLabels(PlotCanvas& canvas, const PlotStyle& style, const Area& lane,
                         const AmplitudeScale& scale);

/** Pixels that these labels take at most, with the space beside them. */
double amplitudeLabelRoom(const PlotCanvas& canvas, const PlotStyle& style,
                          const AmplitudeScale& scale);
