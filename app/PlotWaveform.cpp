#include "app/PlotWaveform.h"

/** Where waves are drawn: columns to pixels, samples to heights. */
struct WaveArea {
  Area area;
  int columns;
  AmplitudeScale scale;

  double leftOf(int column) const { return area.x + area.width * column / columns; }
  double heightOf(double sample) const
  {
    return area.middle() - scale.heightOf(sample) * area.height / 2.0;
  }
};

/** A range of heights, downwards. */
struct Extent {
  double top;
  double bottom;
};

/** Joins neighbours that do not touch, as the sound does between them, and is
 *  never thinner than a line. */
static std::vector<Extent> joinedExtents(const WaveArea& wave, const WaveColumns& columns,
                                         double line)
{
  std::vector<Extent> extents;
  for (int i = 0; i < columns.count; ++i) {
    const EnvelopeColumn column = columns.at(i);
    Extent extent = {wave.heightOf(static_cast<double>(column.highest)),
                     wave.heightOf(static_cast<double>(column.lowest))};
    if (i > 0) {
      extent.top = std::min(extent.top, extents.back().bottom);
      extent.bottom = std::max(extent.bottom, extents.back().top);
    }
    extents.push_back(extent);
  }
  for (Extent& extent : extents) {
    const double missing = line - (extent.bottom - extent.top);
    if (missing > 0.0) {
      extent.top -= missing / 2.0;
      extent.bottom += missing / 2.0;
    }
  }
  return extents;
}

/** The outline in steps, so that every column keeps to its own pixels. */
static Outline outlineOf(const WaveArea& wave, const std::vector<Extent>& extents)
{
  Outline outline;
  const int count = static_cast<int>(extents.size());
  for (int i = 0; i < count; ++i) {
    const double y = extents[static_cast<std::size_t>(i)].top;
    outline.emplace_back(wave.leftOf(i), y);
    outline.emplace_back(wave.leftOf(i + 1), y);
  }
  for (int i = count - 1; i >= 0; --i) {
    const double y = extents[static_cast<std::size_t>(i)].bottom;
    outline.emplace_back(wave.leftOf(i + 1), y);
    outline.emplace_back(wave.leftOf(i), y);
  }
  return outline;
}

static std::vector<Extent> rmsExtents(const WaveArea& wave, const WaveColumns& columns)
{
  std::vector<Extent> extents;
  for (int i = 0; i < columns.count; ++i) {
    const EnvelopeColumn column = columns.at(i);
    const float high = std::clamp(column.rms, std::min(column.highest, 0.0f), column.highest);
    const float low = std::clamp(-column.rms, column.lowest, std::max(column.lowest, 0.0f));
    extents.push_back({wave.heightOf(static_cast<double>(std::max(high, low))),
                       wave.heightOf(static_cast<double>(std::min(high, low)))});
  }
  return extents;
}

static void drawAsLine(PlotCanvas& canvas, const PlotStyle& style, const WaveArea& wave,
                       const WaveColumns& columns, const WaveColours& colours)
{
  Outline line;
  for (int i = 0; i < columns.count; ++i) {
    line.emplace_back((wave.leftOf(i) + wave.leftOf(i + 1)) / 2.0,
                      wave.heightOf(static_cast<double>(columns.at(i).highest)));
  }
  canvas.stroke(line, 1.5 * style.line, colours.rms);
  constexpr double kRoomForDots = 7.0;
  if (wave.area.width / columns.count < kRoomForDots * style.line) {
    return;
  }
  const double radius = 2.0 * style.line;
  for (const auto& [x, y] : line) {
    canvas.fillRounded({x - radius, y - radius, 2.0 * radius, 2.0 * radius}, radius, colours.rms);
  }
}

/** The parts beyond full scale once more, in the colour of alarm. */
static void drawBeyondFullScale(PlotCanvas& canvas, const PlotStyle& style, const WaveArea& wave,
                                const Outline& outline)
{
  if (wave.scale.top <= 1.0) {
    return;
  }
  const Area& area = wave.area;
  const double above = wave.heightOf(1.0) - area.y;
  for (const double y : {area.y, area.bottom() - above}) {
    canvas.clip({area.x, y, area.width, above});
    canvas.fill(outline, style.theme.alarm);
    canvas.unclip();
  }
}

void drawWaveform(PlotCanvas& canvas, const PlotStyle& style, const Area& area,
                  const WaveColumns& columns, const AmplitudeScale& scale,
                  const WaveColours& colours)
{
  const WaveArea wave = {area, columns.count, scale};
  canvas.clip(area);
  if (columns.count < area.width * 0.75) {
    drawAsLine(canvas, style, wave, columns, colours);
  } else {
    const Outline outline = outlineOf(wave, joinedExtents(wave, columns, style.line));
    constexpr double kFramesOfLine = 12.0;
    if (columns.frames < kFramesOfLine) {
      canvas.fill(outline, colours.rms);
    } else {
      canvas.fill(outline, colours.envelope);
      canvas.fill(outlineOf(wave, rmsExtents(wave, columns)), colours.rms);
    }
    drawBeyondFullScale(canvas, style, wave, outline);
  }
  canvas.unclip();
}

void drawClipMarks(PlotCanvas& canvas, const PlotStyle& style, const Area& area,
                   const WaveColumns& columns)
{
  const double height = std::min(style.times(0.3), area.height / 4.0);
  const double width = std::max(area.width / columns.count, style.line);
  for (int i = 0; i < columns.count; ++i) {
    if (columns.at(i).isClipped) {
      const double x = area.x + area.width * i / columns.count;
      canvas.fill({x, area.y, width, height}, style.theme.alarm);
      canvas.fill({x, area.bottom() - height, width, height}, style.theme.alarm);
    }
  }
}
