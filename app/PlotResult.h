#pragma once

#include <optional>

#include "app/FrameSpan.h"
#include "app/LevelMeter.h"

/** What was drawn, or written as data. */
struct PlotResult {
  int rate;
  int channels;
  FrameSpan span;
  int width = 0;  ///< pixels
  int height = 0; ///< pixels; 0 of data
  std::optional<LevelMeter> levels = {};
};
