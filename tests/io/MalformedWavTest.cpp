#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "io/TovWavReader.h"
#include "io/TovWavTranslator.h"
#include "tests/io/OwnRegistry.h"
#include "tests/support/Buffers.h"
#include "tests/support/Bytes.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;
using Texts = std::vector<std::string>;

const char* const kDuplicateFmt = "E TovWav: duplicate \"fmt \" chunk found\n";
const char* const kDuplicateData = "E TovWav: duplicate \"data\" chunk found\n";
const char* const kShortFmt = "E TovWav: Unrecognized \"fmt \" chunk found...\n";

Bytes riff() { return Bytes().text("RIFF").u32le(36).text("WAVE"); }

Bytes fmtBody(unsigned int tag = 1, unsigned int channels = 2, unsigned int bits = 16)
{
  return Bytes().u16le(tag).u16le(channels).u32le(44100).u32le(176400).u16le(4).u16le(bits);
}

Bytes fmt() { return Bytes().text("fmt ").u32le(16).append(fmtBody()); }

Bytes data(std::uint32_t size) { return Bytes().text("data").u32le(size); }

/** All users of the chunk walk refuse the file, each with these messages. */
void expectRejected(const Bytes& content, const Texts& expected)
{
  const OwnRegistry registry;
  const support::TempFolder folder;
  const std::string path = folder.write("a.wav", content);
  support::Messages messages;

  TovWavReader reader;
  EXPECT_EQ(reader.initialize(path.c_str()), 1);
  EXPECT_EQ(messages.take(), expected);
  TovAudioIOFormat format = {9, 9, 9, 9, 9, 9, 9};
  EXPECT_EQ(reader.getFileSpec(&format), 1);
  EXPECT_EQ(format.state, FormatNone);

  TovFile file;
  ASSERT_EQ(file.open(path.c_str(), "r"), 0);
  EXPECT_EQ(TovWavTranslator().checkHeader(file), 1);
  EXPECT_EQ(messages.take(), expected);

  TovWavFmtChunk chunk = {};
  long long dataOffset = 0;
  long long dataSize = 0;
  file.seek(0, 0);
  EXPECT_EQ(TovWavReader::getWavDetails(file, &chunk, &dataOffset, &dataSize), 1);
  EXPECT_EQ(messages.take(), expected);
}

TEST(MalformedWav, AnEmptyFileIsRejected) { expectRejected(Bytes(), {}); }

TEST(MalformedWav, AnotherContainerIsRejected)
{
  for (const char* id : {"RIFX", "riff", "FORM", "RF64"})
    expectRejected(Bytes().text(id).u32le(36).text("WAVE").append(fmt()).append(data(0)), {});
}

TEST(MalformedWav, AnotherFormTypeIsRejected)
{
  for (const char* type : {"wave", "AVI ", "AIFF", "WAVF"})
    expectRejected(Bytes().text("RIFF").u32le(36).text(type).append(fmt()).append(data(0)), {});
}

TEST(MalformedWav, AMissingFormatIsRejected)
{
  expectRejected(riff().append(data(8)).zeros(8), {});
}

TEST(MalformedWav, MissingDataIsRejected) { expectRejected(riff().append(fmt()), {}); }

TEST(MalformedWav, AFormatOfLessThan16BytesIsRejected)
{
  for (const std::uint32_t size : {0u, 1u, 14u, 15u})
    expectRejected(riff().text("fmt ").u32le(size).append(fmtBody()).append(data(0)), {kShortFmt});
}

TEST(MalformedWav, AShortFormatBehindTheDataIsRejected)
{
  expectRejected(riff().append(data(2)).zeros(2).text("fmt ").u32le(15).append(fmtBody()),
                 {kShortFmt});
}

TEST(MalformedWav, ASecondFormatInFrontOfTheDataIsRejected)
{
  expectRejected(riff().append(fmt()).append(fmt()).append(data(0)), {kDuplicateFmt});
  expectRejected(riff().append(fmt()).text("LIST").u32le(1).u8(0).append(fmt()), {kDuplicateFmt});
}

TEST(MalformedWav, ASecondFormatIsADuplicateBeforeItIsTooShort)
{
  expectRejected(riff().append(fmt()).text("fmt ").u32le(2), {kDuplicateFmt});
}

TEST(MalformedWav, SecondDataInFrontOfTheFormatIsRejected)
{
  expectRejected(riff().append(data(2)).zeros(2).append(data(2)).zeros(2).append(fmt()),
                 {kDuplicateData});
  expectRejected(riff().append(data(0)).text("LIST").u32le(0).append(data(0)), {kDuplicateData});
}

TEST(MalformedWav, AChunkThatReachesBeyondTheFileIsRejected)
{
  expectRejected(riff().text("LIST").u32le(1000).append(fmt()).append(data(0)), {});
  expectRejected(riff().append(data(1000)).zeros(4).append(fmt()), {});
  expectRejected(riff().text("fmt ").u32le(1000).append(fmtBody()).append(data(0)), {});
}

TEST(MalformedWav, AHeaderCutAtAnyByteIsRejected)
{
  const std::vector<std::uint8_t> whole = riff().append(fmt()).append(data(0)).data();
  ASSERT_EQ(whole.size(), 44u);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    SCOPED_TRACE(size);
    expectRejected(Bytes().append(std::vector<std::uint8_t>(
                       whole.begin(), whole.begin() + static_cast<long>(size))),
                   {});
  }
}

TEST(MalformedWav, AHeaderWithTheDataInFrontCutAtAnyByteIsRejected)
{
  const std::vector<std::uint8_t> whole = riff().append(data(3)).zeros(3).append(fmt()).data();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    SCOPED_TRACE(size);
    expectRejected(Bytes().append(std::vector<std::uint8_t>(
                       whole.begin(), whole.begin() + static_cast<long>(size))),
                   {});
  }
}

TEST(MalformedWav, AMutatedHeaderNeverWritesOutsideTheBuffers)
{
  const support::TempFolder folder;
  support::Messages messages;
  const std::vector<std::uint8_t> whole =
      riff().text("LIST").u32le(4).zeros(4).append(fmt()).append(data(400)).zeros(400).data();
  std::mt19937 random(2301);
  int accepted = 0;
  for (int round = 0; round < 600; ++round) {
    std::vector<std::uint8_t> bytes = whole;
    for (std::size_t changes = 1 + random() % 3; changes > 0; --changes)
      bytes[12 + random() % 44] = static_cast<std::uint8_t>(random());
    bytes.resize(bytes.size() - random() % 40);
    TovWavReader reader;
    const int opened = reader.initialize(folder.write(std::to_string(round), bytes).c_str());
    accepted += opened == 0;
    support::Buffers buffers(2, 100);
    const int status = reader.readChannels(buffers.pointers(), support::channelMap({0, 1}), 0, 100);
    TovAudioIOFormat format = {};
    if (opened != 0) {
      EXPECT_EQ(status, 1) << round;
      EXPECT_TRUE(buffers.untouched()) << round;
    } else if (reader.getFileSpec(&format) != 0) {
      EXPECT_EQ(status, 3) << round;
      EXPECT_TRUE(buffers.untouched()) << round;
    } else {
      EXPECT_TRUE(status == 0 || status == 4) << round << ": " << status;
    }
    EXPECT_TRUE(buffers.guardsIntact()) << round;
  }
  // Both verdicts must have been met for the rounds to mean anything.
  EXPECT_GT(accepted, 50);
  EXPECT_LT(accepted, 550);
}

/** A file that opens, but whose sample format is not handled. */
void expectUnsupported(const Bytes& content)
{
  const support::TempFolder folder;
  support::Messages messages;
  TovWavReader reader;
  ASSERT_EQ(reader.initialize(folder.write("a.wav", content).c_str()), 0);
  TovAudioIOFormat format = {9, 11, 12, 13, 14, 15, 16};
  EXPECT_EQ(reader.getFileSpec(&format), 1);
  EXPECT_EQ(format.state, FormatUnsupported);
  EXPECT_EQ(format.encoding, 11u);
  EXPECT_EQ(format.bytesPerSample, 12u);
  EXPECT_EQ(format.bigEndian, 13u);
  EXPECT_EQ(format.sampleRate, 14u);
  EXPECT_EQ(format.frameCount, 0);
  EXPECT_EQ(format.channels, 0u);

  support::Buffers buffers(1, 4);
  EXPECT_EQ(reader.readChannels(buffers.pointers(), support::channelMap({0}), 0, 4), 3);
  EXPECT_EQ(reader.readChannel(buffers.channel(0), 0, 0, 4), 3);
  EXPECT_EQ(reader.readChannels(buffers.pointers(), support::channelMap({0, 0}), 0, 4), 2);
  EXPECT_TRUE(buffers.untouched());
  EXPECT_EQ(messages.take(), Texts());
}

TEST(UnsupportedWav, OtherFormatTagsAreUnsupported)
{
  for (const unsigned int tag : {0u, 2u, 3u, 6u, 0x100u, 0x101u, 0xfffeu})
    expectUnsupported(riff().text("fmt ").u32le(16).append(fmtBody(tag)).append(data(8)).zeros(8));
}

TEST(UnsupportedWav, BitsOutside1To32AreUnsupported)
{
  for (const unsigned int bits : {0u, 33u, 64u, 0x110u, 0xffffu})
    expectUnsupported(
        riff().text("fmt ").u32le(16).append(fmtBody(1, 2, bits)).append(data(8)).zeros(8));
}

TEST(UnsupportedWav, NoChannelsAreUnsupported)
{
  expectUnsupported(
      riff().text("fmt ").u32le(16).append(fmtBody(1, 0, 16)).append(data(8)).zeros(8));
}

} // namespace
