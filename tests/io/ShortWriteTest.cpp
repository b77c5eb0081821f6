#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/FileFormats.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

// A file that takes no more bytes, as on a full disk: the child processes here
// may not write files beyond a limit.

namespace {

using support::Bytes;
using support::pointers;
using support::request;
using support::Signal;

template <typename Format>
class ShortWrite : public testing::Test {
protected:
  support::TempFolder folder;
  const std::string path = folder.path("out");
};

using Formats = testing::Types<support::Wav, support::Aiff>;
TYPED_TEST_SUITE(ShortWrite, Formats);

TYPED_TEST(ShortWrite, OfAnyPartOfTheHeaderRefusesTheFile)
{
  for (std::size_t limit = 0; limit < TypeParam::kHeaderBytes; ++limit) {
    const std::vector<int> results = support::withFileSizeLimit(limit, [this] {
      typename TypeParam::Writer writer;
      return std::vector<int>{writer.initialize(this->path.c_str(), request(44100, 2, 2))};
    });
    EXPECT_EQ(results, std::vector<int>{1}) << limit;
    EXPECT_LE(this->folder.read("out").size(), limit);
  }
}

TYPED_TEST(ShortWrite, OfTheHeaderLeavesAWriterThatFailsOnFrames)
{
  for (const std::size_t limit : {std::size_t{0}, std::size_t{20}, TypeParam::kHeaderBytes - 1}) {
    const std::vector<int> results = support::withFileSizeLimit(limit, [this] {
      typename TypeParam::Writer writer;
      writer.initialize(this->path.c_str(), request(44100, 2, 2, 7));
      TovAudioIOFormat format = {9, 9, 9, 9, 9, 9, 9};
      std::vector<int> seen = {writer.getFileSpec(&format)};
      for (const std::int64_t field : support::fields(format))
        seen.push_back(static_cast<int>(field));
      Signal signal = support::noise(2, 4, 1);
      seen.push_back(writer.writeChannels(pointers(signal), 0, 4) != 0);
      seen.push_back(writer.writeChannels(TovNLPArray<float>(), 0, 4) != 0);
      writer.close();
      seen.push_back(writer.writeChannels(TovNLPArray<float>(), 0, 4) != 0);
      return seen;
    });
    EXPECT_EQ(results, (std::vector<int>{0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1})) << limit;
  }
}

TYPED_TEST(ShortWrite, OfTheHeaderForgetsTheFileBefore)
{
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->folder.path("before").c_str(), request(44100, 2, 2)), 0);
  const std::vector<int> results = support::withFileSizeLimit(20, [this, &writer] {
    std::vector<int> seen = {writer.initialize(this->path.c_str(), request(8000, 1, 1))};
    TovAudioIOFormat format = {9, 9, 9, 9, 9, 9, 9};
    seen.push_back(writer.getFileSpec(&format));
    for (const std::int64_t field : support::fields(format))
      seen.push_back(static_cast<int>(field));
    seen.push_back(writer.writeChannels(TovNLPArray<float>(), 0, 4) != 0);
    return seen;
  });
  EXPECT_EQ(results, (std::vector<int>{1, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
}

TYPED_TEST(ShortWrite, OfFramesIsReported)
{
  Signal signal = support::noise(1, 8, 1);
  for (const std::size_t room : {0u, 1u, 10u, 15u}) {
    const std::vector<int> results =
        support::withFileSizeLimit(TypeParam::kHeaderBytes + room, [this, &signal] {
          typename TypeParam::Writer writer;
          std::vector<int> seen = {writer.initialize(this->path.c_str(), request(44100, 2, 1))};
          seen.push_back(writer.writeChannels(pointers(signal), 0, 8));
          return seen;
        });
    EXPECT_EQ(results, (std::vector<int>{0, TypeParam::kShortWrite})) << room;
  }
}

TYPED_TEST(ShortWrite, AFileThatFillsItsRoomExactlyIsComplete)
{
  Signal signal = support::noise(1, 8, 1);
  const std::vector<int> results =
      support::withFileSizeLimit(TypeParam::kHeaderBytes + 16, [this, &signal] {
        typename TypeParam::Writer writer;
        std::vector<int> seen = {writer.initialize(this->path.c_str(), request(44100, 2, 1)),
                                 writer.writeChannels(pointers(signal), 0, 8)};
        writer.close();
        return seen;
      });
  EXPECT_EQ(results, (std::vector<int>{0, 0}));
  EXPECT_EQ(this->folder.read("out"),
            TypeParam::file(1, 8, 44100, 16, support::encoded<TypeParam>(signal, 2)).data());
}

TYPED_TEST(ShortWrite, OfFramesLeavesSizesOfWhatTheFileHolds)
{
  // 5 frames fit; of AIFF, none of the call that failed are counted.
  Signal signal = support::noise(1, 8, 1);
  support::withFileSizeLimit(TypeParam::kHeaderBytes + 10, [this, &signal] {
    typename TypeParam::Writer writer;
    writer.initialize(this->path.c_str(), request(44100, 2, 1));
    writer.writeChannels(pointers(signal), 0, 8);
    return std::vector<int>{};
  });
  Signal held = support::slice(signal, 0, 5);
  EXPECT_EQ(this->folder.read("out"),
            TypeParam::file(1, 0, 44100, 16, support::encoded<TypeParam>(held, 2)).data());
}

TYPED_TEST(ShortWrite, OfALaterPassCountsNoFramesOfItsCall)
{
  const int pass = static_cast<int>(support::framesPerPass(1, 2));
  Signal signal = support::noise(1, 2 * pass + 3, 2);
  const std::vector<int> results = support::withFileSizeLimit(
      TypeParam::kHeaderBytes + 2 * static_cast<std::size_t>(3 + pass + 5), [this, &signal, pass] {
        typename TypeParam::Writer writer;
        writer.initialize(this->path.c_str(), request(44100, 2, 1));
        return std::vector<int>{writer.writeChannels(pointers(signal), 0, 3),
                                writer.writeChannels(pointers(signal, 3), 0, 2 * pass)};
      });
  EXPECT_EQ(results, (std::vector<int>{0, TypeParam::kShortWrite}));
  Signal held = support::slice(signal, 0, 3 + pass + 5);
  EXPECT_EQ(this->folder.read("out"),
            TypeParam::file(1, 3, 44100, 16, support::encoded<TypeParam>(held, 2)).data());
}

} // namespace
