#include "bench/Picture.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

constexpr double kWidth = 760.0;
constexpr double kHeight = 440.0;
constexpr double kLeft = 80.0;
constexpr double kRight = 590.0; // the legend stands behind
constexpr double kTop = 46.0;
constexpr double kBottom = 380.0;

constexpr const char* kColours[] = {"#1b6ca8", "#d1495b", "#2e8b57", "#8a5fbf",
                                    "#c77f1a", "#4a4a4a", "#0f9d9d", "#b0457f"};

/** From values to places on the picture. */
class Axis {
public:
  Axis(bool logarithmic, double first, double last, double from, double to)
      : isLogarithmic(logarithmic), low(scaled(first)), high(scaled(last)), start(from), end(to)
  {
  }
  double place(double value) const
  {
    return start + (scaled(value) - low) / (high - low) * (end - start);
  }
  bool contains(double value) const { return scaled(value) >= low && scaled(value) <= high; }
  double decades() const { return high - low; }

private:
  double scaled(double value) const { return isLogarithmic ? std::log10(value) : value; }

  bool isLogarithmic;
  double low, high, start, end;
};

/** The range of all values, with a little air. */
Axis logarithmicAxis(const Diagram& diagram, std::vector<double> Curve::*values, double from,
                     double to, double air)
{
  double low = 1e300;
  double high = 0.0;
  for (const Curve& curve : diagram.curves)
    for (const double value : curve.*values) {
      low = std::min(low, value);
      high = std::max(high, value);
    }
  return Axis(true, low / air, high * air, from, to);
}

std::string number(double value)
{
  std::ostringstream text;
  text.precision(6);
  text << value;
  return text.str();
}

std::string escaped(const std::string& text)
{
  std::string result;
  for (const char c : text)
    result += c == '<' ? std::string("&lt;") : c == '&' ? std::string("&amp;") : std::string(1, c);
  return result;
}

std::string label(double x, double y, const std::string& anchor, const std::string& text,
                  const std::string& more = {})
{
  std::ostringstream svg;
  svg << "<text x='" << x << "' y='" << y << "' text-anchor='" << anchor << "' " << more << ">"
      << escaped(text) << "</text>\n";
  return svg.str();
}

std::string line(double x1, double y1, double x2, double y2, const char* colour)
{
  std::ostringstream svg;
  svg << "<line x1='" << x1 << "' y1='" << y1 << "' x2='" << x2 << "' y2='" << y2 << "' stroke='"
      << colour << "'/>\n";
  return svg.str();
}

/** 1, 2 and 5 of each power of ten; only the powers where there are many. */
std::vector<double> marksOf(const Axis& axis)
{
  std::vector<double> marks;
  const bool isWide = axis.decades() > 3.5;
  for (int exponent = -9; exponent < 12; ++exponent)
    for (const double step : {1.0, 2.0, 5.0}) {
      const double mark = step * std::pow(10.0, exponent);
      if (axis.contains(mark) && (!isWide || step < 1.5))
        marks.push_back(mark);
    }
  return marks;
}

void drawAxes(std::ostream& svg, const Diagram& diagram, const Axis& x, const Axis& y)
{
  const std::vector<double>& values = diagram.curves.front().x;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const double place = x.place(values[i]);
    svg << line(place, kTop, place, kBottom, "#e4e4e4")
        << label(place, kBottom + 18.0, "middle",
                 diagram.xNames.empty() ? number(values[i]) : diagram.xNames[i]);
  }
  for (const double value : marksOf(y)) {
    svg << line(kLeft, y.place(value), kRight, y.place(value), "#e4e4e4")
        << label(kLeft - 8.0, y.place(value) + 4.0, "end", number(value));
  }
  svg << line(kLeft, kBottom, kRight, kBottom, "#333") << line(kLeft, kTop, kLeft, kBottom, "#333")
      << label(0.5 * (kLeft + kRight), kBottom + 42.0, "middle", diagram.xLabel);
  std::ostringstream turned;
  const double middle = 0.5 * (kTop + kBottom);
  turned << "transform='rotate(-90 22 " << middle << ")'";
  svg << label(22.0, middle, "middle", diagram.yLabel, turned.str())
      << label(kLeft, 26.0, "start", diagram.title, "font-size='16' font-weight='bold'");
}

void drawCurve(std::ostream& svg, const Curve& curve, const Axis& x, const Axis& y,
               std::size_t index)
{
  const char* const colour = kColours[index % std::size(kColours)];
  svg << "<polyline fill='none' stroke-width='2' stroke='" << colour << "' points='";
  for (std::size_t i = 0; i < curve.x.size(); ++i)
    svg << x.place(curve.x[i]) << ',' << y.place(curve.y[i]) << ' ';
  svg << "'/>\n";
  for (std::size_t i = 0; i < curve.x.size(); ++i)
    svg << "<circle r='3' fill='" << colour << "' cx='" << x.place(curve.x[i]) << "' cy='"
        << y.place(curve.y[i]) << "'/>\n";
  const double row = kTop + 14.0 + 22.0 * static_cast<double>(index);
  svg << "<rect x='" << kRight + 16.0 << "' y='" << row - 8.0 << "' width='20' height='4' fill='"
      << colour << "'/>\n"
      << label(kRight + 44.0, row, "start", curve.name);
}

} // namespace

void writeDiagram(const Diagram& diagram, const std::string& path)
{
  const double names = static_cast<double>(diagram.xNames.size());
  const Axis x = diagram.xNames.empty() ? logarithmicAxis(diagram, &Curve::x, kLeft, kRight, 1.06)
                                        : Axis(false, -0.3, names - 0.7, kLeft, kRight);
  const Axis y = logarithmicAxis(diagram, &Curve::y, kBottom, kTop, 1.3);
  std::ofstream svg(path);
  svg.precision(5);
  svg << "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 " << kWidth << ' ' << kHeight
      << "' width='" << kWidth << "' height='" << kHeight
      << "' font-family='sans-serif' font-size='12' fill='#222'>\n"
      << "<rect width='100%' height='100%' fill='white'/>\n";
  drawAxes(svg, diagram, x, y);
  for (std::size_t i = 0; i < diagram.curves.size(); ++i)
    drawCurve(svg, diagram.curves[i], x, y, i);
  svg << "</svg>\n";
  if (!svg.flush())
    throw std::runtime_error(path + " cannot be written");
}
