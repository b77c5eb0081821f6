#include <cmath>

#include "fuzz/GuardedFrames.h"
#include "fuzz/Seeds.h"
#include "pcm/TovPcm.h"
#include "tests/reference/Resampling.h"

// Sample rate conversion between pages that nobody may touch, against the
// plain arithmetic.

namespace fuzz {

namespace {

void run(Input& input)
{
  constexpr int kRates[] = {44100, 48000, 8000, 192000, 22050, 11025, 1, 200, 40000, 96000, 7, 0};
  constexpr long long kMostBlock = 1 << 15;
  const int quality = input.s8() % 8;
  const int outRate = input.rate(kRates);
  const int inRate = input.rate(kRates);
  const float first = input.phase();
  const bool isTightAtStart = input.flag();
  const long long frames = input.u8() % 64;

  // The frames that the call may read, none more.
  const long long handles = TovPcm::resamplerHandles(quality, outRate, inRate);
  require(handles == reference::handles(quality, outRate, inRate), "the number of handles");
  const bool isPossible = outRate >= 1 && inRate >= 1;
  const double step = isPossible ? static_cast<double>(inRate) / outRate : 0.0;
  const double last = frames > 0 ? std::ceil(first + static_cast<double>(frames - 1) * step) : 0.0;
  if (last + 2.0 * static_cast<double>(handles) > kMostBlock)
    return;
  const long long inFrames = static_cast<long long>(last) + 2 * handles;
  std::vector<float> block(static_cast<std::size_t>(inFrames));
  for (std::size_t i = 0; i < block.size(); ++i)
    block[i] = input.isEmpty() ? std::sin(static_cast<float>(i)) : input.factor();

  const GuardedFrames guarded(block, frames, isTightAtStart);
  TovPcm::resample(quality, guarded.out(), guarded.in() + handles, outRate, inRate, frames,
                   inFrames, first);
  guarded.checkWritten(
      reference::resample(quality, block, handles, outRate, inRate, frames, first, handles),
      frames);
}

} // namespace

extern const Target resamplingTarget;
const Target resamplingTarget = {"resampling", run, resamplingSeeds,
                                 "pcm/TovPcmResampling.cpp pcm/kernels/ResamplingLoops.h"};

} // namespace fuzz
