#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "tests/pcm/FormatRecord.h"
#include "tests/pcm/Noise.h"
#include "tests/reference/Conversion.h"
#include "tests/support/Buffers.h"
#include "tests/support/GuardedBlock.h"

// An access outside a block ends the process, so each test runs in a child.

namespace {

using support::GuardedBlock;

const std::vector<long long> kBlockLengths = {1, 2, 3, 7, 8, 9, 16, 17, 509};

/** Reads blocks that lie exactly between forbidden pages. */
void readEveryBlockExactly(const std::vector<int>& extraEntries)
{
  Noise noise(20);
  for (const GuardedBlock::Tight tight :
       {GuardedBlock::Tight::AtStart, GuardedBlock::Tight::AtEnd}) {
    for (int encoding = 0; encoding < 10; ++encoding) {
      for (const int channels : {1, 2, 3, 8}) {
        for (const long long frames : kBlockLengths) {
          const auto bytes =
              noise.bytes(static_cast<std::size_t>(frames * channels) *
                          static_cast<std::size_t>(reference::bytesPerSample(encoding)));
          GuardedBlock block(bytes.size(), tight);
          std::memcpy(block.data(), bytes.data(), bytes.size());
          block.forbidWriting();
          std::vector<std::vector<int>> maps = {{0}, {channels - 1}, {0, channels - 1}};
          if (!extraEntries.empty())
            maps = {
                extraEntries, {extraEntries.front()}, {extraEntries.back(), extraEntries.front()}};
          for (const std::vector<int>& map : maps) {
            for (const bool bigEndian : {false, true}) {
              support::Buffers out(static_cast<int>(map.size()), frames);
              TovPcm::toFloat(out.pointers(), support::channelMap(map), block.data(),
                              formatRecord(encoding, channels, bigEndian), frames);
            }
          }
        }
      }
    }
  }
}

void writeEveryBlockExactly()
{
  for (const GuardedBlock::Tight tight :
       {GuardedBlock::Tight::AtStart, GuardedBlock::Tight::AtEnd}) {
    for (int encoding = 0; encoding < 10; ++encoding) {
      for (const int channels : {1, 2, 3, 8}) {
        for (const long long frames : kBlockLengths) {
          GuardedBlock block(static_cast<std::size_t>(frames * channels) *
                                 static_cast<std::size_t>(reference::bytesPerSample(encoding)),
                             tight);
          const support::Buffers in(channels, frames);
          const std::vector<int> map(static_cast<std::size_t>(channels), 0);
          for (const bool bigEndian : {false, true})
            TovPcm::fromFloat(block.data(), support::channelMap(map), in.pointers(),
                              formatRecord(encoding, channels, bigEndian), frames);
        }
      }
    }
  }
}

} // namespace

TEST(ConversionReachDeathTest, ReadingStaysInsideTheBlock)
{
  EXPECT_EXIT(
      {
        readEveryBlockExactly({});
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(ConversionReachDeathTest, ChannelsTheFileLacksDoNotReadOutsideTheBlock)
{
  EXPECT_EXIT(
      {
        readEveryBlockExactly({-1, -1000000, 1000000, std::numeric_limits<int>::min(),
                               std::numeric_limits<int>::max()});
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(ConversionReachDeathTest, WritingStaysInsideTheBlock)
{
  EXPECT_EXIT(
      {
        writeEveryBlockExactly();
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(ConversionReachDeathTest, ABlockWithoutChannelsIsNotRead)
{
  EXPECT_EXIT(
      {
        const GuardedBlock empty(0, GuardedBlock::Tight::AtEnd);
        int result = 0;
        for (int encoding = 0; encoding < 10; ++encoding) {
          for (const bool bigEndian : {false, true}) {
            support::Buffers out(2, 9);
            const TovAudioIOFormat format = formatRecord(encoding, 0, bigEndian);
            result |= TovPcm::toFloat(out.pointers(), support::channelMap({0, 1}), empty.data(),
                                      format, 9);
            result |= TovPcm::toFloat(out.channel(0), empty.data(), format, 9);
          }
        }
        std::_Exit(result);
      },
      testing::ExitedWithCode(0), "");
}
