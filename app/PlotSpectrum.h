#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "app/FrameSpan.h"
#include "core/TovNLVArray.h"

struct kiss_fftr_state;

/** How sound is cut into the columns of a spectrogram. */
struct SpectrumPlan {
  int channels;
  int panels;      ///< 1: the mean power of all channels; else one per channel
  int window;      ///< frames, a power of two
  int columns;     ///< of pixels
  FrameSpan span;  ///< what the columns cover
  FrameSpan known; ///< what will be handed over, the span at least; all else is silent
};

/** Frames of a window that tell tones and moments apart about equally well. */
int windowForRate(int rate, FrameSpan span);

/** The power of each frequency over time, with Hann windows.
 *
 *      span       |-----------------------------------|
 *      columns    |    0    |    1    |    2    |  3  |
 *      windows  [--+--][--+--][--+--] ...   each counts where its middle lies
 *                  [--+--][--+--]
 *
 *  The middles lie a column apart, or half a window where columns are wider
 *  than that; a column is the mean of its windows.  A sine at full scale has a
 *  power of 1. */
class PlotSpectrum {
public:
  /** Takes the powers of a finished column: window / 2 + 1 of them. */
  using TakeColumn = std::function<void(int panel, int column, const std::vector<float>& powers)>;

  PlotSpectrum(const SpectrumPlan& plan, TakeColumn takeColumn);
  ~PlotSpectrum();
  PlotSpectrum(const PlotSpectrum&) = delete;
  PlotSpectrum& operator=(const PlotSpectrum&) = delete;

  /** Adds frames, which follow those before; what lies outside the known
   *  frames does not count. */
  void take(const TovNLPArray<float>& samples, int frames, long long first);

  /** Finishes the last columns. */
  void finish();

private:
  long long middleOf(long long window) const;
  void addWindowsUpTo(long long end);
  void addWindow(long long firstFrame);
  void forgetBefore(long long frame);
  void finishColumn();

  SpectrumPlan plan;
  TakeColumn takeColumn;
  std::unique_ptr<kiss_fftr_state, void (*)(void*)> transform;
  std::vector<float> shape; ///< of the window, scaled
  long long windows;        ///< in all
  long long nextWindow = 0;
  int column = 0; ///< in the making
  int windowsInColumn = 0;
  long long heldFrom;                     ///< the first frame that is held
  std::vector<std::vector<float>> held;   ///< per channel
  std::vector<std::vector<float>> powers; ///< per panel, of the column
};
