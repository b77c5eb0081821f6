#pragma once

#include "app/MixRender.h"

/** Prints what a mix came to: its tracks with their settings, its length, its
 *  levels and the speed. */
void printMixSummary(const MixRequest& request, const MixResult& result);

/** The same in the way that the request wants: as text, as one line of JSON,
 *  or not at all. */
void tellOfMix(const MixRequest& request, const MixResult& result);
