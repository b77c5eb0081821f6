#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "pcm/TovPcm.h"
#include "tests/kernels/KernelSets.h"
#include "tests/kernels/SameBits.h"
#include "tests/support/GuardedBlock.h"

namespace {

using support::GuardedBlock;
using Tight = GuardedBlock::Tight;

constexpr Tight kTights[] = {Tight::AtEnd, Tight::AtStart};

TovKernels::Resampling request(int quality, int inRate, int outRate, float phase)
{
  return {.wing = TovKernels::filterWing(quality),
          .outRate = outRate,
          .inRate = inRate,
          .ratio = static_cast<double>(outRate) / inRate,
          .ratioF = static_cast<float>(outRate) / static_cast<float>(inRate),
          .step = static_cast<double>(inRate) / outRate,
          .phase = static_cast<double>(phase),
          .handles = TovPcm::resamplerHandles(quality, outRate, inRate)};
}

/** Channels of one length, with a page at one end of each that nobody may touch,
 *  and another right behind the list of them. */
class Channels {
public:
  Channels(int count, long long length, Tight whereTight)
      : frames(static_cast<std::size_t>(length)),
        list(static_cast<std::size_t>(count) * sizeof(float*), Tight::AtEnd)
  {
    for (int i = 0; i < count; ++i) {
      blocks.push_back(std::make_unique<GuardedBlock>(frames * sizeof(float), whereTight));
      pointers()[i] = blocks.back()->floats();
    }
  }

  float** pointers() const { return static_cast<float**>(list.data()); }

  void fill(int channel, const std::vector<float>& samples) const
  {
    std::copy(samples.begin(), samples.end(), blocks[static_cast<std::size_t>(channel)]->floats());
  }

  std::vector<std::vector<float>> copied() const
  {
    std::vector<std::vector<float>> copies;
    for (const std::unique_ptr<GuardedBlock>& block : blocks)
      copies.emplace_back(block->floats(), block->floats() + frames);
    return copies;
  }

private:
  std::size_t frames;
  GuardedBlock list;
  std::vector<std::unique_ptr<GuardedBlock>> blocks;
};

/** The inputs of one request, of which each ends with the last frame that the
 *  plain loop may read. */
class Inputs {
public:
  Inputs(std::mt19937& random, int channels, const TovKernels::Resampling& r, long long frames,
         Tight whereTight)
      : length(lengthOf(r, frames)), tight(whereTight), blocks(channels, length, tight)
  {
    for (int i = 0; i < channels; ++i) {
      blocks.fill(i, support::samples(random, length, false));
      blocks.pointers()[i] += r.handles;
    }
  }

  const float* const* get() const { return blocks.pointers(); }
  Tight whereTight() const { return tight; }

private:
  static long long lengthOf(const TovKernels::Resampling& r, long long frames)
  {
    const double last = r.phase + static_cast<double>(frames) * r.step;
    return static_cast<long long>(last) + 2 + 2 * r.handles;
  }

  long long length;
  Tight tight;
  Channels blocks;
};

std::vector<std::vector<float>> resampled(const TovKernels& set, const TovKernels::Resampling& r,
                                          const Inputs& inputs, int channels, long long frames)
{
  const Channels outputs(channels, frames, inputs.whereTight());
  for (int i = 0; i < channels; ++i)
    outputs.fill(i, std::vector<float>(static_cast<std::size_t>(frames), -7.0f));
  (r.outRate >= r.inRate ? set.resampleUp : set.resampleDown)(outputs.pointers(), inputs.get(),
                                                              channels, r, frames);
  return outputs.copied();
}

constexpr std::pair<int, int> kRates[] = {
    {44100, 48000}, {48000, 44100}, {96000, 48000}, {44100, 96000}, {44100, 44101}, {22050, 48000},
    {48000, 32000}, {8000, 48000},  {48000, 8000},  {44100, 22050}, {32000, 44100}, {44100, 47999},
    {11025, 44100}, {44100, 88200}, {1, 3},         {7, 5},         {192000, 44100}, {511, 512},
    {512, 511},     {200, 192000},  {192000, 200},  {48000, 48000}};

TEST(ResamplingKernels, GiveThePlainBits)
{
  std::mt19937 random(7);
  long long left = support::samplesWanted(4000000, 100000000);
  while (left > 0) {
    const int quality = static_cast<int>(1 + random() % 3);
    auto [inRate, outRate] = kRates[random() % std::size(kRates)];
    if (random() % 4 == 0) {
      inRate = static_cast<int>(1 + random() % 600);
      outRate = static_cast<int>(1 + random() % 600);
    }
    const long long most = random() % 3 ? 9000 : 40000;
    const long long frames = static_cast<long long>(random()) % most / std::max(1, inRate / outRate);
    const float phase = random() % 4 ? std::generate_canonical<float, 20>(random) : 0.0f;
    const int channels = static_cast<int>(1 + random() % 3);
    const TovKernels::Resampling r = request(quality, inRate, outRate, phase);
    const Inputs inputs(random, channels, r, frames, kTights[random() % 2]);
    const auto expected = resampled(TovKernels::plain, r, inputs, channels, frames);
    for (const TovKernels* const set : support::fastSets()) {
      const auto got = resampled(*set, r, inputs, channels, frames);
      for (int i = 0; i < channels; ++i)
        ASSERT_TRUE(support::areSameBits(expected[static_cast<std::size_t>(i)],
                                got[static_cast<std::size_t>(i)]))
            << set->name << ", quality " << quality << ", " << inRate << " to " << outRate << ", "
            << frames << " frames from " << phase << ", channel " << i;
    }
    left -= frames * channels + 100;
  }
}

/** The roundings of the positions add up, so that outputs one period apart go
 *  different ways about an input frame or a table entry. */
TEST(ResamplingKernels, GiveThePlainBitsAlongLongBuffers)
{
  constexpr std::pair<int, int> kDrifting[] = {
      {48000, 44100}, {44100, 48000}, {96000, 44100}, {192000, 44100}};
  std::mt19937 random(9);
  for (const auto& rates : kDrifting) {
    const long long frames = support::samplesWanted(200000, 3000000);
    for (const float phase : {0.0f, 0.25f, 1.0f / 3.0f, -0.99999994f, -0.5f}) {
      const int quality = phase == 0.25f ? 2 : 3;
      const TovKernels::Resampling r = request(quality, rates.first, rates.second, phase);
      const Inputs inputs(random, 1, r, frames, Tight::AtEnd);
      const auto expected = resampled(TovKernels::plain, r, inputs, 1, frames);
      for (const TovKernels* const set : support::fastSets())
        ASSERT_TRUE(support::areSameBits(expected[0], resampled(*set, r, inputs, 1, frames)[0]))
            << set->name << ", " << rates.first << " to " << rates.second << " from " << phase;
    }
  }
}

/** Two periods, each of which crosses a power of two.  Of outputs one period
 *  apart, a rounding puts one half a frame from its input, and the other just
 *  less. */
TEST(ResamplingKernels, GiveThePlainBitsWhereNoLaneKeepsItsSpacing)
{
  constexpr int kInRate = 44100;
  constexpr int kOutRate = 48000;
  constexpr long long kFrames = 2 * 160 + 4; // the plain loop does the last four
  std::mt19937 random(10);
  float phase = 1.4901e-8f;
  for (int i = 0; i < 1000; ++i) {
    phase = std::nextafter(phase, 1.0f);
    const TovKernels::Resampling r = request(1, kInRate, kOutRate, phase);
    const Inputs inputs(random, 1, r, kFrames, Tight::AtEnd);
    const auto expected = resampled(TovKernels::plain, r, inputs, 1, kFrames);
    for (const TovKernels* const set : support::fastSets())
      ASSERT_TRUE(support::areSameBits(expected[0], resampled(*set, r, inputs, 1, kFrames)[0]))
          << set->name << " from " << phase;
  }
}

/** The most that the fast loops set room aside for: 512 input frames or outputs
 *  of a period, and 128 handles, as far as both come together. */
TEST(ResamplingKernels, GiveThePlainBitsWithTheLongestPeriodsAndTheMostHandles)
{
  struct Extreme {
    int quality;
    int inRate;
    int outRate;
    int handles;
  };
  constexpr Extreme kExtremes[] = {{3, 512, 53, 127}, {2, 507, 28, 128}, {1, 505, 12, 128},
                                   {2, 512, 29, 125}, {3, 511, 512, 14}, {3, 509, 512, 14}};
  std::mt19937 random(10);
  for (const Extreme& extreme : kExtremes) {
    for (const int channels : {1, 2, 3, 5}) {
      for (const Tight tight : kTights) {
        const TovKernels::Resampling r =
            request(extreme.quality, extreme.inRate, extreme.outRate, 0.75f);
        ASSERT_EQ(extreme.handles, r.handles);
        const long long frames = 40 * extreme.outRate + 7;
        const Inputs inputs(random, channels, r, frames, tight);
        const auto expected = resampled(TovKernels::plain, r, inputs, channels, frames);
        for (const TovKernels* const set : support::fastSets())
          EXPECT_EQ(expected, resampled(*set, r, inputs, channels, frames))
              << set->name << ", " << extreme.inRate << " to " << extreme.outRate;
      }
    }
  }
}

/** What is not a number in the input reaches the same outputs. */
TEST(ResamplingKernels, SpreadWhatIsNoNumberAsThePlainLoopDoes)
{
  std::mt19937 random(8);
  for (const auto& rates : kRates) {
    const int inRate = rates.first;
    const int outRate = rates.second;
    const TovKernels::Resampling r = request(2, inRate, outRate, 0.5f);
    const long long frames = 6000 / std::max(1, inRate / outRate);
    const long long count = static_cast<long long>(static_cast<double>(frames) * r.step) + 3 + 2 * r.handles;
    std::vector<float> in = support::samples(random, count, false);
    for (std::size_t i = 17; i < in.size(); i += 1009)
      in[i] = i % 2 ? INFINITY : NAN;
    const float* const pointer = in.data() + r.handles;
    const auto run = [&](const TovKernels& set) {
      std::vector<float> out(static_cast<std::size_t>(frames));
      float* const target = out.data();
      (outRate >= inRate ? set.resampleUp : set.resampleDown)(&target, &pointer, 1, r, frames);
      return out;
    };
    const std::vector<float> expected = run(TovKernels::plain);
    for (const TovKernels* const set : support::fastSets()) {
      const std::vector<float> got = run(*set);
      for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_TRUE(expected[i] == got[i] || (std::isnan(expected[i]) && std::isnan(got[i])))
            << set->name << ", " << inRate << " to " << outRate << " at " << i;
    }
  }
}

} // namespace
