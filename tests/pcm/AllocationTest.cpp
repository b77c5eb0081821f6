#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

#include "tests/pcm/FormatRecord.h"
#include "tests/support/Buffers.h"

// The whole program's allocations come through here, the library's included.

namespace {

thread_local int allocations = 0;

void* allocate(std::size_t bytes)
{
  ++allocations;
  return std::malloc(bytes > 0 ? bytes : 1);
}

} // namespace

void* operator new(std::size_t bytes)
{
  if (void* const block = allocate(bytes))
    return block;
  throw std::bad_alloc();
}

void* operator new[](std::size_t bytes)
{
  return operator new(bytes);
}

void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept
{
  return allocate(bytes);
}

void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept
{
  return allocate(bytes);
}

void operator delete(void* block) noexcept
{
  std::free(block);
}

void operator delete[](void* block) noexcept
{
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
  std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
  std::free(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
  std::free(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept
{
  std::free(block);
}

namespace {

/** Allocations of this thread while @p work runs. */
template <typename Work>
int allocationsOf(Work work)
{
  const int before = allocations;
  work();
  return allocations - before;
}

} // namespace

TEST(AllocationTest, TheCounterSeesTheLibrary)
{
  EXPECT_GT(allocationsOf([] { TovPcm::createFilterTable(1); }), 0);
}

TEST(AllocationTest, ConversionAllocatesNothing)
{
  std::vector<std::uint8_t> block(4 * 8 * 64);
  for (const int channels : {1, 2, 8}) {
    support::Buffers buffers(channels, 64);
    const TovNLArray<int> map =
        support::channelMap(std::vector<int>(static_cast<std::size_t>(channels), 0));
    for (int encoding = 0; encoding < 10; ++encoding) {
      for (const bool bigEndian : {false, true}) {
        const TovAudioIOFormat format = formatRecord(encoding, channels, bigEndian);
        EXPECT_EQ(allocationsOf([&] {
                    TovPcm::toFloat(buffers.pointers(), map, block.data(), format, 64);
                    TovPcm::fromFloat(block.data(), map, buffers.pointers(), format, 64);
                    TovPcm::toFloat(buffers.channel(0), block.data(), format, 64);
                    TovPcm::fromFloat(block.data(), buffers.channel(0), format, 64);
                  }),
                  0)
            << "encoding " << encoding << ", " << channels << " channels";
      }
    }
  }
}

TEST(AllocationTest, ResamplingWithABuiltTableAllocatesNothing)
{
  const std::vector<float> in(400, 0.5f);
  std::vector<float> out(100);
  for (int quality = 0; quality <= 3; ++quality) {
    const auto convert = [&] {
      TovPcm::resample(quality, out.data(), in.data() + 100, 44100, 48000, 100, 400, 0.25f);
      TovPcm::resample(quality, out.data(), in.data() + 100, 48000, 44100, 100, 400, 0.25f);
    };
    convert();
    EXPECT_EQ(allocationsOf(convert), 0) << "quality " << quality;
  }
}

TEST(AllocationTest, LevelsAllocateNothing)
{
  std::vector<float> left(100, 0.5f);
  std::vector<float> right(100, 0.25f);
  float gains[4];
  EXPECT_EQ(allocationsOf([&] {
              TovPcm::amplifyDB(left.data(), left.data(), 100, 3.0f);
              TovPcm::removeCenterChannel(left.data(), right.data(), left.data(), right.data(),
                                          100);
              TovPcm::getContribution(&gains[0], &gains[1], &gains[2], &gains[3], 1.0f, 0.3f, 1.0f);
            }),
            0);
}
