#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"
#include "tests/support/Messages.h"
#include "tests/support/Process.h"
#include "tests/support/TempFolder.h"

// What holds for the readers of both formats but the samples themselves: life
// cycle, argument checks and what a derived reader may replace.

namespace {

using support::Bytes;
using support::channelMap;
using support::fields;

template <typename Format>
class ReaderLife : public testing::Test {
protected:
  using Reader = typename Format::Reader;

  /** A stereo file of 16 bits: 10 frames, left counts 1, 2, ..., right -1, -2, ... */
  std::string stereo(const std::string& name = "stereo", unsigned int rate = 44100)
  {
    return folder.write(name,
                        Format::file(2, 10, rate, 16, support::encoded<Format>(counting(), 2)));
  }

  static support::Signal counting()
  {
    support::Signal signal(2);
    for (int i = 1; i <= 10; ++i) {
      signal[0].push_back(static_cast<float>(i) / 32768.0f);
      signal[1].push_back(static_cast<float>(-i) / 32768.0f);
    }
    return signal;
  }

  support::TempFolder folder;
  support::Messages messages;
};

using Formats = testing::Types<support::Wav, support::Aiff>;
TYPED_TEST_SUITE(ReaderLife, Formats);

TYPED_TEST(ReaderLife, AFreshReaderHasNoFile)
{
  typename TypeParam::Reader reader;
  TovAudioIOFormat format = {9, 11, 12, 13, 14, 15, 16};
  EXPECT_EQ(reader.getFileSpec(&format), 1);
  EXPECT_EQ(fields(format), (std::vector<std::int64_t>{FormatNone, 11, 12, 13, 14, 0, 0}));
  support::Buffers buffers(2, 4);
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0, 1}), 0, 4), 1);
  EXPECT_EQ(reader.readChannel(buffers.channel(0), 0, 0, 4), 1);
  EXPECT_TRUE(buffers.untouched());
  EXPECT_EQ(reader.getBufferSize(), 0);
}

TYPED_TEST(ReaderLife, ClosingWithoutAFileIsHarmless)
{
  typename TypeParam::Reader reader;
  reader.close();
  reader.close();
  EXPECT_EQ(reader.initialize(this->stereo().c_str()), 0);
}

TYPED_TEST(ReaderLife, WhatCannotBeOpenedIsRefusedInSilence)
{
  typename TypeParam::Reader reader;
  EXPECT_EQ(reader.initialize(this->folder.path("nosuch").c_str()), 1);
  EXPECT_EQ(reader.initialize(this->folder.folder().c_str()), 1);
  EXPECT_EQ(reader.initialize(""), 1);
  TovAudioIOFormat format = {};
  EXPECT_EQ(reader.getFileSpec(&format), 1);
  EXPECT_EQ(format.state, FormatNone);
  EXPECT_EQ(this->messages.take(), std::vector<std::string>());
}

TYPED_TEST(ReaderLife, AClosedReaderHasNoFile)
{
  typename TypeParam::Reader reader;
  ASSERT_EQ(reader.initialize(this->stereo().c_str()), 0);
  reader.close();
  TovAudioIOFormat format = {9, 11, 12, 13, 14, 15, 16};
  EXPECT_EQ(reader.getFileSpec(&format), 1);
  EXPECT_EQ(fields(format), (std::vector<std::int64_t>{FormatNone, 11, 12, 13, 14, 0, 0}));
  support::Buffers buffers(1, 4);
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0}), 0, 4), 1);
  EXPECT_EQ(reader.readChannel(buffers.channel(0), 0, 0, 4), 1);
  EXPECT_TRUE(buffers.untouched());
  reader.close();
  EXPECT_EQ(reader.getFileSpec(&format), 1);
}

TYPED_TEST(ReaderLife, ARefusedFileClosesTheOneBefore)
{
  typename TypeParam::Reader reader;
  ASSERT_EQ(reader.initialize(this->stereo().c_str()), 0);
  EXPECT_EQ(reader.initialize(this->folder.path("nosuch").c_str()), 1);
  TovAudioIOFormat format = {};
  EXPECT_EQ(reader.getFileSpec(&format), 1);
  EXPECT_EQ(format.state, FormatNone);

  ASSERT_EQ(reader.initialize(this->stereo().c_str()), 0);
  EXPECT_EQ(reader.initialize(this->folder.write("noise", Bytes().text("noise")).c_str()), 1);
  EXPECT_EQ(reader.getFileSpec(&format), 1);
  support::Buffers buffers(1, 4);
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0}), 0, 4), 1);
}

TYPED_TEST(ReaderLife, OneReaderReadsSeveralFilesInTurn)
{
  typename TypeParam::Reader reader;
  for (const int bytes : {1, 4, 2, 3, 2})
    for (const int channels : {1, 3, 2}) {
      const support::Signal signal = support::noise(channels, 50, static_cast<unsigned int>(bytes));
      const Bytes samples = support::encoded<TypeParam>(signal, bytes);
      const unsigned int rate = 8000 + static_cast<unsigned int>(channels);
      const std::string path = this->folder.write(
          "file", TypeParam::file(static_cast<unsigned int>(channels), 50, rate,
                                  8 * static_cast<unsigned int>(bytes), samples));
      ASSERT_EQ(reader.initialize(path.c_str()), 0);
      TovAudioIOFormat format = {};
      ASSERT_EQ(reader.getFileSpec(&format), 0);
      EXPECT_EQ(fields(format),
                (std::vector<std::int64_t>{FormatValid, TypeParam::encoding(bytes), bytes,
                                           TypeParam::kBigEndian, rate, 50, channels}));
      support::Buffers buffers(1, 50);
      ASSERT_EQ(reader.readChannels(buffers.pointers(), channelMap({channels - 1}), 0, 50), 0);
      EXPECT_EQ(support::bits(buffers.samples(0)),
                support::bits(
                    support::decoded<TypeParam>(samples, bytes, channels, {channels - 1}, 50)[0]));
    }
}

TYPED_TEST(ReaderLife, ClosesItsFileAtTheEnd)
{
  const int before = support::openDescriptors();
  const std::string good = this->stereo();
  const std::string bad = this->folder.write("noise", Bytes().text("noise"));
  {
    typename TypeParam::Reader reader;
    ASSERT_EQ(reader.initialize(good.c_str()), 0);
    EXPECT_EQ(support::openDescriptors(), before + 1);
    reader.close();
    EXPECT_EQ(support::openDescriptors(), before);
    ASSERT_EQ(reader.initialize(good.c_str()), 0);
    ASSERT_EQ(reader.initialize(good.c_str()), 0);
    EXPECT_EQ(support::openDescriptors(), before + 1);
  }
  EXPECT_EQ(support::openDescriptors(), before);
  {
    typename TypeParam::Reader reader;
    ASSERT_EQ(reader.initialize(bad.c_str()), 1);
    ASSERT_EQ(reader.initialize(bad.c_str()), 1);
  }
  EXPECT_EQ(support::openDescriptors(), before);
}

TYPED_TEST(ReaderLife, OutputsMustBeThereAndMatchTheMap)
{
  typename TypeParam::Reader reader;
  ASSERT_EQ(reader.initialize(this->stereo().c_str()), 0);
  support::Buffers none(0, 4), one(1, 4), two(2, 4), three(3, 4);
  EXPECT_EQ(reader.readChannels(none.pointers(), channelMap({}), 0, 4), 2);
  EXPECT_EQ(reader.readChannels(none.pointers(), channelMap({0}), 0, 4), 2);
  EXPECT_EQ(reader.readChannels(one.pointers(), channelMap({}), 0, 4), 2);
  EXPECT_EQ(reader.readChannels(one.pointers(), channelMap({0, 1}), 0, 4), 2);
  EXPECT_EQ(reader.readChannels(two.pointers(), channelMap({0}), 0, 4), 2);
  EXPECT_EQ(reader.readChannels(three.pointers(), channelMap({0, 1}), 0, 4), 2);
  // Checked before the span is looked at.
  EXPECT_EQ(reader.readChannels(two.pointers(), channelMap({0}), 0, 0), 2);
  EXPECT_TRUE(one.untouched() && two.untouched() && three.untouched());
  EXPECT_EQ(reader.readChannels(three.pointers(), channelMap({0, 1, 0}), 0, 4), 0);
}

TYPED_TEST(ReaderLife, AClosedReaderSaysSoBeforeAnythingElse)
{
  typename TypeParam::Reader reader;
  support::Buffers none(0, 4);
  EXPECT_EQ(reader.readChannels(none.pointers(), channelMap({}), 0, 4), 1);
}

TYPED_TEST(ReaderLife, TransfersGoThroughOneBufferThatIsKept)
{
  typename TypeParam::Reader reader;
  ASSERT_EQ(reader.initialize(this->stereo().c_str()), 0);
  EXPECT_EQ(reader.getBufferSize(), 0);
  support::Buffers buffers(2, 10);
  ASSERT_EQ(reader.readChannels(buffers.pointers(), channelMap({0, 1}), 0, 10), 0);
  EXPECT_EQ(reader.getBufferSize(), 8208);
  reader.close();
  ASSERT_EQ(reader.initialize(this->stereo().c_str()), 0);
  ASSERT_EQ(reader.readChannels(buffers.pointers(), channelMap({0, 1}), 3, 5), 0);
  EXPECT_EQ(reader.getBufferSize(), 8208);
}

TYPED_TEST(ReaderLife, OneChannelIsAlwaysChannelZero)
{
  typename TypeParam::Reader reader;
  ASSERT_EQ(reader.initialize(this->stereo().c_str()), 0);
  for (const int channel : {0, 1, 2, -1, 99}) {
    support::Buffers buffers(1, 8);
    EXPECT_EQ(reader.readChannel(buffers.channel(0), channel, 2, 8), 0) << channel;
    EXPECT_EQ(buffers.samples(0), support::slice(this->counting(), 2, 8)[0]) << channel;
    EXPECT_TRUE(buffers.guardsIntact());
  }
}

TYPED_TEST(ReaderLife, OneChannelIsReadByTheReadersOwnReadChannels)
{
  struct Spy : TypeParam::Reader {
    int readChannels(const TovNLPArray<float>& outputs, const TovNLArray<int>& channels,
                     long long start, long long count) override
    {
      seen = {outputs.getCount(), channels.getCount(), channels[0], start, count};
      output = outputs[0];
      return 42;
    }
    std::vector<long long> seen;
    float* output = nullptr;
  };
  Spy spy;
  float sample = 0.0f;
  EXPECT_EQ(spy.readChannel(&sample, 5, -17, 1LL << 40), 42);
  EXPECT_EQ(spy.seen, (std::vector<long long>{1, 1, 0, -17, 1LL << 40}));
  EXPECT_EQ(spy.output, &sample);
}

/** A reader that describes its file in its own way. */
template <typename Format>
struct Describing : Format::Reader {
  int getFileSpec(TovAudioIOFormat* format) override
  {
    ++calls;
    *format = description;
    return status;
  }
  TovAudioIOFormat description = {};
  int status = 0;
  int calls = 0;
};

TYPED_TEST(ReaderLife, SamplesAreReadAsTheReadersOwnRecordSays)
{
  // 16-bit stereo taken for 8-bit signed mono.
  Describing<TypeParam> reader;
  reader.description = {FormatValid, EncS8, 1, 0, 1, 40, 1};
  ASSERT_EQ(reader.initialize(this->folder.write("a", TypeParam::file(2, 2, 8000, 16,
      Bytes().u8(1).u8(2).u8(3).u8(4).u8(5).u8(6).u8(7).u8(0x80))).c_str()), 0);
  support::Buffers buffers(1, 6);
  ASSERT_EQ(reader.readChannels(buffers.pointers(), channelMap({0}), 2, 6), 0);
  EXPECT_EQ(buffers.samples(0), (std::vector<float>{3 / 128.0f, 4 / 128.0f, 5 / 128.0f, 6 / 128.0f,
                                                    7 / 128.0f, -1.0f}));
  EXPECT_EQ(reader.calls, 1);
}

TYPED_TEST(ReaderLife, ARecordThatIsNotValidIsRefused)
{
  Describing<TypeParam> reader;
  ASSERT_EQ(reader.initialize(this->stereo().c_str()), 0);
  // The record decides, also where the call that filled it returned 0.
  for (const std::uint32_t state : {0u, 1u, 3u})
    for (const int status : {1, 0}) {
      reader.description = {state, EncS8, 1, 0, 1, 40, 1};
      reader.status = status;
      support::Buffers buffers(1, 4);
      EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0}), 0, 4), 3)
          << state << " " << status;
      EXPECT_TRUE(buffers.untouched());
    }
  EXPECT_EQ(reader.calls, 6);
  // The buffer is made before the record is asked for.
  EXPECT_EQ(reader.getBufferSize(), 8208);
}

TYPED_TEST(ReaderLife, AFileNameMayBeSetWhileAFileIsOpen)
{
  typename TypeParam::Reader reader;
  const std::string path = this->stereo();
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  reader.setFileName(path.c_str());
  support::Buffers buffers(1, 10);
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0}), 0, 10), 0);
  reader.close();
  reader.setFileName("another");
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({1}), 0, 10), 0);
  EXPECT_EQ(buffers.samples(0), this->counting()[1]);
}

} // namespace
