#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/FileFormats.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

// The checks of a writer's initialize() in their order, each with its message.

namespace {

using support::request;
using support::Signal;
using Texts = std::vector<std::string>;

// The AIFF writer's messages name the WAV writer; the first is its own.
template <typename Format>
Texts rateRefusal();
template <>
Texts rateRefusal<support::Wav>()
{
  return {"E TovWavWriter: error, illegal sample rate specified\n"};
}
template <>
Texts rateRefusal<support::Aiff>()
{
  return {"E TovWavWriter: error, sample rate specficied as zero\n"};
}

const Texts kBytesRefusal = {"E TovWavWriter: error, unsupported number of bytes per sample\n"};
const Texts kChannelsRefusal = {"E TovWavWriter: error, no channels in output audio file\n"};

template <typename Format>
class WriterRefusal : public testing::Test {
protected:
  /** A fresh writer refuses, says why, and makes no file. */
  void expectRefused(const TovAudioIOFormat& format, const Texts& expected)
  {
    typename Format::Writer writer;
    EXPECT_EQ(writer.initialize(path.c_str(), format), 1);
    EXPECT_EQ(messages.take(), expected);
    EXPECT_FALSE(std::filesystem::exists(path));
    TovAudioIOFormat record = {};
    EXPECT_EQ(writer.getFileSpec(&record), 1);
    Signal signal = support::noise(1, 2, 1);
    EXPECT_EQ(writer.writeChannels(support::pointers(signal), 0, 2), 1);
  }

  support::TempFolder folder;
  support::Messages messages;
  const std::string path = folder.path("out");
};

using Formats = testing::Types<support::Wav, support::Aiff>;
TYPED_TEST_SUITE(WriterRefusal, Formats);

TYPED_TEST(WriterRefusal, ARateBelowOneIsRefused)
{
  for (const std::uint32_t rate : {0u, 0x80000000u, 0xac44ac44u, 0xffffffffu})
    this->expectRefused(request(rate, 2, 2), rateRefusal<TypeParam>());
}

TYPED_TEST(WriterRefusal, TheRateIsCheckedBeforeAllElse)
{
  this->expectRefused(request(0, 0, 0), rateRefusal<TypeParam>());
  this->expectRefused(request(0, 2, 3), rateRefusal<TypeParam>());
}

TYPED_TEST(WriterRefusal, BytesPerSampleOutside1To4AreRefused)
{
  for (const std::uint32_t bytes : {0u, 5u, 8u, 0x80000002u, 0xffffffffu})
    this->expectRefused(request(44100, bytes, 2), kBytesRefusal);
}

TYPED_TEST(WriterRefusal, MoreChannelsThanTheHeaderCanSayAreRefused)
{
  const Texts refusal = {"E TovWavWriter: error, too many channels in output audio file\n"};
  for (const std::uint32_t channels : {65536u, 0x80000000u, 0xffffffffu})
    this->expectRefused(request(44100, 2, channels), refusal);
}

TYPED_TEST(WriterRefusal, BytesPerSampleAreCheckedBeforeTheChannels)
{
  this->expectRefused(request(44100, 5, 0), kBytesRefusal);
  this->expectRefused(request(44100, 0, 3), kBytesRefusal);
}

TYPED_TEST(WriterRefusal, NoChannelsAreRefused)
{
  this->expectRefused(request(44100, 2, 0), kChannelsRefusal);
}

TYPED_TEST(WriterRefusal, TheSmallestAndLargestRatesAreAccepted)
{
  for (const std::uint32_t rate : {1u, 0x7fffffffu}) {
    typename TypeParam::Writer writer;
    EXPECT_EQ(writer.initialize(this->path.c_str(), request(rate, 1, 1)), 0);
    TovAudioIOFormat record = {};
    EXPECT_EQ(writer.getFileSpec(&record), 0);
    EXPECT_EQ(record.sampleRate, rate);
  }
  EXPECT_EQ(this->messages.take(), Texts());
}

TYPED_TEST(WriterRefusal, MoreThanTwoChannelsAreWrittenWithAWarning)
{
  for (const std::uint32_t channels : {1u, 2u, 3u, 8u}) {
    typename TypeParam::Writer writer;
    EXPECT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, channels)), 0);
    writer.close();
    EXPECT_EQ(this->messages.take(),
              channels > 2 ? Texts{TypeParam::kManyChannelsWarning} : Texts())
        << channels;
  }
}

TYPED_TEST(WriterRefusal, TheWarningComesBeforeTheFileIsOpened)
{
  typename TypeParam::Writer writer;
  EXPECT_EQ(writer.initialize(this->folder.path("nosuch/out").c_str(), request(44100, 2, 3)), 1);
  EXPECT_EQ(this->messages.take(), Texts{TypeParam::kManyChannelsWarning});
}

TYPED_TEST(WriterRefusal, WhatCannotBeOpenedIsRefusedInSilence)
{
  typename TypeParam::Writer writer;
  EXPECT_EQ(writer.initialize(this->folder.path("nosuch/out").c_str(), request(44100, 2, 2)), 1);
  EXPECT_EQ(writer.initialize(this->folder.folder().c_str(), request(44100, 2, 2)), 1);
  EXPECT_EQ(writer.initialize("", request(44100, 2, 2)), 1);
  EXPECT_EQ(this->messages.take(), Texts());
  TovAudioIOFormat record = {};
  EXPECT_EQ(writer.getFileSpec(&record), 1);
  Signal signal = support::noise(2, 2, 1);
  EXPECT_EQ(writer.writeChannels(support::pointers(signal), 0, 2), 1);
}

TYPED_TEST(WriterRefusal, ARefusedFormatLeavesTheFileBeingWrittenOpen)
{
  Signal signal = support::noise(2, 10, 1);
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, 2)), 0);
  ASSERT_EQ(writer.writeChannels(support::pointers(signal), 0, 4), 0);
  const std::string other = this->folder.path("other");
  EXPECT_EQ(writer.initialize(other.c_str(), request(0, 2, 2)), 1);
  EXPECT_EQ(writer.initialize(other.c_str(), request(8000, 7, 1)), 1);
  EXPECT_EQ(writer.initialize(other.c_str(), request(8000, 1, 0)), 1);
  EXPECT_FALSE(std::filesystem::exists(other));
  TovAudioIOFormat record = {};
  ASSERT_EQ(writer.getFileSpec(&record), 0);
  EXPECT_EQ(record.sampleRate, 44100u);
  ASSERT_EQ(writer.writeChannels(support::pointers(signal, 4), 0, 6), 0);
  writer.close();
  EXPECT_EQ(this->folder.read("out"),
            TypeParam::file(2, 10, 44100, 16, support::encoded<TypeParam>(signal, 2)).data());
}

TYPED_TEST(WriterRefusal, AFileThatCannotBeOpenedCompletesTheOneBefore)
{
  Signal signal = support::noise(2, 10, 1);
  typename TypeParam::Writer writer;
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(44100, 2, 2)), 0);
  ASSERT_EQ(writer.writeChannels(support::pointers(signal), 0, 10), 0);
  EXPECT_EQ(writer.initialize(this->folder.path("nosuch/out").c_str(), request(8000, 1, 2)), 1);
  const std::vector<std::uint8_t> expected =
      TypeParam::file(2, 10, 44100, 16, support::encoded<TypeParam>(signal, 2)).data();
  EXPECT_EQ(this->folder.read("out"), expected);
  EXPECT_NE(writer.writeChannels(support::pointers(signal), 0, 10), 0);
  writer.close();
  EXPECT_EQ(this->folder.read("out"), expected);
}

TYPED_TEST(WriterRefusal, AWriterThatRefusedMayWriteAfterwards)
{
  Signal signal = support::noise(1, 5, 1);
  typename TypeParam::Writer writer;
  EXPECT_EQ(writer.initialize(this->path.c_str(), request(0, 2, 1)), 1);
  EXPECT_EQ(writer.initialize(this->folder.path("nosuch/out").c_str(), request(8000, 2, 1)), 1);
  ASSERT_EQ(writer.initialize(this->path.c_str(), request(8000, 2, 1)), 0);
  ASSERT_EQ(writer.writeChannels(support::pointers(signal), 0, 5), 0);
  writer.close();
  EXPECT_EQ(this->folder.read("out"),
            TypeParam::file(1, 5, 8000, 16, support::encoded<TypeParam>(signal, 2)).data());
}

} // namespace
