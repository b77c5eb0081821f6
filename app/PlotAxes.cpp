#include "app/PlotAxes.h"

TimeAxis::TimeAxis(const PlotCanvas& canvas, const PlotStyle& style, const Area& wholeArea,
                   const TimeScale& timeScale)
    : area(wholeArea), scale(timeScale),
      ticks(timeTicks(
          scale, area.width,
          [&](const std::string& label) { return canvas.widthOf(label, style.faint()); },
          style.times(2.2)))
{
}

double TimeAxis::pixelOf(double seconds) const
{
  return area.x + (seconds - scale.from) / (scale.to - scale.from) * area.width;
}

/** A line of whole pixels, which stays within the area at its right edge. */
static double sharp(double x, const Area& area, double line)
{
  return std::min(std::round(x), area.right() - line);
}

void TimeAxis::drawGrid(PlotCanvas& canvas, const PlotStyle& style, const Area& lane) const
{
  for (const Tick& tick : ticks) {
    canvas.fill({sharp(pixelOf(tick.value), area, style.line), lane.y, style.line, lane.height},
                style.theme.grid);
  }
}

void TimeAxis::drawLabels(PlotCanvas& canvas, const PlotStyle& style, double unitRoom) const
{
  const TextStyle text = style.faint();
  const double y = area.bottom() + style.times(1.4);
  const double lastPixel = area.right() + style.margin() - style.times(0.3);
  double freeFrom = area.x - unitRoom;
  double firstLabel = area.x;
  for (const Tick& tick : ticks) {
    const double x = sharp(pixelOf(tick.value), area, style.line);
    canvas.fill({x, area.bottom(), style.line, style.times(0.4)}, style.theme.faintInk);
    const double width = canvas.widthOf(tick.label, text);
    // What would leave the picture moves in where nothing is in the way.
    const double left = std::min(std::max(x - width / 2.0, area.x - unitRoom), lastPixel - width);
    if (left >= freeFrom) {
      canvas.text(left, y, Align::left, tick.label, text);
      freeFrom = left + width + style.times(0.6);
      firstLabel = std::min(firstLabel, left);
    }
  }
  const std::string unit = timeUnitText(scale);
  const double unitEnd = firstLabel - style.times(0.8);
  if (canvas.widthOf(unit, text) <= unitEnd - (area.x - unitRoom)) {
    canvas.text(unitEnd, y, Align::right, unit, text);
  }
}

double AmplitudeScale::heightOf(double sample) const
{
  const double part = sample / top;
  if (!isInDecibels) {
    return std::clamp(part, -1.0, 1.0);
  }
  const double height = 1.0 + 20.0 * std::log10(std::fabs(part)) / kDecibels;
  return std::copysign(std::clamp(height, 0.0, 1.0), sample);
}

/** Values at which labels stand, above the middle; the same below it. */
static std::vector<Tick> amplitudeTicks(const AmplitudeScale& scale, double halfHeight, double room)
{
  if (!scale.isInDecibels) {
    std::vector<Tick> ticks;
    for (const double value : {1.0, 0.5}) {
      const bool fits = value / scale.top * halfHeight >= room &&
                        (value > 0.9 || 0.5 / scale.top * halfHeight >= 1.5 * room);
      if (fits) {
        ticks.push_back({value, value > 0.9 ? "1" : "0.5"});
      }
    }
    return ticks;
  }
  for (const int step : {6, 12, 24}) {
    if (step / AmplitudeScale::kDecibels * halfHeight < room) {
      continue;
    }
    std::vector<Tick> ticks;
    for (int level = 0; level + step / 2 < static_cast<int>(AmplitudeScale::kDecibels);
         level += step) {
      ticks.push_back(
          {std::pow(10.0, -level / 20.0), level == 0 ? "0" : "\u2212" + std::to_string(level)});
    }
    return ticks;
  }
  return {};
}

void drawAmplitudeLabels(PlotCanvas& canvas, const PlotStyle& style, const Area& lane,
                         const AmplitudeScale& scale)
{
  const TextStyle text = style.faint();
  const double x = lane.x - style.times(0.6);
  const double half = lane.height / 2.0;
  // Labels at the edges move in, so that those of two lanes never meet.
  const double inset = style.times(0.55);
  const auto label = [&](double height, const std::string& words) {
    const double y = lane.middle() - height * half;
    canvas.text(x, std::clamp(y, lane.y + inset, lane.bottom() - inset), Align::right, words, text);
  };
  if (lane.height >= style.times(1.2)) {
    label(0.0, scale.isInDecibels ? "\u2212\u221E" : "0");
  }
  for (const Tick& tick : amplitudeTicks(scale, half, style.times(1.35))) {
    label(scale.heightOf(tick.value), tick.label);
    label(-scale.heightOf(tick.value), scale.isInDecibels ? tick.label : "\u2212" + tick.label);
  }
}

double amplitudeLabelRoom(const PlotCanvas& canvas, const PlotStyle& style,
                          const AmplitudeScale& scale)
{
  return std::ceil(canvas.widthOf(scale.isInDecibels ? "\u221254" : "\u22120.5", style.faint())) +
         style.times(0.8);
}
