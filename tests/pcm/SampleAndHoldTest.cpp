#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "tests/pcm/Noise.h"
#include "tests/reference/Resampling.h"
#include "tests/support/Buffers.h"

namespace {

std::vector<float> ramp(int count)
{
  std::vector<float> values;
  for (int i = 0; i < count; ++i)
    values.push_back(static_cast<float>(i + 1));
  return values;
}

std::vector<float> hold(const std::vector<float>& in, int outRate, int inRate, long long outFrames,
                        float phase = 0.0f)
{
  support::Buffers out(1, outFrames);
  TovPcm::resample(0, out.channel(0), in.data(), outRate, inRate, outFrames,
                   static_cast<long long>(in.size()), phase);
  EXPECT_TRUE(out.guardsIntact());
  return out.samples(0);
}

/** An address range far wider than the machine's memory that reads as zeros;
 *  only what is written takes room. */
class SparseFloats {
public:
  SparseFloats(long long before, long long after)
      : length(static_cast<std::size_t>(before + after) * sizeof(float)),
        mapping(
            mmap(nullptr, length, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0))
  {
    if (mapping != MAP_FAILED)
      origin = static_cast<float*>(mapping) + before;
  }
  ~SparseFloats()
  {
    if (mapping != MAP_FAILED)
      munmap(mapping, length);
  }
  SparseFloats(const SparseFloats&) = delete;
  SparseFloats& operator=(const SparseFloats&) = delete;

  /** Null where the system has no such range. */
  const float* data() const { return origin; }

  void set(long long index, float value)
  {
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    float* const place = origin + index;
    const auto start = reinterpret_cast<std::uintptr_t>(place) / page * page;
    ASSERT_EQ(mprotect(reinterpret_cast<void*>(start), page, PROT_READ | PROT_WRITE), 0);
    *place = value;
  }

private:
  std::size_t length;
  void* mapping;
  float* origin = nullptr;
};

} // namespace

TEST(SampleAndHoldTest, EqualRatesCopyTheInput)
{
  Noise noise(50);
  for (int frames = 0; frames < 40; ++frames) {
    const std::vector<float> in = noise.wildSamples(frames + 1);
    for (const int rate : {1, 200, 44100, std::numeric_limits<int>::max()})
      EXPECT_EQ(support::bits(hold(in, rate, rate, frames)),
                support::bits({in.begin(), in.begin() + frames}));
  }
}

TEST(SampleAndHoldTest, HalfTheRateTakesEverySecondSampleFromTheFirst)
{
  for (int frames = 0; frames < 40; ++frames) {
    const std::vector<float> out = hold(ramp(80), 44100, 88200, frames);
    for (int n = 0; n < frames; ++n)
      EXPECT_EQ(out[static_cast<std::size_t>(n)], static_cast<float>(2 * n + 1));
  }
}

TEST(SampleAndHoldTest, TwiceTheRateRepeatsEachSample)
{
  EXPECT_EQ(hold(ramp(3), 2, 1, 6), (std::vector<float>{1, 1, 2, 2, 3, 3}));
}

TEST(SampleAndHoldTest, TheStepIsTruncatedToA65536th)
{
  // A third is 21845 of 65536, so the next sample comes one output late.
  EXPECT_EQ(hold(ramp(2), 3, 1, 5), (std::vector<float>{1, 1, 1, 1, 2}));
  // 44100 / 48000 is 60211 of 65536 and a bit: after 301055 outputs the
  // position is one sample short of the exact one.
  const std::vector<float> in = ramp(300000);
  const std::vector<float> out = hold(in, 48000, 44100, 320000);
  for (long long n = 0; n < 320000; ++n)
    ASSERT_EQ(out[static_cast<std::size_t>(n)], static_cast<float>((n * 60211 >> 16) + 1)) << n;
  EXPECT_EQ(out[319999], static_cast<float>(319999LL * 44100 / 48000));
}

TEST(SampleAndHoldTest, AStepBelowA65536thHoldsTheFirstSampleForEver)
{
  const std::vector<float> out = hold({7.0f}, 192000, 1, 200000);
  EXPECT_EQ(out, std::vector<float>(200000, 7.0f));
}

TEST(SampleAndHoldTest, ThePhaseIsIgnored)
{
  const std::vector<float> in = ramp(64);
  for (const float phase :
       {0.5f, 0.99999994f, 1.0f, -3.0f, 1.0e30f, std::numeric_limits<float>::quiet_NaN()})
    for (const int inRate : {22050, 44100, 50000, 88200})
      EXPECT_EQ(hold(in, 44100, inRate, 30, phase), hold(in, 44100, inRate, 30));
}

TEST(SampleAndHoldTest, TheFirstOutputIsTheFirstInput)
{
  const std::vector<float> in = ramp(4);
  for (const int outRate : {1, 7, 44100, std::numeric_limits<int>::max()})
    for (const int inRate : {1, 7, 44100, std::numeric_limits<int>::max()})
      EXPECT_EQ(hold(in, outRate, inRate, 1)[0], 1.0f);
}

TEST(SampleAndHoldTest, ItsOwnFunctionDoesTheSame)
{
  Noise noise(51);
  for (int round = 0; round < 300; ++round) {
    const int outRate = noise.between(4000, 192000);
    const int inRate = noise.between(4000, 192000);
    const int frames = noise.between(0, 60);
    const std::vector<float> in = noise.wildSamples(60LL * inRate / outRate + 2);
    support::Buffers out(1, frames);
    TovPcm::resampleLowQuality(out.channel(0), in.data(), outRate, inRate, frames, -1);
    EXPECT_EQ(support::bits(out.samples(0)), support::bits(hold(in, outRate, inRate, frames)));
    EXPECT_TRUE(out.guardsIntact());
  }
}

TEST(SampleAndHoldTest, EqualsTheReference)
{
  Noise noise(52);
  for (int round = 0; round < 1500; ++round) {
    const int outRate = noise.between(1, round % 2 == 0 ? 192000 : 100);
    const int inRate = noise.between(1, round % 3 == 0 ? 192000 : 100);
    const long long available = 4000;
    const long long frames =
        std::min<long long>(noise.between(0, 600), (available - 1) * outRate / inRate);
    const std::vector<float> in = noise.wildSamples(available);
    ASSERT_EQ(support::bits(hold(in, outRate, inRate, frames)),
              support::bits(reference::resample(0, in, 0, outRate, inRate, frames, 0.0f)))
        << inRate << " to " << outRate << ", " << frames << " frames";
  }
}

TEST(SampleAndHoldTest, RatesBelowOneWriteZerosAndReadNothing)
{
  for (const int bad : {0, -1, -48000, std::numeric_limits<int>::min()}) {
    for (const auto& [outRate, inRate] : {std::pair{bad, 48000}, {48000, bad}, {bad, bad}}) {
      support::Buffers out(1, 21);
      TovPcm::resampleLowQuality(out.channel(0), nullptr, outRate, inRate, 21, 0);
      EXPECT_EQ(support::bits(out.samples(0)), std::vector<unsigned int>(21, 0u));
      EXPECT_TRUE(out.guardsIntact());
    }
  }
}

TEST(SampleAndHoldTest, NegativeCountsWriteNothing)
{
  const std::vector<float> in = ramp(16);
  support::Buffers out(1, 8);
  for (const long long frames : {0LL, -1LL, -8LL, std::numeric_limits<long long>::min()}) {
    TovPcm::resampleLowQuality(out.channel(0), in.data(), 44100, 44100, frames, 16);
    TovPcm::resampleLowQuality(out.channel(0), in.data(), 0, 44100, frames, 16);
    TovPcm::resample(0, out.channel(0), in.data(), 44100, 44100, frames, 16, 0.0f);
    TovPcm::resample(0, out.channel(0), in.data(), 44100, 0, frames, 16, 0.0f);
  }
  EXPECT_TRUE(out.untouched());
}

TEST(SampleAndHoldTest, SplittingAtAWholeStepEqualsTheWhole)
{
  Noise noise(53);
  const std::vector<float> in = noise.samples(400);
  const std::vector<std::pair<int, int>> wholeSteps = {{1, 1}, {1, 2}, {1, 4}, {1, 3}};
  for (const auto& [outRate, inRate] : wholeSteps) {
    const std::vector<float> whole = hold(in, outRate, inRate, 90);
    for (int cut = 0; cut <= 90; ++cut) {
      std::vector<float> pieces = hold(in, outRate, inRate, cut);
      const std::vector<float> rest(in.begin() + cut * inRate, in.end());
      const std::vector<float> second = hold(rest, outRate, inRate, 90 - cut);
      pieces.insert(pieces.end(), second.begin(), second.end());
      ASSERT_EQ(pieces, whole) << inRate << " to " << outRate << ", cut at " << cut;
    }
  }
}

TEST(SampleAndHoldTest, TheIndexIsTheLow32BitsOfThePosition)
{
  // Two outputs of three stand more than 2^31 samples after the first.  An
  // index of 2^31 or more is the same 32 bits as a negative one; both places
  // hold the value.
  const long long reach = 1LL << 31;
  SparseFloats in(reach, 8 * reach);
  ASSERT_NE(in.data(), nullptr);
  const int inRate = 1 << 30;
  in.set(0, 1.0f);
  in.set(reach / 2, 2.0f);
  in.set(reach, 3.0f);
  in.set(-reach, 3.0f);
  in.set(reach + reach / 2, 4.0f);
  in.set(-reach / 2, 4.0f);
  support::Buffers out(1, 13);
  TovPcm::resampleLowQuality(out.channel(0), in.data(), 1, inRate, 13, 0);
  EXPECT_EQ(out.samples(0), (std::vector<float>{1, 2, 3, 4, 1, 2, 3, 4, 1, 2, 3, 4, 1}));
}

TEST(SampleAndHoldTest, ThePositionMayPass64Bits)
{
  const long long reach = 1LL << 31;
  SparseFloats in(reach, 2 * reach);
  ASSERT_NE(in.data(), nullptr);
  in.set(0, 5.0f);
  in.set(reach - 1, 6.0f);
  // Steps of 2^31 - 1 samples: the position itself grows by almost 2^47.
  const long long frames = 200001;
  std::vector<float> out(static_cast<std::size_t>(frames), -1.0f);
  TovPcm::resampleLowQuality(out.data(), in.data(), 1, std::numeric_limits<int>::max(), frames, 0);
  EXPECT_EQ(out[0], 5.0f);
  EXPECT_EQ(out[1], 6.0f);
  for (std::size_t n = 2; n < out.size(); ++n)
    ASSERT_EQ(out[n], 0.0f) << n;
}
