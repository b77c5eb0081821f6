#pragma once

#include <optional>
#include <string>

#include "app/MixRequest.h"

/** What a picture shows. */
enum class PlotView {
  automatic,   ///< both of one file, else the mix
  waveform,    ///< a lane per channel
  spectrogram, ///< a panel per channel
  both,        ///< the waveform above one spectrogram of all channels
  mix          ///< a lane per track, and the sum
};

enum class PictureFormat { png, svg, pdf };

/** How the time axis counts. */
enum class TimeUnit { seconds, timecode, frames };

/** A picture, or data for one, that somebody wants. */
struct PlotRequest {
  MixRequest mix; ///< what is drawn; its output is the picture's
  PlotView view = PlotView::automatic;
  PictureFormat format = PictureFormat::png;
  int width = 1280; ///< pixels
  std::optional<int> height;
  std::optional<double> textSize; ///< pixels; without: by the width
  TimeUnit timeUnit = TimeUnit::seconds;
  std::optional<int> window; ///< frames of a window; without: by the rate
  double decibelRange = 90.0;
  bool isDark = false;
  bool isAmplitudeInDecibels = false;
  bool isFrequencyLogarithmic = false;
  bool isData = false;
  int dataBits = 16;
  int framesPerPixel = 256;

  ProgressStyle progressStyle() const { return mix.isQuiet ? ProgressStyle::none : mix.progress; }
};
