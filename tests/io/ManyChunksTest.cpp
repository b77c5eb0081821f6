#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "tests/support/FileFormats.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;

constexpr std::size_t kContainerBytes = 12;

template <typename Format>
class ManyChunks : public testing::Test {};
using Formats = testing::Types<support::Wav, support::Aiff>;
TYPED_TEST_SUITE(ManyChunks, Formats);

/** A file of one frame with empty chunks before its own two. */
template <typename Format>
Bytes fileBehind(std::size_t emptyChunks)
{
  const std::vector<std::uint8_t> whole =
      Format::file(1, 1, 44100, 16, Bytes().u16le(0)).data();
  const auto firstChunk = whole.begin() + kContainerBytes;
  Bytes file;
  file.append(std::vector<std::uint8_t>(whole.begin(), firstChunk));
  for (std::size_t i = 0; i < emptyChunks; ++i)
    file.text("junk").u32le(0);
  return file.append(std::vector<std::uint8_t>(firstChunk, whole.end()));
}

TYPED_TEST(ManyChunks, AFormatAndASampleChunkAreFoundAmongTheFirst65536)
{
  const support::TempFolder folder;
  const std::string path = folder.write("many", fileBehind<TypeParam>(65534));
  typename TypeParam::Reader reader;
  EXPECT_EQ(reader.initialize(path.c_str()), 0);
  float sample = 1.0f;
  TovAudioIOFormat format = {};
  EXPECT_EQ(reader.getFileSpec(&format), 0);
  EXPECT_EQ(reader.readChannel(&sample, 0, 0, 1), 0);
  EXPECT_EQ(sample, 0.0f);
}

TYPED_TEST(ManyChunks, AFileWithoutThemThereIsRejected)
{
  const support::TempFolder folder;
  const std::string path = folder.write("more", fileBehind<TypeParam>(65535));
  EXPECT_EQ(typename TypeParam::Reader().initialize(path.c_str()), 1);
}

TYPED_TEST(ManyChunks, AFileOfNothingButEmptyChunksIsRejectedBeforeItsEnd)
{
  const support::TempFolder folder;
  const std::string path = folder.write("empty", fileBehind<TypeParam>(0));
  std::filesystem::resize_file(path, kContainerBytes); // no chunk is left
  std::filesystem::resize_file(path, 1ull << 36);      // a hole of eight thousand million chunks
  EXPECT_EQ(typename TypeParam::Reader().initialize(path.c_str()), 1);
}

} // namespace
