#include <algorithm>
#include <cmath>

#include "fuzz/Seeds.h"
#include "pcm/TovPcm.h"
#include "tests/reference/Resampling.h"
#include "tests/support/Buffers.h"
#include "tests/support/GuardedBlock.h"

// Sample rate conversion between pages that nobody may touch, against the
// plain arithmetic.

namespace fuzz {

namespace {

using support::GuardedBlock;

constexpr long long kMostBlock = 1 << 15;

int rate(Input& input)
{
  constexpr int kRates[] = {44100, 48000, 8000, 192000, 22050, 11025, 1, 200, 40000, 96000, 7, 0};
  const unsigned int kind = input.u8();
  return kind < 128 ? kRates[kind % 12] : static_cast<int>(input.u32() >> (kind & 31));
}

float phase(Input& input)
{
  constexpr float kEdges[] = {0.0f, 0.99999994f, 1.0f, 5.9604645e-8f, 0.5f};
  const unsigned int kind = input.u8();
  return kind < 5 ? kEdges[kind] : static_cast<float>(input.u16()) / 65536.0f;
}

void run(Input& input)
{
  const int quality = input.s8() % 8;
  const int outRate = rate(input);
  const int inRate = rate(input);
  const float first = phase(input);
  const bool isAtStart = input.flag();
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

  const auto tight = isAtStart ? GuardedBlock::Tight::AtStart : GuardedBlock::Tight::AtEnd;
  GuardedBlock in(static_cast<std::size_t>(inFrames) * sizeof(float), tight);
  const GuardedBlock out(static_cast<std::size_t>(frames) * sizeof(float), tight);
  std::vector<float> block(static_cast<std::size_t>(inFrames));
  for (std::size_t i = 0; i < block.size(); ++i)
    block[i] = input.isEmpty() ? std::sin(static_cast<float>(i)) : input.factor();
  std::copy(block.begin(), block.end(), in.floats());
  in.forbidWriting();

  TovPcm::resample(quality, out.floats(), in.floats() + handles, outRate, inRate, frames, inFrames,
                   first);
  const std::vector<float> wanted =
      reference::resample(quality, block, handles, outRate, inRate, frames, first, handles);
  for (long long i = 0; i < frames; ++i) {
    const float a = out.floats()[i];
    const float b = wanted[static_cast<std::size_t>(i)];
    require(support::bits({a}) == support::bits({b}) || (std::isnan(a) && std::isnan(b)),
            "the frames are those of the plain arithmetic");
  }
}

} // namespace

extern const Target resamplingTarget;
const Target resamplingTarget = {"resampling", run, resamplingSeeds,
                                 "pcm/TovPcmResampling.cpp pcm/kernels/ResamplingLoops.h"};

} // namespace fuzz
