#pragma once

#include <string>

#include "app/FrameSpan.h"
#include "app/MixGraph.h"
#include "app/MixRequest.h"

/** The part that --from and --to leave, never empty.  Throws UsageError, or
 *  Failure, which names @p name, where nothing would be left of the mix. */
FrameSpan spanOf(const MixRequest& request, const MixGraph& graph, const std::string& name);
