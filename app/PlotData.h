#pragma once

#include <vector>

#include "app/FrameSpan.h"
#include "app/PlotOutput.h"
#include "core/TovNLVArray.h"

/** What waveform data say of themselves. */
struct PlotDataFormat {
  int channels;
  int rate;
  int framesPerPixel;
  int bits; ///< 8 or 16
};

/** Writes the lowest and highest sample of every pixel as the JSON that
 *  waveform displays read:
 *
 *      {"version":2,"channels":2,...,"length":3,
 *       "data":[lowest of channel 1,highest,lowest of channel 2,highest,...]}
 *
 *  Samples become integers rounded towards 0; the last pixel may cover fewer
 *  frames than the others. */
class PlotData {
public:
  PlotData(const PlotDataFormat& format, FrameSpan span, PlotOutput& output);

  /** Adds frames, which follow those before. */
  void take(const TovNLPArray<float>& samples, int frames);

  /** Writes the last pixel and what closes the text. */
  void finish();

private:
  struct Extremes {
    float lowest;
    float highest;
  };

  static Extremes nothing();
  void writePixel();
  int codeOf(float sample) const;

  PlotDataFormat format;
  PlotOutput& output;
  std::vector<Extremes> pixel; ///< in the making, per channel
  int framesInPixel = 0;
  bool isFirst = true;
};
