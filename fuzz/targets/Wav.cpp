#include "fuzz/ReaderCheck.h"
#include "fuzz/Seeds.h"

// WAV files: header check, opening, format, reading, and reading again.

namespace fuzz {

namespace {

void run(Input& input)
{
  checkReading<support::Wav>(input, [](TovFile& file, FoundSamples& found) {
    TovWavFmtChunk fmt;
    long long size = 0;
    return TovWavReader::getWavDetails(file, &fmt, &found.offset, &size) == 0;
  });
}

} // namespace

extern const Target wavTarget;
const Target wavTarget = {"wav", run, wavSeeds,
                          "io/TovWavReader.cpp io/TovWavFormat.cpp io/TovWavTranslator.cpp "
                          "io/TovAudioReader.cpp io/TovChunkWalk.h"};

} // namespace fuzz
