#pragma once

#include <string>
#include <vector>

#include "app/MixGraph.h"
#include "app/PlotHeader.h"
#include "app/PlotOutput.h"
#include "app/PlotRequest.h"
#include "app/PlotResult.h"

/** Draws a lane per track and the sum below.  @p header has its facts but for
 *  the levels.  Throws UsageError, Failure and Interrupted. */
PlotResult drawMixPicture(const PlotRequest& request, MixGraph& graph, FrameSpan span,
                          PlotHeader header, double framesPerSecond, PlotOutput& output);

/** The session's name, or that it is a mix. */
std::string titleOfMix(const MixRequest& request);

/** Tracks, rate, length and master level. */
std::vector<std::string> factsOfMix(const MixGraph& graph, const MixContents& contents,
                                    FrameSpan span);
