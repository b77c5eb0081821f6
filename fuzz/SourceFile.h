#pragma once

#include "graph/TovAudioFile.h"
#include "tests/reference/FileSpan.h"

namespace fuzz {

constexpr int kSourceFiles = 8;

/** Writes one of the small files of noise, which differ in format, channels,
 *  sample size and rate, and makes @p file play it.  Returns what it plays. */
reference::Source openSourceFile(TovAudioFile& file, int kind);

} // namespace fuzz
