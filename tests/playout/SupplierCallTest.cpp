#include <algorithm>
#include <bit>
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "tests/core/AllocationCounter.h"
#include "tests/playout/SteppedEngine.h"

namespace {

using support::AllocationCounter;
using support::PlayingEngine;
using Calls = std::vector<support::RecordingSupplier::Call>;

TEST(SupplierCall, SaysPositionCountAndLength)
{
  PlayingEngine engine;
  engine.start(1000.5);
  engine.device().pull(509);
  engine.device().pull(1);
  engine.device().pull(512);
  EXPECT_EQ(engine.supplier.calls,
            (Calls{{1000.5, 0, 509}, {1509.5, 1, 1}, {1510.5, 2, 512}}));
}

TEST(SupplierCall, CountsAnewWithEveryStart)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(100);
  engine.device().pull(100);
  engine.stop();
  engine.supplier.calls.clear();
  engine.start(-50);
  engine.device().pull(100);
  engine.device().pull(100);
  EXPECT_EQ(engine.supplier.calls, (Calls{{-50, 0, 100}, {50, 1, 100}}));
}

TEST(SupplierCall, BeginsAnewAlsoWhenNothingWasPulledBetweenStopAndStart)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(100);
  engine.stop();
  engine.supplier.calls.clear();
  engine.start(7000);
  EXPECT_EQ(engine.device().pull(100), engine.supplier.heard(7000, 100));
  EXPECT_EQ(engine.supplier.calls, (Calls{{7000, 0, 100}}));
}

TEST(SupplierCall, LongCallbacksComeInPieces)
{
  PlayingEngine engine;
  engine.start(3);
  EXPECT_EQ(engine.device().pull(4096), engine.supplier.heard(3, 4096));
  EXPECT_EQ(engine.device().pull(10000), engine.supplier.heard(4099, 10000));
  EXPECT_EQ(engine.supplier.calls, (Calls{{3, 0, 4096},
                                          {4099, 1, 4096},
                                          {8195, 2, 4096},
                                          {12291, 3, 1808}}));
}

TEST(SupplierCall, NoFramesAreNoCall)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(0);
  EXPECT_TRUE(engine.supplier.calls.empty());
  engine.device().pull(5);
  EXPECT_EQ(engine.supplier.calls, (Calls{{0, 0, 5}}));
}

TEST(SupplierCall, AnySplitIsHeardAsTheWhole)
{
  std::mt19937 random(4711);
  for (const int channels : {1, 2, 3, 8}) {
    PlayingEngine engine(channels);
    engine.start(0);
    while (engine.device().framesWritten() < 50000)
      engine.device().pull(std::uniform_int_distribution<long>(1, 9000)(random));
    EXPECT_EQ(engine.device().written, engine.supplier.heard(0, engine.device().framesWritten()));
  }
}

TEST(SupplierCall, AFailureIsHeardAsSilenceAndGoesOn)
{
  PlayingEngine engine;
  engine.start(0);
  engine.device().pull(64);
  for (const int status : {1, -1, 5}) {
    engine.supplier.instead = [&](double, unsigned long frames, float** buffers, unsigned char*) {
      for (int channel = 0; channel < 2; ++channel)
        std::fill_n(buffers[channel], frames, 99.0f);
      return status;
    };
    EXPECT_EQ(engine.device().pull(64), std::vector<float>(128, 0.0f));
  }
  engine.supplier.instead = nullptr;
  EXPECT_EQ(engine.device().pull(64), engine.supplier.heard(256, 64));
  EXPECT_TRUE(engine.isPlaying());
}

TEST(SupplierCall, AFlaggedPieceIsHeardAsSilence)
{
  PlayingEngine engine;
  engine.start(0);
  for (const int raised : {1, 255}) {
    engine.supplier.instead = [&](double, unsigned long frames, float** buffers,
                                  unsigned char* flag) {
      EXPECT_EQ(*flag, 0); // whatever it was raised to before
      *flag = static_cast<unsigned char>(raised);
      for (int channel = 0; channel < 2; ++channel)
        std::fill_n(buffers[channel], frames, 99.0f);
      return 0;
    };
    EXPECT_EQ(engine.device().pull(64), std::vector<float>(128, 0.0f));
  }
}

TEST(SupplierCall, OnlyTheFailingPieceOfACallbackIsSilent)
{
  PlayingEngine engine(1);
  engine.start(0);
  engine.supplier.instead = [&](double time, unsigned long frames, float** buffers,
                                unsigned char*) {
    for (unsigned long frame = 0; frame < frames; ++frame)
      buffers[0][frame] = support::RecordingSupplier::sampleAt(time + double(frame), 0);
    return time == 4096.0 ? 1 : 0;
  };
  std::vector<float> expected = engine.supplier.heard(0, 3 * 4096);
  std::fill(expected.begin() + 4096, expected.begin() + 8192, 0.0f);
  EXPECT_EQ(engine.device().pull(3 * 4096), expected);
}

TEST(SupplierCall, MayMoveItsBufferPointers)
{
  PlayingEngine engine;
  engine.start(0);
  float* seen[2] = {};
  engine.supplier.instead = [&](double time, unsigned long frames, float** buffers,
                                unsigned char*) {
    if (seen[0]) {
      EXPECT_EQ(buffers[0], seen[0]);
      EXPECT_EQ(buffers[1], seen[1]);
    }
    seen[0] = buffers[0];
    seen[1] = buffers[1];
    for (int channel = 0; channel < 2; ++channel)
      for (unsigned long frame = 0; frame < frames; ++frame)
        *buffers[channel]++ = support::RecordingSupplier::sampleAt(time + double(frame), channel);
    return 0;
  };
  EXPECT_EQ(engine.device().pull(100), engine.supplier.heard(0, 100));
  EXPECT_EQ(engine.device().pull(100), engine.supplier.heard(100, 100));
}

TEST(SupplierCall, EveryBitIsHeard)
{
  PlayingEngine engine;
  ASSERT_EQ(PeModuleEnableMetering(engine.level), 0);
  std::mt19937 random(31);
  std::vector<std::uint32_t> bits{0x00000001, 0x807fffff, 0x80000000, 0x7f800000, 0xff800000,
                                  0x7fc12345, 0xffc54321, 0x7f800001, 0xffbfffff, 0x7f7fffff};
  while (bits.size() < 10000)
    bits.push_back(static_cast<std::uint32_t>(random()));
  std::size_t next = 0;
  engine.supplier.instead = [&](double, unsigned long frames, float** buffers, unsigned char*) {
    for (unsigned long frame = 0; frame < frames; ++frame)
      for (int channel = 0; channel < 2; ++channel)
        buffers[channel][frame] = std::bit_cast<float>(bits[next++]);
    return 0;
  };
  engine.start(0);
  engine.device().pullAll(5000, 509);
  ASSERT_EQ(engine.device().written.size(), bits.size());
  for (std::size_t i = 0; i < bits.size(); ++i)
    ASSERT_EQ(std::bit_cast<std::uint32_t>(engine.device().written[i]), bits[i]) << i;
}

TEST(SupplierCall, AllocatesNothing)
{
  PlayingEngine engine;
  ASSERT_EQ(PeModuleEnableMetering(engine.level), 0);
  engine.supplier.instead = [](double, unsigned long frames, float** buffers, unsigned char*) {
    std::fill_n(buffers[0], frames, 0.5f);
    std::fill_n(buffers[1], frames, 0.5f);
    return 0;
  };
  engine.supplier.calls.reserve(1000);
  std::vector<float> out(2 * 20000);
  PlayoutSource& source = *engine.device().source;
  engine.start(0);
  const auto rendersWithoutMemory = [&](long frames) {
    const AllocationCounter counter;
    const bool more = source.render(out.data(), frames);
    return more && counter.allocations() == 0 && counter.deallocations() == 0;
  };
  for (const long frames : {1L, 512L, 4096L, 20000L}) {
    EXPECT_TRUE(rendersWithoutMemory(frames));
    engine.setVolume(1.0f / static_cast<float>(frames + 1));
  }
  engine.stop();
  EXPECT_TRUE(rendersWithoutMemory(512));
  engine.start(0);
  EXPECT_TRUE(rendersWithoutMemory(20000));
}

} // namespace
