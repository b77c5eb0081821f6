#include <climits>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"
#include "tests/support/Messages.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

// What holds for the writers of both formats: which bytes stand in the file
// when, and what a writer answers at each stage of its life.

namespace {

using support::Bytes;
using support::fields;
using support::pointers;
using support::request;
using support::Signal;
using Texts = std::vector<std::string>;

template <typename Format>
class WriterLife : public testing::Test {
protected:
  /** The whole file of a signal. */
  static std::vector<std::uint8_t> fileOf(const Signal& signal, int bytes,
                                          unsigned int rate = 44100)
  {
    return Format::file(static_cast<unsigned int>(signal.size()),
                        static_cast<std::uint32_t>(signal[0].size()), rate,
                        8 * static_cast<unsigned int>(bytes),
                        support::encoded<Format>(signal, bytes))
        .data();
  }

  /** The header before any size is known. */
  static std::vector<std::uint8_t> emptySizes(std::vector<std::uint8_t> header)
  {
    const std::vector<std::size_t> places =
        Format::kBigEndian ? std::vector<std::size_t>{4, 22, 42} : std::vector<std::size_t>{4, 40};
    for (const std::size_t place : places)
      std::fill_n(header.begin() + static_cast<std::ptrdiff_t>(place), 4, std::uint8_t{0});
    return header;
  }

  support::TempFolder folder;
  support::Messages messages;
  const std::string path = folder.path("out");
};

using Formats = testing::Types<support::Wav, support::Aiff>;
TYPED_TEST_SUITE(WriterLife, Formats);

TYPED_TEST(WriterLife, WritesExactlyTheBytesOfTheFormat)
{
  for (int bytes = 1; bytes <= 4; ++bytes)
    for (int channels = 1; channels <= 8; ++channels) {
      Signal signal =
          support::noise(channels, 11, static_cast<unsigned int>(10 * bytes + channels), 1.25f);
      typename TypeParam::Writer writer;
      ASSERT_EQ(writer.initialize(this->path.c_str(),
                                  request(48000, static_cast<std::uint32_t>(bytes),
                                          static_cast<std::uint32_t>(channels))), 0);
      ASSERT_EQ(writer.writeChannels(pointers(signal), 0, 11), 0);
      writer.close();
      EXPECT_EQ(this->folder.read("out"), this->fileOf(signal, bytes, 48000))
          << bytes << " " << channels;
      EXPECT_EQ(this->messages.take(),
                channels > 2 ? Texts{TypeParam::kManyChannelsWarning} : Texts());
    }
}

TYPED_TEST(WriterLife, TheHeaderIsThereAtOnceWithEmptySizes)
{
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, 2, 1000)), 0);
  const std::vector<std::uint8_t> header = TypeParam::file(2, 0, 44100, 16, Bytes()).data();
  ASSERT_EQ(header.size(), TypeParam::kHeaderBytes);
  EXPECT_EQ(this->folder.read("out"), this->emptySizes(header));
  writer.close();
  EXPECT_EQ(this->folder.read("out"), header);
}

TYPED_TEST(WriterLife, SizesStayEmptyUntilItIsClosed)
{
  Signal signal = support::noise(2, 30, 5);
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 3, 2)), 0);
  ASSERT_EQ(writer.writeChannels(pointers(signal), 0, 30), 0);
  EXPECT_EQ(this->folder.read("out"), this->emptySizes(this->fileOf(signal, 3)));
  writer.close();
  EXPECT_EQ(this->folder.read("out"), this->fileOf(signal, 3));
}

TYPED_TEST(WriterLife, ASecondCloseChangesNothing)
{
  Signal signal = support::noise(1, 7, 6);
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 1, 1)), 0);
  ASSERT_EQ(writer.writeChannels(pointers(signal), 0, 7), 0);
  writer.close();
  writer.close();
  EXPECT_EQ(this->folder.read("out"), this->fileOf(signal, 1));
  // Not even another program's file of the same name.
  this->folder.write("out", Bytes().text("something else"));
  writer.close();
  EXPECT_EQ(this->folder.read("out"), Bytes().text("something else").data());
}

TYPED_TEST(WriterLife, DestructionCompletesTheFile)
{
  const int before = support::openDescriptors();
  Signal signal = support::noise(2, 9, 7);
  {
    typename TypeParam::Writer writer;
    ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, 2)), 0);
    ASSERT_EQ(writer.writeChannels(pointers(signal), 0, 9), 0);
    EXPECT_EQ(support::openDescriptors(), before + 1);
  }
  EXPECT_EQ(support::openDescriptors(), before);
  EXPECT_EQ(this->folder.read("out"), this->fileOf(signal, 2));
}

TYPED_TEST(WriterLife, DestructionThroughTheBaseCompletesTheFile)
{
  Signal signal = support::noise(2, 9, 8);
  std::unique_ptr<TovAudioWriter> writer = std::make_unique<typename TypeParam::Writer>();
  ASSERT_EQ(writer->initialize(this->path.c_str(), request(44100, 2, 2)), 0);
  ASSERT_EQ(writer->writeChannels(pointers(signal), 0, 9), 0);
  writer.reset();
  EXPECT_EQ(this->folder.read("out"), this->fileOf(signal, 2));
}

TYPED_TEST(WriterLife, AFreshWriterHasNoFile)
{
  typename TypeParam::Writer writer;
  TovAudioIOFormat format = {9, 11, 12, 13, 14, 15, 16};
  EXPECT_EQ(writer.getFileSpec(&format), 1);
  EXPECT_EQ(fields(format), (std::vector<std::int64_t>{9, 11, 12, 13, 14, 15, 16}));
  EXPECT_EQ(writer.getFileSpec(nullptr), 1);
  Signal signal = support::noise(2, 4, 1);
  EXPECT_EQ(writer.writeChannels(pointers(signal), 0, 4), 1);
  EXPECT_EQ(writer.writeChannels(TovNLPArray<float>(), 0, 4), 1);
  EXPECT_EQ(writer.getBufferSize(), 0);
  writer.close();
  EXPECT_EQ(writer.getFileSpec(&format), 1);
}

TYPED_TEST(WriterLife, DescribesTheFileBeingWritten)
{
  for (int bytes = 1; bytes <= 4; ++bytes) {
    typename TypeParam::Writer writer;
    ASSERT_EQ(writer.initialize(this->path.c_str(),
                                request(22050, static_cast<std::uint32_t>(bytes), 2, 123456789012)),
              0);
    TovAudioIOFormat format = {9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(writer.getFileSpec(&format), 0);
    EXPECT_EQ(fields(format),
              (std::vector<std::int64_t>{FormatValid, TypeParam::encoding(bytes), bytes,
                                         TypeParam::kBigEndian, 22050, 123456789012, 2}));
    EXPECT_EQ(writer.getFileSpec(nullptr), 1);
  }
}

TYPED_TEST(WriterLife, TheFrameCountStaysAsGivenAndTheRecordIsKeptWhenClosed)
{
  Signal signal = support::noise(1, 40, 2);
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(8000, 2, 1, -5)), 0);
  ASSERT_EQ(writer.writeChannels(pointers(signal), 0, 40), 0);
  const std::vector<std::int64_t> expected = {FormatValid, EncS16, 2, TypeParam::kBigEndian,
                                              8000,        -5,     1};
  TovAudioIOFormat format = {};
  EXPECT_EQ(writer.getFileSpec(&format), 0);
  EXPECT_EQ(fields(format), expected);
  writer.close();
  format = {};
  EXPECT_EQ(writer.getFileSpec(&format), 0);
  EXPECT_EQ(fields(format), expected);
  writer.close();
  EXPECT_EQ(writer.getFileSpec(&format), 0);
  EXPECT_EQ(writer.getFileSpec(nullptr), 1);
}

TYPED_TEST(WriterLife, WritingAfterCloseIsAShortWrite)
{
  Signal signal = support::noise(2, 10, 3);
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, 2)), 0);
  ASSERT_EQ(writer.writeChannels(pointers(signal), 0, 10), 0);
  writer.close();
  EXPECT_EQ(writer.writeChannels(pointers(signal), 0, 10), TypeParam::kShortWrite);
  writer.close();
  EXPECT_EQ(this->folder.read("out"), this->fileOf(signal, 2));
}

TYPED_TEST(WriterLife, InputsMustBeAsManyAsTheChannels)
{
  Signal one = support::noise(1, 4, 1), two = support::noise(2, 4, 1),
         three = support::noise(3, 4, 1);
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, 2)), 0);
  EXPECT_EQ(writer.writeChannels(TovNLPArray<float>(), 0, 4), 2);
  EXPECT_EQ(writer.writeChannels(pointers(one), 0, 4), 2);
  EXPECT_EQ(writer.writeChannels(pointers(three), 0, 4), 2);
  EXPECT_EQ(writer.writeChannels(pointers(three), 0, 0), 2);
  EXPECT_EQ(writer.writeChannels(pointers(two), 0, 4), 0);
  writer.close();
  EXPECT_EQ(this->folder.read("out"), this->fileOf(two, 2));
}

TYPED_TEST(WriterLife, NoFramesAddNothing)
{
  Signal signal = support::noise(2, 4, 1);
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, 2)), 0);
  EXPECT_EQ(writer.writeChannels(pointers(signal), 0, 0), 0);
  EXPECT_EQ(writer.writeChannels(pointers(signal), 5, 0), 0);
  EXPECT_EQ(writer.writeChannels(pointers(signal), INT_MIN, 0), 0);
  ASSERT_EQ(writer.writeChannels(pointers(signal), 0, 4), 0);
  EXPECT_EQ(writer.writeChannels(pointers(signal), INT_MAX, 0), 0);
  writer.close();
  EXPECT_EQ(this->folder.read("out"), this->fileOf(signal, 2));
}

TYPED_TEST(WriterLife, NegativeFrameCountsAddNoSamples)
{
  Signal signal = support::noise(2, 4, 1);
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, 2)), 0);
  for (const int frames : {-1, -4, INT_MIN})
    for (const int start : {0, 4, INT_MIN, INT_MAX})
      EXPECT_EQ(writer.writeChannels(pointers(signal), start, frames), 0) << start << " " << frames;
  EXPECT_EQ(this->folder.read("out").size(), TypeParam::kHeaderBytes);
}

TYPED_TEST(WriterLife, TheStartFrameChangesNothing)
{
  Signal signal = support::noise(2, 3000, 9);
  const std::vector<std::uint8_t> expected = this->fileOf(signal, 2);
  for (const int start : {0, 1, -1, 2999, -3000, 100000, INT_MAX - 2999, INT_MAX, INT_MIN}) {
    typename TypeParam::Writer writer;
    ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, 2)), 0);
    EXPECT_EQ(writer.writeChannels(pointers(signal), start, 3000), 0) << start;
    writer.close();
    EXPECT_TRUE(this->folder.read("out") == expected) << start;
  }
}

TYPED_TEST(WriterLife, FramesAreAppended)
{
  Signal signal = support::noise(2, 30, 10);
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 3, 2)), 0);
  ASSERT_EQ(writer.writeChannels(pointers(signal), 0, 7), 0);
  ASSERT_EQ(writer.writeChannels(pointers(signal, 7), 0, 1), 0);
  ASSERT_EQ(writer.writeChannels(pointers(signal, 8), 8, 22), 0);
  writer.close();
  EXPECT_EQ(this->folder.read("out"), this->fileOf(signal, 3));
}

TYPED_TEST(WriterLife, OneBufferMayFeedSeveralChannels)
{
  Signal signal = support::noise(1, 12, 11);
  TovNLPArray<float> inputs;
  for (int i = 0; i < 3; ++i)
    inputs.append(signal[0].data());
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, 3)), 0);
  ASSERT_EQ(writer.writeChannels(inputs, 0, 12), 0);
  writer.close();
  EXPECT_EQ(this->folder.read("out"), this->fileOf({signal[0], signal[0], signal[0]}, 2));
}

TYPED_TEST(WriterLife, InputsAreOnlyRead)
{
  Signal signal = support::noise(2, 2500, 12);
  const Signal before = signal;
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, 2)), 0);
  ASSERT_EQ(writer.writeChannels(pointers(signal), 0, 2500), 0);
  EXPECT_EQ(signal, before);
}

TYPED_TEST(WriterLife, TransfersGoThroughOneBufferThatIsKept)
{
  Signal signal = support::noise(2, 5000, 13);
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, 2)), 0);
  ASSERT_EQ(writer.writeChannels(pointers(signal), 0, 5000), 0);
  EXPECT_EQ(writer.getBufferSize(), 8208);
}

TYPED_TEST(WriterLife, AnExistingFileIsReplacedWhole)
{
  this->folder.write("out", Bytes().zeros(5000));
  Signal signal = support::noise(1, 3, 14);
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 1, 1)), 0);
  ASSERT_EQ(writer.writeChannels(pointers(signal), 0, 3), 0);
  writer.close();
  EXPECT_EQ(this->folder.read("out"), this->fileOf(signal, 1));
}

TYPED_TEST(WriterLife, OneWriterWritesSeveralFilesInTurn)
{
  typename TypeParam::Writer writer;
  std::vector<std::vector<std::uint8_t>> expected;
  for (int i = 0; i < 6; ++i) {
    const int bytes = 1 + (i * 3) % 4, channels = 1 + i % 3;
    Signal signal = support::noise(channels, 20 + i, static_cast<unsigned int>(i));
    // Starting the next file completes the one before; so does closing.
    ASSERT_EQ(writer.initialize(this->folder.path("out" + std::to_string(i)).c_str(),
                                request(8000, static_cast<std::uint32_t>(bytes),
                                        static_cast<std::uint32_t>(channels))), 0);
    ASSERT_EQ(writer.writeChannels(pointers(signal), 0, 20 + i), 0);
    if (i % 2)
      writer.close();
    expected.push_back(this->fileOf(signal, bytes, 8000));
    TovAudioIOFormat format = {};
    EXPECT_EQ(writer.getFileSpec(&format), 0);
    EXPECT_EQ(format.channels, static_cast<std::uint32_t>(channels));
  }
  writer.close();
  for (std::size_t i = 0; i < expected.size(); ++i)
    EXPECT_EQ(this->folder.read("out" + std::to_string(i)), expected[i]) << i;
}

} // namespace
