#pragma once

#include <vector>

#include "app/CommandLine.h"
#include "app/MixRequest.h"

/** The options of `tov mix`. */
extern const std::vector<OptionRow> kMixOptions;

/** The mix that the arguments ask for.  Options of a track belong to the file
 *  before them, those of the whole mix may stand anywhere.  Throws
 *  UsageError. */
MixRequest mixRequestOf(const std::vector<Argument>& arguments);

/** The options of `tov mix` that say what is heard, and not what is written. */
std::vector<OptionRow> heardOptions();

/** The mix that is to be heard: no file is written.  Throws UsageError. */
MixRequest heardRequestOf(const std::vector<Argument>& arguments);

/** The options of `tov save`: those of `tov mix` that a session keeps. */
std::vector<OptionRow> saveOptions();

/** The mix that is to be kept in the script, which is the first file among the
 *  arguments.  Throws UsageError. */
MixRequest saveRequestOf(std::vector<Argument> arguments);

/** The host's own frame rate, which frames and timecode go by without --fps. */
double hostFramesPerSecond();
