#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "pcm/TovPcm.h"

// Arguments: encoding, most significant byte first, channels.  Items are
// samples, so that the figure reads as samples per second.

namespace {

constexpr long long kFrames = 4096;

TovAudioIOFormat formatOf(const benchmark::State& state)
{
  TovAudioIOFormat format{};
  format.state = FormatValid;
  format.encoding = static_cast<std::uint32_t>(state.range(0));
  format.bigEndian = static_cast<std::uint32_t>(state.range(1));
  format.channels = static_cast<std::uint32_t>(state.range(2));
  return format;
}

/** One buffer of noise within full scale per channel. */
struct Channels {
  explicit Channels(int count)
      : samples(static_cast<std::size_t>(count), std::vector<float>(kFrames))
  {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> noise(-1.0f, 1.0f);
    for (int i = 0; i < count; ++i) {
      std::vector<float>& channel = samples[static_cast<std::size_t>(i)];
      for (float& sample : channel)
        sample = noise(random);
      buffers.append(channel.data());
      map.append(i);
    }
  }

  std::vector<std::vector<float>> samples;
  TovNLPArray<float> buffers;
  TovNLArray<int> map;
};

void finish(benchmark::State& state)
{
  state.SetItemsProcessed(state.iterations() * kFrames * state.range(2));
}

void Decode(benchmark::State& state)
{
  const TovAudioIOFormat format = formatOf(state);
  Channels channels(static_cast<int>(format.channels));
  std::vector<unsigned char> block(static_cast<std::size_t>(kFrames * format.channels * 4));
  TovPcm::fromFloat(block.data(), channels.map, channels.buffers, format, kFrames);
  for (auto _ : state) {
    TovPcm::toFloat(channels.buffers, channels.map, block.data(), format, kFrames);
    benchmark::ClobberMemory();
  }
  finish(state);
}

void Encode(benchmark::State& state)
{
  const TovAudioIOFormat format = formatOf(state);
  const Channels channels(static_cast<int>(format.channels));
  std::vector<unsigned char> block(static_cast<std::size_t>(kFrames * format.channels * 4));
  for (auto _ : state) {
    TovPcm::fromFloat(block.data(), channels.map, channels.buffers, format, kFrames);
    benchmark::ClobberMemory();
  }
  finish(state);
}

void fileFormats(benchmark::internal::Benchmark* bench)
{
  bench->ArgNames({"encoding", "bigEndian", "channels"});
  for (const int channels : {1, 2, 6})
    for (const auto& [encoding, bigEndian] : {std::pair{EncU8, 0},
                                              {EncS16, 0},
                                              {EncS24, 0},
                                              {EncFloat32Scaled16, 0},
                                              {EncS16, 1},
                                              {EncS24, 1},
                                              {EncS32, 1}})
      bench->Args({encoding, bigEndian, channels});
}

} // namespace

BENCHMARK(Decode)->Apply(fileFormats);
BENCHMARK(Encode)->Apply(fileFormats);
