#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "pcm/TovPcm.h"

// Arguments: quality, input rate, output rate, output frames.  Items are
// output frames.

namespace {

void Resample(benchmark::State& state)
{
  const int quality = static_cast<int>(state.range(0));
  const int inRate = static_cast<int>(state.range(1));
  const int outRate = static_cast<int>(state.range(2));
  const long long frames = state.range(3);
  const long long handles = TovPcm::resamplerHandles(quality, outRate, inRate);
  const long long inFrames = frames * inRate / outRate + 2 + 2 * handles;

  std::mt19937 random(1);
  std::uniform_real_distribution<float> noise(-1.0f, 1.0f);
  std::vector<float> in(static_cast<std::size_t>(inFrames));
  for (float& sample : in)
    sample = noise(random);
  std::vector<float> out(static_cast<std::size_t>(frames));

  for (auto _ : state) {
    TovPcm::resample(quality, out.data(), in.data() + handles, outRate, inRate, frames, inFrames,
                     0.25f);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * frames);
}

void ratePairs(benchmark::internal::Benchmark* bench)
{
  bench->ArgNames({"quality", "from", "to", "frames"});
  for (const int quality : {0, 1, 2, 3})
    for (const auto& [from, to] :
         {std::pair{44100, 48000}, {48000, 44100}, {96000, 48000}, {44100, 96000}})
      for (const int frames : {4096, 1 << 18})
        bench->Args({quality, from, to, frames});
}

} // namespace

BENCHMARK(Resample)->Apply(ratePairs);
