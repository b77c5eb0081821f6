#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "io/TovAiffReader.h"
#include "io/TovAiffTranslator.h"
#include "tests/io/OwnRegistry.h"
#include "tests/support/Buffers.h"
#include "tests/support/Bytes.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;
using Texts = std::vector<std::string>;

const char* const kDuplicateComm = "E TovAiff: duplicate \"COMM\" chunk found\n";
const char* const kDuplicateSsnd = "E TovAiff: duplicate \"SSND\" chunk found\n";
const char* const kShortComm = "E TovAiff: Unrecognized \"COMM\" chunk found...\n";

Bytes form() { return Bytes().text("FORM").u32be(46).text("AIFF"); }

Bytes commBody(unsigned int channels = 2, std::uint32_t frames = 2, unsigned int bits = 16)
{
  return Bytes().u16be(channels).u32be(frames).u16be(bits).append(support::extendedRate(44100));
}

Bytes comm() { return Bytes().text("COMM").u32be(18).append(commBody()); }

Bytes ssnd(std::uint32_t size) { return Bytes().text("SSND").u32be(size).u32be(0).u32be(0); }

/** Both users of the chunk walk refuse the file, each with these messages. */
void expectRejected(const Bytes& content, const Texts& expected)
{
  const OwnRegistry registry;
  const support::TempFolder folder;
  const std::string path = folder.write("a.aiff", content);
  support::Messages messages;

  TovAiffReader reader;
  EXPECT_EQ(reader.initialize(path.c_str()), 1);
  EXPECT_EQ(messages.take(), expected);
  TovAudioIOFormat format = {9, 9, 9, 9, 9, 9, 9};
  EXPECT_EQ(reader.getFileSpec(&format), 1);
  EXPECT_EQ(format.state, FormatNone);

  TovFile file;
  ASSERT_EQ(file.open(path.c_str(), "r"), 0);
  EXPECT_EQ(TovAiffTranslator().checkHeader(file), 1);
  EXPECT_EQ(messages.take(), expected);
}

TEST(MalformedAiff, AnEmptyFileIsRejected) { expectRejected(Bytes(), {}); }

TEST(MalformedAiff, AnotherContainerIsRejected)
{
  for (const char* id : {"form", "RIFF", "LIST", "FORX"})
    expectRejected(Bytes().text(id).u32be(46).text("AIFF").append(comm()).append(ssnd(8)), {});
}

TEST(MalformedAiff, TheCompressedVariantIsRejected)
{
  expectRejected(Bytes().text("FORM").u32be(46).text("AIFC").append(comm()).append(ssnd(8)), {});
}

TEST(MalformedAiff, AnotherFormTypeIsRejected)
{
  for (const char* type : {"aiff", "WAVE", "8SVX"})
    expectRejected(Bytes().text("FORM").u32be(46).text(type).append(comm()).append(ssnd(8)), {});
}

TEST(MalformedAiff, AMissingCommonChunkIsRejected)
{
  expectRejected(form().append(ssnd(16)).zeros(8), {});
}

TEST(MalformedAiff, MissingSamplesAreRejected) { expectRejected(form().append(comm()), {}); }

TEST(MalformedAiff, ACommonChunkOfLessThan18BytesIsRejected)
{
  for (const std::uint32_t size : {0u, 1u, 16u, 17u})
    expectRejected(form().text("COMM").u32be(size).append(commBody()).append(ssnd(8)),
                   {kShortComm});
}

TEST(MalformedAiff, AShortCommonChunkBehindTheSamplesIsRejected)
{
  expectRejected(form().append(ssnd(10)).zeros(2).text("COMM").u32be(17).append(commBody()),
                 {kShortComm});
}

TEST(MalformedAiff, ASecondCommonChunkInFrontOfTheSamplesIsRejected)
{
  expectRejected(form().append(comm()).append(comm()).append(ssnd(8)), {kDuplicateComm});
  expectRejected(form().append(comm()).text("NAME").u32be(1).u8(0).append(comm()),
                 {kDuplicateComm});
}

TEST(MalformedAiff, ASecondCommonChunkIsADuplicateBeforeItIsTooShort)
{
  expectRejected(form().append(comm()).text("COMM").u32be(2), {kDuplicateComm});
}

TEST(MalformedAiff, SecondSamplesInFrontOfTheCommonChunkAreRejected)
{
  expectRejected(form().append(ssnd(10)).zeros(2).append(ssnd(8)).append(comm()), {kDuplicateSsnd});
  // The second one's offset and block size need not be there.
  expectRejected(form().append(ssnd(8)).text("SSND").u32be(8), {kDuplicateSsnd});
}

TEST(MalformedAiff, AChunkThatReachesBeyondTheFileIsRejected)
{
  expectRejected(form().text("NAME").u32be(1000).append(comm()).append(ssnd(8)), {});
  expectRejected(form().append(ssnd(1000)).zeros(4).append(comm()), {});
  expectRejected(form().text("COMM").u32be(1000).append(commBody()).append(ssnd(8)), {});
}

TEST(MalformedAiff, AHeaderCutAtAnyByteIsRejected)
{
  const std::vector<std::uint8_t> whole = form().append(comm()).append(ssnd(8)).data();
  ASSERT_EQ(whole.size(), 54u);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    SCOPED_TRACE(size);
    expectRejected(Bytes().append(std::vector<std::uint8_t>(
                       whole.begin(), whole.begin() + static_cast<long>(size))),
                   {});
  }
}

TEST(MalformedAiff, AHeaderWithTheSamplesInFrontCutAtAnyByteIsRejected)
{
  const std::vector<std::uint8_t> whole = form().append(ssnd(11)).zeros(3).append(comm()).data();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    SCOPED_TRACE(size);
    expectRejected(Bytes().append(std::vector<std::uint8_t>(
                       whole.begin(), whole.begin() + static_cast<long>(size))),
                   {});
  }
}

TEST(MalformedAiff, AMutatedHeaderNeverWritesOutsideTheBuffers)
{
  const support::TempFolder folder;
  support::Messages messages;
  const std::vector<std::uint8_t> whole =
      form().text("NAME").u32be(4).zeros(4).append(comm()).append(ssnd(408)).zeros(400).data();
  std::mt19937 random(2202);
  int accepted = 0;
  for (int round = 0; round < 600; ++round) {
    std::vector<std::uint8_t> bytes = whole;
    for (std::size_t changes = 1 + random() % 3; changes > 0; --changes)
      bytes[12 + random() % 54] = static_cast<std::uint8_t>(random());
    bytes.resize(bytes.size() - random() % 40);
    TovAiffReader reader;
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
      EXPECT_EQ(status, 0) << round;
    }
    EXPECT_TRUE(buffers.guardsIntact()) << round;
  }
  // Both verdicts must have been met for the rounds to mean anything.
  EXPECT_GT(accepted, 50);
  EXPECT_LT(accepted, 550);
}

/** A file that opens, but whose sample format is not handled. */
void expectUnsupported(unsigned int channels, unsigned int bits)
{
  const support::TempFolder folder;
  support::Messages messages;
  const Bytes content = form().text("COMM").u32be(18).append(commBody(channels, 2, bits))
      .append(ssnd(16)).zeros(8);
  TovAiffReader reader;
  ASSERT_EQ(reader.initialize(folder.write("a.aiff", content).c_str()), 0);
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

TEST(UnsupportedAiff, BitsOutside1To32AreUnsupported)
{
  for (const unsigned int bits : {0u, 33u, 64u, 0x1000u, 0xffffu})
    expectUnsupported(2, bits);
}

TEST(UnsupportedAiff, NoChannelsAreUnsupported) { expectUnsupported(0, 16); }

} // namespace
