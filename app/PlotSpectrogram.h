#pragma once

#include <cstdint>
#include <vector>

#include "app/PlotSpectrum.h"
#include "app/PlotStyle.h"

/** How the rows of a spectrogram lie on its frequencies. */
struct FrequencyScale {
  double from; ///< Hz, at the bottom
  double to;   ///< Hz, at the top
  bool isLogarithmic;

  /** 0 at the bottom, 1 at the top. */
  double placeOf(double frequency) const;
  double frequencyAt(double place) const;
};

FrequencyScale frequencyScaleFor(int rate, bool isLogarithmic);

/** The pixels of one panel: levels in decibels while they come in, colours when
 *  the highest of all panels is known. */
class SpectrogramPanel {
public:
  SpectrogramPanel(int columns, int rows, const FrequencyScale& scale, int rate, int window);

  void takeColumn(int column, const std::vector<float>& powers);

  /** Decibels; far below all others where all is silent. */
  float getHighest() const { return highest; }

  /** Turns the levels into colours, once. */
  void colour(double lowest, double highest);

  /** After colour(): 0xFFRRGGBB, row by row. */
  std::vector<std::uint32_t>& getPixels() { return pixels; }

private:
  /** The bins that a row shows: the loudest of some, or between two. */
  struct Row {
    std::size_t first;
    std::size_t last; ///< included
    float part;       ///< of the way from first to last; negative: the loudest
  };

  std::size_t columns;
  std::vector<Row> rows;
  std::vector<std::uint32_t> pixels;
  float highest;
};

/** Ticks and labels left of a panel. */
void drawFrequencyLabels(PlotCanvas& canvas, const PlotStyle& style, const Area& panel,
                         const FrequencyScale& scale);

/** The bar that tells which colour is which level, and its labels right of it. */
void drawColourBar(PlotCanvas& canvas, const PlotStyle& style, const Area& bar, double lowest,
                   double highest);
