#include "app/PlotTrackLane.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include "app/PlotFacts.h"
#include "app/PlotLane.h"
#include "app/PlotWaveform.h"

static constexpr double kLineHeight = 1.45; // of the text's size

/** The line along which the fades let the sound through, within the span. */
static Outline fadeLine(const MixedTrack& mixed, const TimeAxis& axis, const Area& area)
{
  const TrackFades fades(mixed.track, mixed.plan);
  const double end = mixed.plan.soundEnd;
  std::vector<double> times = {mixed.plan.startTime};
  const double fadedIn = fades.start + TrackFades::kSeconds;
  const double fadesOut = fades.end - TrackFades::kSeconds;
  if (fadedIn <= fadesOut) {
    times.insert(times.end(), {std::min(fadedIn, end), std::min(fadesOut, end)});
  } else {
    // Both at once bend the line.
    constexpr int kPieces = 16;
    for (int i = 1; i < kPieces; ++i) {
      times.push_back(std::lerp(mixed.plan.startTime, end, static_cast<double>(i) / kPieces));
    }
  }
  times.push_back(end);
  Outline line;
  for (const double seconds : times) {
    line.emplace_back(axis.pixelOf(seconds), area.bottom() - fades.gainAt(seconds) * area.height);
  }
  return line;
}

/** The pixels of the span within the lane, from edge to edge. */
static Area spanArea(const MixedTrack& mixed, const TimeAxis& axis, const Area& area)
{
  const double left =
      std::clamp(std::round(axis.pixelOf(mixed.plan.startTime)), area.x, area.right());
  const double right =
      std::clamp(std::round(axis.pixelOf(mixed.plan.soundEnd)), left, area.right());
  return {left, area.y, right - left, area.height};
}

static void drawMissing(PlotCanvas& canvas, const PlotStyle& style, const Area& area,
                        const Area& span, const TrackLane& lane)
{
  canvas.hatch(span, style.times(0.7), style.line, style.theme.zeroLine);
  const std::string words = "missing: " + drawable(lane.mixed.track.whyMissing);
  const TextStyle text = {style.text * 0.92, style.theme.alarm};
  if (area.height < style.times(1.2)) {
    return;
  }
  const double inset = style.times(0.6);
  const double room = area.width - 4.0 * inset;
  const std::string shown = canvas.fitted(words, room, text);
  const double width = canvas.widthOf(shown, text) + inset;
  const double x =
      std::clamp(span.x + inset, area.x, std::max(area.x, area.right() - width - inset));
  const double height = std::min(style.times(1.5), area.height);
  canvas.fillRounded({x, std::round(area.middle() - height / 2.0), width, height},
                     style.times(0.25), style.theme.paper);
  canvas.text(x + inset / 2.0, area.middle(), Align::left, shown, text);
}

void drawTrackLane(PlotCanvas& canvas, const PlotStyle& style, const Area& area,
                   const TimeAxis& axis, const TrackLane& lane, const AmplitudeScale& scale)
{
  canvas.fill(area, style.theme.panel);
  axis.drawGrid(canvas, style, area);
  const Area span = spanArea(lane.mixed, axis, area);
  if (lane.mixed.track.isMissing()) {
    drawMissing(canvas, style, area, span, lane);
    return;
  }
  const Colour& tint = lane.colours.tint;
  canvas.fill(span, {tint.red, tint.green, tint.blue, 0.75});
  canvas.clip(span);
  canvas.fill({area.x, std::round(area.middle()), area.width, style.line}, style.theme.zeroLine);
  drawWaveform(canvas, style, area,
               {static_cast<int>(lane.columns.size()), lane.framesPerColumn,
                [&lane](int column) { return lane.columns[static_cast<std::size_t>(column)]; }},
               scale, lane.colours);
  canvas.unclip();
  canvas.clip(area);
  canvas.stroke(fadeLine(lane.mixed, axis, area), style.line, lane.colours.rms);
  canvas.unclip();
}

/** "+1.5", with a true minus sign and no digits that say nothing. */
static std::string signedText(double value, int decimals)
{
  char text[48];
  (void)std::snprintf(text, sizeof text, "%.*f", decimals, std::fabs(value));
  const bool isZero = std::string(text).find_first_not_of("0.") == std::string::npos;
  return (isZero ? "" : value < 0.0 ? "\u2212" : "+") + std::string(text);
}

static std::string settingsText(const TrackSettings& settings)
{
  const double gain = decibelsOfFactor(settings.gain);
  std::string text = std::isfinite(gain) ? signedText(gain, 1) + " dB" : "\u2212\u221E dB";
  const double pan = std::round(static_cast<double>(settings.pan) * 100.0);
  if (pan < 0.0 || pan > 0.0) {
    text += std::string("  pan ") + (pan < 0.0 ? "L" : "R") +
            std::to_string(static_cast<int>(std::fabs(pan)));
  }
  const double width = std::round(static_cast<double>(settings.width) * 100.0);
  if (width < 100.0 || width > 100.0) {
    text += "  width " + (width < 0.0 ? std::string("\u2212") : std::string()) +
            std::to_string(static_cast<int>(std::fabs(width))) + " %";
  }
  return text;
}

/** When the track is heard, or why it is not: at length, and in few words. */
static std::pair<std::string, std::string> timesTexts(const MixedTrack& mixed)
{
  if (mixed.track.isMissing()) {
    return {"left out", "left out"};
  }
  if (!mixed.isHeard && !mixed.track.settings.mute) {
    return mixed.plan.isTooShort ? std::pair("shorter than a frame", "too short")
                                 : std::pair("silent: another is solo", "silent");
  }
  const std::string start = clockTimeText(mixed.plan.startTime);
  return {start + " \u2013 " + clockTimeText(mixed.plan.soundEnd), "at " + start};
}

/** A letter in a small box that ends at @p right; where it begins. */
static double drawBadge(PlotCanvas& canvas, const PlotStyle& style, double right, double middle,
                        const char* letter, const Colour& colour)
{
  const double side = style.times(1.25);
  const double y = std::round(middle - side / 2.0);
  canvas.fillRounded({right - side, y, side, side}, style.times(0.25), colour);
  canvas.text(right - side / 2.0, y + side / 2.0, Align::centre, letter,
              {style.text * 0.85, style.theme.badgeInk, true});
  return right - side - style.times(0.3);
}

void drawTrackText(PlotCanvas& canvas, const PlotStyle& style, const Area& area,
                   const TrackLane& lane)
{
  const MixedTrack& mixed = lane.mixed;
  const int rows = std::clamp(static_cast<int>(area.height / style.times(kLineHeight)), 0, 3);
  if (area.height < style.times(1.3)) {
    return;
  }
  const double lineHeight = std::min(style.times(kLineHeight), area.height);
  const int shown = std::max(rows, 1);
  double y = area.middle() - (shown - 1) * lineHeight / 2.0;
  double right = area.right();
  if (mixed.track.settings.solo) {
    right = drawBadge(canvas, style, right, y, "S", style.theme.solo);
  }
  if (mixed.track.settings.mute) {
    right = drawBadge(canvas, style, right, y, "M", style.theme.faintInk);
  }
  const TextStyle name = {style.text, mixed.isHeard ? style.theme.ink : style.theme.faintInk, true};
  canvas.text(area.x, y, Align::left,
              canvas.fitted(titleOfFile(mixed.track.name), right - area.x, name), name);
  const TextStyle faint = style.faint();
  const auto [times, shortTimes] = timesTexts(mixed);
  const bool hasRoom = canvas.widthOf(times, faint) <= area.width;
  const std::string lines[] = {settingsText(mixed.track.settings), hasRoom ? times : shortTimes};
  for (int row = 1; row < shown; ++row) {
    y += lineHeight;
    canvas.text(area.x, y, Align::left, canvas.fitted(lines[row - 1], area.width, faint), faint);
  }
}
