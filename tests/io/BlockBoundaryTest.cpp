#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

// Transfers go through a buffer of 8208 bytes, some whole frames a pass; here
// are the frame counts at which one more pass begins.

namespace {

using support::Bytes;
using support::Signal;

TEST(FramesPerPass, FollowTheBuffer)
{
  EXPECT_EQ(support::framesPerPass(2, 2), 2052);
  EXPECT_EQ(support::framesPerPass(1, 1), 8208);
  EXPECT_EQ(support::framesPerPass(1, 3), 2736);
  EXPECT_EQ(support::framesPerPass(684, 4), 3);
  EXPECT_EQ(support::framesPerPass(685, 1), 12);
}

/** The numbers of frames that touch the boundaries of a pass. */
std::vector<long long> boundaryCounts(long long pass)
{
  return {1, pass - 1, pass, pass + 1, 2 * pass - 1, 2 * pass, 2 * pass + 1};
}

template <typename Format>
class BlockBoundary : public testing::Test {
protected:
  const std::vector<int> channelCounts = {1, 2, 3, 5, 7, 8, 57, 341, 342, 343, 683, 684, 685};
  support::TempFolder folder;
  support::Messages messages;
  const std::string path = folder.path("file");
};

using Formats = testing::Types<support::Wav, support::Aiff>;
TYPED_TEST_SUITE(BlockBoundary, Formats);

TYPED_TEST(BlockBoundary, ReadingCrossesItUnnoticed)
{
  for (const int channels : this->channelCounts)
    for (int bytes = 1; bytes <= 4; ++bytes) {
      SCOPED_TRACE(std::to_string(channels) + " channels of " + std::to_string(bytes) + " bytes");
      const long long pass = support::framesPerPass(channels, bytes);
      const long long frames = 2 * pass + 5;
      const Bytes samples = support::encoded<TypeParam>(
          support::noise(channels, frames, static_cast<unsigned int>(channels)), bytes);
      this->folder.write("file", TypeParam::file(static_cast<unsigned int>(channels),
                                                 static_cast<std::uint32_t>(frames), 8000,
                                                 8 * static_cast<unsigned int>(bytes), samples));
      const std::vector<int> map = {channels - 1, 0, channels / 2};
      const Signal whole = support::decoded<TypeParam>(samples, bytes, channels, map, frames);
      typename TypeParam::Reader reader;
      ASSERT_EQ(reader.initialize(this->path.c_str()), 0);
      for (const long long start : {0, 1, 3})
        for (const long long count : boundaryCounts(pass)) {
          support::Buffers buffers(3, count);
          ASSERT_EQ(reader.readChannels(buffers.pointers(), support::channelMap(map), start, count),
                    0);
          ASSERT_TRUE(buffers.guardsIntact()) << count;
          const Signal expected = support::slice(whole, start, count);
          for (int i = 0; i < 3; ++i)
            ASSERT_TRUE(support::bits(buffers.samples(i)) ==
                        support::bits(expected[static_cast<std::size_t>(i)]))
                << "from " << start << " count " << count << " output " << i;
        }
    }
}

TYPED_TEST(BlockBoundary, WritingCrossesItUnnoticed)
{
  for (const int channels : this->channelCounts)
    for (int bytes = 1; bytes <= 4; ++bytes) {
      SCOPED_TRACE(std::to_string(channels) + " channels of " + std::to_string(bytes) + " bytes");
      const long long pass = support::framesPerPass(channels, bytes);
      Signal signal = support::noise(channels, 2 * pass + 1, static_cast<unsigned int>(bytes));
      for (const long long count : boundaryCounts(pass)) {
        // Replacing a file makes some file systems wait for the disk.
        std::filesystem::remove(this->path);
        typename TypeParam::Writer writer;
        ASSERT_EQ(writer.initialize(this->path.c_str(),
                                    support::request(8000, static_cast<std::uint32_t>(bytes),
                                                     static_cast<std::uint32_t>(channels))), 0);
        ASSERT_EQ(writer.writeChannels(support::pointers(signal), 0, static_cast<int>(count)), 0);
        writer.close();
        const Bytes samples = support::encoded<TypeParam>(support::slice(signal, 0, count), bytes);
        ASSERT_TRUE(this->folder.read("file") ==
                    TypeParam::file(static_cast<unsigned int>(channels),
                                    static_cast<std::uint32_t>(count), 8000,
                                    8 * static_cast<unsigned int>(bytes), samples)
                        .data())
            << count;
      }
    }
}

TYPED_TEST(BlockBoundary, AFileThatEndsAtItIsReadToItsEndAndNoFurther)
{
  for (const int channels : {1, 2, 3})
    for (const long long extra : {-1, 0, 1}) {
      const long long pass = support::framesPerPass(channels, 2);
      const long long frames = pass + extra;
      const Bytes samples = support::encoded<TypeParam>(support::noise(channels, frames, 3), 2);
      this->folder.write("file",
                         TypeParam::file(static_cast<unsigned int>(channels),
                                         static_cast<std::uint32_t>(frames), 8000, 16, samples));
      typename TypeParam::Reader reader;
      ASSERT_EQ(reader.initialize(this->path.c_str()), 0);
      support::Buffers buffers(1, 2 * pass);
      EXPECT_EQ(reader.readChannels(buffers.pointers(), support::channelMap({0}), 0, 2 * pass),
                TypeParam::kShortRead);
      std::vector<float> expected =
          support::decoded<TypeParam>(samples, 2, channels, {0}, frames)[0];
      expected.resize(static_cast<std::size_t>(2 * pass), support::Buffers::kUntouched);
      EXPECT_TRUE(buffers.samples(0) == expected) << channels << " " << frames;
      EXPECT_TRUE(buffers.guardsIntact());
    }
}

} // namespace
