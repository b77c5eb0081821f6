#pragma once

#include <vector>

#include "core/TovAudioContext.h"
#include "graph/TovAudioFile.h"
#include "tests/reference/FileSpan.h"

namespace fuzz {

constexpr long long kMostSpanFrames = 2048;

/** One request for a span of a file: in which context, when, which channels. */
struct SpanRequest {
  TovAudioContext context;
  double t0;
  double t1;
  std::vector<int> map; ///< of two outputs
};

/** Makes the request of a file that plays @p source and compares with the plain
 *  arithmetic, bit for bit.  Where the span is long or far away it asks for no
 *  more than the number of frames. */
void checkSpan(TovAudioFile& file, const reference::Source& source, const SpanRequest& request);

/** A clone of the file, and what is made from its blob, have its settings. */
void checkCopies(TovAudioFile& file, const reference::Source& source);

} // namespace fuzz
