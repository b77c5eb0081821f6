#include "app/MixSpan.h"

#include <cmath>

#include "app/Failures.h"

static long long frameOf(const WrittenTime& time, const MixGraph& graph)
{
  if (time.isInSamples && graph.getCountingRate() <= 0) {
    throw UsageError("there is no file whose rate samples could be counted by; --rate says it");
  }
  return std::llround(time.secondsAt(graph.getCountingRate()) * graph.getRate());
}

FrameSpan spanOf(const MixRequest& request, const MixGraph& graph, const std::string& name)
{
  FrameSpan span = {};
  span.from = frameOf(request.from.value_or(0.0), graph);
  span.to = request.to ? frameOf(*request.to, graph) : graph.getEndFrame();
  if (span.to > span.from) {
    return span;
  }
  if (request.from && request.to) {
    throw UsageError("--to is not behind --from");
  }
  if (request.from || request.to) {
    throw UsageError(request.to ? "--to is not behind the beginning of the mix"
                                : "--from is not before the end of the last track");
  }
  throw Failure(name, "the mix is empty: no track reaches behind time 0");
}
