#pragma once

#include <cstdint>

/** A colour of the screen (sRGB), each part from 0 to 1. */
struct Colour {
  double red;
  double green;
  double blue;
  double opacity = 1.0;
};

/** What a waveform is drawn in. */
struct WaveColours {
  Colour envelope;
  Colour rms;
  Colour tint; ///< behind both
};

/** The colours of a picture. */
struct PlotTheme {
  Colour paper;
  Colour panel; ///< behind a lane
  Colour ink;
  Colour faintInk;
  Colour grid;
  Colour zeroLine;
  Colour alarm; ///< full scale and beyond
  Colour solo;
  Colour badgeInk;
  WaveColours sound; ///< of a file or the sum
  WaveColours unheard;
};

const PlotTheme& plotTheme(bool isDark);

/** The colours of the track with this number, from 0; neighbours differ. */
WaveColours coloursOfTrack(int track, bool isDark);

/** The colour of a level, from 0 to 1, as 0xFFRRGGBB: from black over purple and
 *  orange to pale yellow, with lightness in even steps, so that equal steps of
 *  level look equally large. */
std::uint32_t colourOfLevel(double level);
