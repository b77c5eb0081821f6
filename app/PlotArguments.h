#pragma once

#include <vector>

#include "app/CommandLine.h"
#include "app/PlotRequest.h"

/** The options of `tov plot`. */
std::vector<OptionRow> plotOptions();

/** The picture that the arguments ask for.  Throws UsageError. */
PlotRequest plotRequestOf(const std::vector<Argument>& arguments);
