#pragma once

#include "app/MixRender.h"

/** Prints what a mix came to: its tracks with their settings, its length, its
 *  levels and the speed. */
void printMixSummary(const MixRequest& request, const MixResult& result);

/** The same as one line of JSON. */
void printMixSummaryAsJson(const MixRequest& request, const MixResult& result);
