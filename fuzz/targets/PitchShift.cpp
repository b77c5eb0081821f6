#include <cmath>

#include "fuzz/GuardedFrames.h"
#include "fuzz/Seeds.h"
#include "pcm/TovPcm.h"
#include "tests/reference/Resampling.h"

// The pitch shifter between pages that nobody may touch, against the plain
// arithmetic.

namespace fuzz {

namespace {

/** Up to here positions, in frames, fit into a float whatever the rates. */
constexpr float kFarthestPitch = 1e18f;

void run(Input& input)
{
  constexpr int kRates[] = {100, 200, 44100, 48000, 1, 0, -1, 1000};
  const int outRate = input.rate(kRates);
  const int inRate = input.rate(kRates);
  const float pitch = input.factor();
  const bool isTightAtStart = input.flag();
  const long long outFrames = static_cast<long long>(input.u16() % 2048);
  const unsigned int shape = input.u8();
  std::vector<float> samples;
  if (shape < 128)
    while (!input.isEmpty())
      samples.push_back(input.factor());
  else
    for (unsigned int i = 0; i < shape * 8; ++i) // rarely quiet
      samples.push_back(i % 61 == 0 ? 0.0f : 0.5f);

  const GuardedFrames guarded(samples, outFrames, isTightAtStart);
  const auto shift = [&](long long frames) {
    return TovPcm::resampleWithPitchShift(guarded.out(), guarded.in(), outRate, inRate, frames,
                                          static_cast<long long>(samples.size()), pitch);
  };
  const long long written = shift(outFrames);
  require(shift(-outFrames) == 0, "nothing is written for no frames");
  if (std::abs(pitch) > kFarthestPitch) { // the plain arithmetic leaves the range of float
    require(written <= outFrames, "no more frames than there is room for");
    return;
  }
  const reference::PitchShiftResult wanted =
      reference::resampleWithPitchShift(samples, outRate, inRate, outFrames, pitch);
  require(written == wanted.written, "the number of frames");
  guarded.checkWritten(wanted.out, written);
}

} // namespace

extern const Target pitchTarget;
const Target pitchTarget = {"pitch", run, pitchSeeds, "pcm/TovPcmPitchShift.cpp"};

} // namespace fuzz
