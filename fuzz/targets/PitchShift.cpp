#include <algorithm>
#include <bit>
#include <cmath>

#include "fuzz/Seeds.h"
#include "pcm/TovPcm.h"
#include "tests/reference/Resampling.h"
#include "tests/support/GuardedBlock.h"

// The pitch shifter between pages that nobody may touch, against the plain
// arithmetic.

namespace fuzz {

namespace {

using support::GuardedBlock;

/** Up to here positions, in frames, fit into a float whatever the rates. */
constexpr float kFarthestPitch = 1e18f;

int rate(Input& input)
{
  constexpr int kRates[] = {100, 200, 44100, 48000, 1, 0, -1, 1000};
  const unsigned int kind = input.u8();
  return kind < 128 ? kRates[kind % 8] : static_cast<int>(input.u32() >> (kind & 31));
}

void run(Input& input)
{
  const int outRate = rate(input);
  const int inRate = rate(input);
  const float pitch = input.factor();
  const bool isAtStart = input.flag();
  const long long outFrames = static_cast<long long>(input.u16() % 2048);
  const unsigned int shape = input.u8();
  std::vector<float> samples;
  if (shape < 128)
    while (!input.isEmpty())
      samples.push_back(input.factor());
  else
    for (unsigned int i = 0; i < shape * 8; ++i) // rarely quiet
      samples.push_back(i % 61 == 0 ? 0.0f : 0.5f);

  const auto tight = isAtStart ? GuardedBlock::Tight::AtStart : GuardedBlock::Tight::AtEnd;
  GuardedBlock in(samples.size() * sizeof(float), tight);
  const GuardedBlock out(static_cast<std::size_t>(outFrames) * sizeof(float), tight);
  std::copy(samples.begin(), samples.end(), in.floats());
  in.forbidWriting();
  const long long inFrames = static_cast<long long>(samples.size());
  const long long written = TovPcm::resampleWithPitchShift(out.floats(), in.floats(), outRate,
                                                           inRate, outFrames, inFrames, pitch);
  require(TovPcm::resampleWithPitchShift(out.floats(), in.floats(), outRate, inRate, -outFrames,
                                         inFrames, pitch) == 0,
          "nothing is written for no frames");
  if (std::abs(pitch) > kFarthestPitch) { // the plain arithmetic leaves the range of float
    require(written <= outFrames, "no more frames than there is room for");
    return;
  }
  const reference::PitchShiftResult wanted =
      reference::resampleWithPitchShift(samples, outRate, inRate, outFrames, pitch);
  require(written == wanted.written, "the number of frames");
  for (long long i = 0; i < written; ++i) {
    const float a = out.floats()[i];
    const float b = wanted.out[static_cast<std::size_t>(i)];
    require(std::bit_cast<unsigned int>(a) == std::bit_cast<unsigned int>(b) ||
                (std::isnan(a) && std::isnan(b)),
            "the frames are those of the plain arithmetic");
  }
}

} // namespace

extern const Target pitchTarget;
const Target pitchTarget = {"pitch", run, pitchSeeds, "pcm/TovPcmPitchShift.cpp"};

} // namespace fuzz
