#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/PlotColours.h"
#include "app/PlotOutput.h"
#include "app/PlotRequest.h"

/** A rectangle in pixels; from the top left. */
struct Area {
  double x;
  double y;
  double width;
  double height;

  double right() const { return x + width; }
  double bottom() const { return y + height; }
  double middle() const { return y + height / 2.0; }
};

/** How a line of text looks. */
struct TextStyle {
  double size; ///< of the letters, pixels
  Colour colour;
  bool isBold = false;
};

enum class Align { left, centre, right };

using Outline = std::vector<std::pair<double, double>>;

/** What is drawn on: a picture in one of the formats, of the same looks in all
 *  of them.  Coordinates are pixels; whole ones lie between pixels, so that
 *  areas with whole coordinates have sharp edges. */
class PlotCanvas {
public:
  PlotCanvas(PictureFormat format, int width, int height);
  ~PlotCanvas();
  PlotCanvas(const PlotCanvas&) = delete;
  PlotCanvas& operator=(const PlotCanvas&) = delete;

  void fill(const Area& area, const Colour& colour);
  void fillRounded(const Area& area, double radius, const Colour& colour);
  void fill(const Outline& outline, const Colour& colour);
  void stroke(const Outline& line, double thickness, const Colour& colour);

  /** Parallel slanting lines all over the area. */
  void hatch(const Area& area, double distance, double thickness, const Colour& colour);

  /** @p y is the middle of the small letters' line. */
  void text(double x, double y, Align align, const std::string& words, const TextStyle& style);
  double widthOf(const std::string& words, const TextStyle& style) const;

  /** The text, or as much of it as has room, with an ellipsis; nothing where
   *  not even one letter has. */
  std::string fitted(const std::string& words, double room, const TextStyle& style) const;

  /** Pixels as 0xFFRRGGBB, row by row, at whole coordinates. */
  void image(const Area& area, std::vector<std::uint32_t>& pixels);

  /** Until the next call of unclip() nothing is drawn outside the area. */
  void clip(const Area& area);
  void unclip();

  /** Writes the picture.  Throws Failure. */
  void writeTo(PlotOutput& output);

private:
  struct Drawing;
  std::unique_ptr<Drawing> drawing;
};

/** The text as valid UTF-8 without control characters. */
std::string drawable(const std::string& text);
