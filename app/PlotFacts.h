#pragma once

#include <string>

#include "app/LevelMeter.h"
#include "app/PlotHeader.h"
#include "app/PlotSound.h"

/** Adds to what the header of a picture tells of the file or the mix: peak, RMS
 *  and how many samples are @p where, "at full scale" or above it.  Without
 *  @p levels as wide as these may become. */
void addLevelFacts(PlotHeader& header, const LevelMeter* levels, long long clipped,
                   const char* where);

/** A file's name without its folder, so that it can be drawn. */
std::string titleOfFile(const std::string& path);

/** "0:16.000", or which part of it. */
std::string lengthFact(FrameSpan span, FrameSpan whole, int rate);

/** "2:03.500", "1:02:03.500". */
std::string clockTimeText(double seconds);

/** "-3.01 dBFS" with a true minus sign. */
std::string levelText(double decibels);

/** "48 kHz". */
std::string rateText(int rate);
