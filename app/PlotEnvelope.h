#pragma once

#include <vector>

#include "app/FrameSpan.h"
#include "core/TovNLVArray.h"

/** What is drawn of a channel at one column of pixels. */
struct EnvelopeColumn {
  float lowest = 0.0f;
  float highest = 0.0f;
  float rms = 0.0f;
  bool isClipped = false; ///< holds samples at full scale, or what is no number
};

/** The lowest and highest sample and the mean power, column by column.
 *
 *  Column c of n covers the frames from c * length / n on, rounded down, to
 *  where the next begins; so that each frame counts once.  With more columns
 *  than frames there is one column per frame. */
class PlotEnvelope {
public:
  PlotEnvelope(int channels, FrameSpan span, int columns, float fullScale);

  /** Adds frames, which follow those before; what lies outside the span does
   *  not count. */
  void take(const TovNLPArray<float>& samples, int frames, long long first);

  int getChannels() const { return static_cast<int>(running.size()); }
  int getColumns() const { return columns; }
  double framesPerColumn() const { return static_cast<double>(span.length()) / columns; }
  long long firstFrameOf(int column) const;
  const EnvelopeColumn& at(int channel, int column) const;

  /** Samples at full scale, of all channels. */
  long long getClipped() const { return clipped; }

private:
  /** A column in the making. */
  struct Running {
    float lowest;
    float highest;
    double sumOfSquares;
    long long clipped;
  };

  void addRun(int channel, const float* samples, int frames);
  void finishColumn();
  static Running nothing();

  FrameSpan span;
  int columns;
  float fullScale;
  int column = 0; ///< in the making
  long long clipped = 0;
  std::vector<Running> running;         ///< per channel
  std::vector<EnvelopeColumn> finished; ///< channel by channel
};
