#pragma once

#include <algorithm>
#include <cmath>

#include "app/PlotCanvas.h"
#include "app/PlotColours.h"
#include "app/PlotRequest.h"

/** So many pixels rounded down, but for what was lost in computing them. */
inline double wholePixels(double pixels)
{
  constexpr double kRounding = 1e-6;
  return std::floor(pixels + kRounding);
}

/** Sizes and colours of a picture; all sizes follow from that of the text. */
struct PlotStyle {
  const PlotTheme& theme;
  bool isDark;
  double text; ///< size of most letters, pixels
  double line; ///< thickness of hairlines, whole pixels

  explicit PlotStyle(const PlotRequest& request)
      : theme(plotTheme(request.isDark)), isDark(request.isDark),
        text(request.textSize.value_or(textSizeForWidth(request.width))),
        line(std::max(1.0, std::floor(text / 11.0)))
  {
  }

  /** Grows more slowly than the picture, which people look at larger too. */
  static double textSizeForWidth(int width)
  {
    return std::round(std::clamp(12.0 * std::pow(width / 1280.0, 0.45), 10.0, 32.0));
  }

  /** So many heights of the text, in whole pixels. */
  double times(double factor) const { return std::round(text * factor); }

  double margin() const { return times(1.4); }
  TextStyle title() const { return {text * 1.35, theme.ink, true}; }
  TextStyle bold() const { return {text, theme.ink, true}; }
  TextStyle plain() const { return {text, theme.ink}; }
  TextStyle faint() const { return {text * 0.92, theme.faintInk}; }
};
