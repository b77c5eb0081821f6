#pragma once

#include <functional>
#include <string>
#include <vector>

#include "app/PlotRequest.h"

/** A place on an axis and what stands there. */
struct Tick {
  double value;
  std::string label;
};

/** How much room a label takes along its axis, in pixels. */
using LabelRoom = std::function<double(const std::string& label)>;

/** A stretch of time and how it is counted. */
struct TimeScale {
  double from; ///< seconds
  double to;
  TimeUnit unit;
  double framesPerSecond; ///< of the timeline
};

/** Ticks at round times, in seconds: the closest ones whose labels leave
 *  @p gap pixels between them. */
std::vector<Tick> timeTicks(const TimeScale& scale, double pixels, const LabelRoom& room,
                            double gap);

/** What the labels of a time axis count: "s", "min:s", "timecode, 24 fps". */
std::string timeUnitText(const TimeScale& scale);

/** Ticks at multiples of 1, 2 or 5 times a power of ten, as many as fit when
 *  each takes @p room pixels. */
std::vector<Tick> linearTicks(double from, double to, double pixels, double room);

/** Ticks of a frequency axis, in Hz; labels like "500" and "2k". */
std::vector<Tick> frequencyTicks(double from, double to, bool isLogarithmic, double pixels,
                                 double room);
