#include "fuzz/Seeds.h"
#include "fuzz/SourceFile.h"
#include "fuzz/SpanCheck.h"
#include "tests/support/Owned.h"

// Spans of a file at any rate, against the plain arithmetic.

namespace fuzz {

namespace {

SpanRequest request(Input& input)
{
  constexpr int kRates[] = {44100, 8000, 48000, 192000, 11025, 96000, 0, 1000};
  const unsigned int shape = input.u8();
  const double offset = (shape & 8) != 0 ? input.seconds() : 0.0;
  const TovAudioContext context(kRates[shape % 8], static_cast<int>(shape >> 4 & 3), 24.0, offset);
  const double t0 = input.seconds();
  const double t1 =
      (shape & 64) != 0 ? input.seconds() : t0 + input.u16() % kMostSpanFrames / 96000.0;
  return {context, t0, t1, {input.s8(), static_cast<int>(shape >> 6)}};
}

void run(Input& input)
{
  constexpr int kMostRequests = 16; // keeps an input short in time
  const auto file = support::make<TovAudioFile>();
  reference::Source source = openSourceFile(*file, input.below(kSourceFiles));
  if (input.flag()) {
    source.playbackRate = 200 + static_cast<int>(input.u32() % 191800);
    file->setPlaybackRate(source.playbackRate);
  }
  if (input.flag())
    file->setSrcIn(source.srcIn = input.seconds());
  if (input.flag())
    file->setSrcOut(source.srcOut = input.seconds());

  checkCopies(*file, source);
  for (int left = kMostRequests; left > 0 && !input.isEmpty(); --left)
    checkSpan(*file, source, request(input));
}

} // namespace

extern const Target spansTarget;
const Target spansTarget = {"spans", run, spansSeeds, "graph/TovAudioFile.cpp"};

} // namespace fuzz
