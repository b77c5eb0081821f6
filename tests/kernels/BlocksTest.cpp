#include <functional>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "tests/kernels/KernelSets.h"
#include "tests/kernels/SameBits.h"

namespace {

using Channels = std::vector<std::vector<float>>;
using Work = std::function<void(const TovKernels& set, Channels& channels, long long frames)>;

/** Does the same with each set, in place on three channels of random lengths. */
void expectPlainBits(const Work& work)
{
  std::mt19937 random(5);
  for (int round = 0; round < 300; ++round) {
    const long long frames = static_cast<long long>(random() % 300);
    Channels channels;
    for (int i = 0; i < 3; ++i)
      channels.push_back(support::samples(random, frames + 1, false));
    Channels expected = channels;
    work(TovKernels::plain, expected, frames);
    for (const TovKernels* const set : support::fastSets()) {
      Channels got = channels;
      work(*set, got, frames);
      for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_TRUE(support::areSameBits(expected[i], got[i]))
            << set->name << ", channel " << i << ", " << frames << " frames";
    }
  }
}

TEST(BlockKernels, AmplifyAsThePlainLoopDoes)
{
  expectPlainBits([](const TovKernels& set, Channels& c, long long frames) {
    set.amplify(c[0].data(), c[1].data(), 0.7f, frames);
    set.amplify(c[2].data(), c[2].data(), -3.0f, frames);
  });
}

TEST(BlockKernels, SubtractAsThePlainLoopDoes)
{
  expectPlainBits([](const TovKernels& set, Channels& c, long long frames) {
    set.subtractRightFromLeft(c[0].data(), c[1].data(), c[0].data(), c[1].data(), frames);
  });
}

TEST(BlockKernels, FadeAsThePlainLoopDoes)
{
  expectPlainBits([](const TovKernels& set, Channels& c, long long frames) {
    set.applyRamp(c[0].data(), c[1].data(), 0.1f, 1.0f / 882.0f, frames);
    set.applyRamp(c[1].data(), c[2].data(), 1.0f, -1.0f / 882.0f, frames);
  });
}

TEST(BlockKernels, MixAsThePlainLoopDoes)
{
  for (const float fromLeft : {0.0f, 1.0f, 0.3f})
    for (const float fromRight : {0.0f, 1.0f, -0.6f})
      expectPlainBits([&](const TovKernels& set, Channels& c, long long frames) {
        const TovKernels::MixGains gains = {fromLeft, fromRight};
        set.addMix(c[0].data(), c[1].data(), c[2].data(), gains, frames);
        set.storeMix(c[1].data(), c[1].data(), c[2].data(), gains, frames);
      });
}

TEST(BlockKernels, HoldAsThePlainLoopDoes)
{
  expectPlainBits([](const TovKernels& set, Channels& c, long long frames) {
    set.resampleByHold(c[0].data(), c[1].data(), 60211, frames);
  });
}

TEST(KernelSets, AreFoundByName)
{
  EXPECT_EQ(&TovKernels::plain, TovKernels::find("plain"));
  EXPECT_EQ(nullptr, TovKernels::find("fastest"));
  for (const TovKernels* const set : support::fastSets())
    EXPECT_EQ(set, TovKernels::find(set->name));
}

} // namespace
