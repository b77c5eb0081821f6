#include "fuzz/ReaderCheck.h"
#include "fuzz/Seeds.h"

// AIFF files: header check, opening, format, reading, and reading again.

namespace fuzz {

namespace {

void run(Input& input)
{
  checkReading<support::Aiff>(input, [](TovFile& file, FoundSamples& found) {
    TovAiffFmtChunk fmt;
    long long size = 0;
    return TovAiffReader::getAiffDetails(file, &fmt, &found.offset, &size) == 0;
  });
}

} // namespace

extern const Target aiffTarget;
const Target aiffTarget = {"aiff", run, aiffSeeds,
                           "io/TovAiffReader.cpp io/TovAiffFormat.cpp io/TovAiffTranslator.cpp "
                           "io/TovAudioReader.cpp io/TovChunkWalk.h"};

} // namespace fuzz
