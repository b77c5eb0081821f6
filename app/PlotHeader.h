#pragma once

#include <string>
#include <vector>

#include "app/PlotStyle.h"

/** What stands above a picture: a name, and facts in as many lines as they
 *  need, at most three; what has no room then is left out. */
struct PlotHeader {
  std::string title;
  std::vector<std::string> facts;
};

/** Pixels that the header takes at this width, with what follows kept apart. */
double heightOf(const PlotHeader& header, const PlotCanvas& canvas, const PlotStyle& style,
                double width);

void drawHeader(const PlotHeader& header, PlotCanvas& canvas, const PlotStyle& style, double width);
