#include "app/PlotHeader.h"

static constexpr std::size_t kMostLines = 3;
static constexpr double kTitleHeight = 2.0; // of the text's size
static constexpr double kLineHeight = 1.55;

static std::vector<std::string> linesOf(const PlotHeader& header, const PlotCanvas& canvas,
                                        const PlotStyle& style, double room)
{
  std::vector<std::string> lines;
  for (const std::string& fact : header.facts) {
    const std::string joined = lines.empty() ? fact : lines.back() + "   ·   " + fact;
    if (!lines.empty() && canvas.widthOf(joined, style.faint()) <= room) {
      lines.back() = joined;
    } else if (lines.size() < kMostLines) {
      lines.push_back(canvas.fitted(fact, room, style.faint()));
    } else {
      break;
    }
  }
  return lines;
}

double heightOf(const PlotHeader& header, const PlotCanvas& canvas, const PlotStyle& style,
                double width)
{
  const double room = width - 2.0 * style.margin();
  const double lines = static_cast<double>(linesOf(header, canvas, style, room).size());
  return style.times(0.9) + style.times(kTitleHeight) + lines * style.times(kLineHeight) +
         style.times(0.7);
}

void drawHeader(const PlotHeader& header, PlotCanvas& canvas, const PlotStyle& style, double width)
{
  const double x = style.margin();
  const double room = width - 2.0 * x;
  double y = style.times(0.9);
  canvas.text(x, y + style.times(kTitleHeight) / 2.0, Align::left,
              canvas.fitted(header.title, room, style.title()), style.title());
  y += style.times(kTitleHeight);
  for (const std::string& line : linesOf(header, canvas, style, room)) {
    canvas.text(x, y + style.times(kLineHeight) / 2.0, Align::left, line, style.faint());
    y += style.times(kLineHeight);
  }
}
