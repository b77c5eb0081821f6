#include "app/MixSpan.h"

#include <cmath>

#include "app/Failures.h"

FrameSpan spanOf(const MixRequest& request, const MixGraph& graph, const std::string& name)
{
  FrameSpan span = {};
  span.from = std::llround(request.from.value_or(0.0) * graph.getRate());
  span.to = request.to ? std::llround(*request.to * graph.getRate()) : graph.getEndFrame();
  if (span.to > span.from) {
    return span;
  }
  if (request.from || request.to) {
    throw UsageError(request.to ? "--to is not behind the beginning of the mix"
                                : "--from is not before the end of the last track");
  }
  throw Failure(name, "the mix is empty: no track reaches behind time 0");
}
