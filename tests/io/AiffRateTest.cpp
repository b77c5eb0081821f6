#include <bit>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "io/TovAiffReader.h"
#include "io/TovAiffWriter.h"
#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"
#include "tests/support/TempFolder.h"

// The rate of an AIFF file is an 80-bit extended number: 2 bytes of sign and
// exponent, 8 bytes of mantissa with its leading one.

namespace {

using support::Bytes;

Bytes fileWithRate(const Bytes& rate)
{
  return Bytes()
      .text("FORM").u32be(0).text("AIFF")
      .text("COMM").u32be(18).u16be(1).u32be(4).u16be(16).append(rate)
      .text("SSND").u32be(16).u32be(0).u32be(0)
      .zeros(8);
}

Bytes extended(unsigned int exponent, std::uint32_t high, std::uint32_t low = 0)
{
  return Bytes().u16be(exponent).u32be(high).u32be(low);
}

std::uint32_t rateOf(TovAiffReader& reader)
{
  TovAudioIOFormat format = {};
  EXPECT_EQ(reader.getFileSpec(&format), 0);
  return format.sampleRate;
}

/** The rates of the first calls after opening. */
std::vector<std::uint32_t> ratesOf(const Bytes& rate, int calls)
{
  const support::TempFolder folder;
  TovAiffReader reader;
  EXPECT_EQ(reader.initialize(folder.write("a.aiff", fileWithRate(rate)).c_str()), 0);
  std::vector<std::uint32_t> rates;
  for (int i = 0; i < calls; ++i)
    rates.push_back(rateOf(reader));
  return rates;
}

std::uint32_t firstRateOf(const Bytes& rate) { return ratesOf(rate, 1)[0]; }

/** What the reader makes of the exponent's low byte and a mantissa word. */
std::uint32_t converted(unsigned int exponent, std::uint32_t high)
{
  const unsigned int shift = (30u - exponent) & 0xffu;
  if (shift == 0)
    return high;
  return shift >= 32 ? 0 : (high >> shift) + (high >> (shift - 1) & 1);
}

/** The word with its bytes in the opposite order. */
std::uint32_t swapped(std::uint32_t word)
{
  return word >> 24 | (word >> 8 & 0xff00) | (word << 8 & 0xff0000) | word << 24;
}

std::vector<std::uint8_t> writtenRate(std::uint32_t rate)
{
  const support::TempFolder folder;
  TovAiffWriter writer;
  EXPECT_EQ(writer.initialize(folder.path("a.aiff").c_str(), support::request(rate, 2, 1)), 0);
  const std::vector<std::uint8_t> file = folder.read("a.aiff");
  return {file.begin() + 28, file.begin() + 38};
}

TEST(AiffRate, ReadsTheUsualRates)
{
  EXPECT_EQ(firstRateOf(extended(0x4000, 0x80000000)), 2u);
  EXPECT_EQ(firstRateOf(extended(0x4000, 0xc0000000)), 3u);
  EXPECT_EQ(firstRateOf(extended(0x400b, 0xfa000000)), 8000u);
  EXPECT_EQ(firstRateOf(extended(0x400e, 0xac440000)), 44100u);
  EXPECT_EQ(firstRateOf(extended(0x400e, 0xbb800000)), 48000u);
  EXPECT_EQ(firstRateOf(extended(0x400f, 0xbb800000)), 96000u);
  EXPECT_EQ(firstRateOf(extended(0x4010, 0xbb800000)), 192000u);
  EXPECT_EQ(firstRateOf(extended(0x401d, 0xfffffffe)), 0x7fffffffu);
  EXPECT_EQ(firstRateOf(extended(0x401e, 0x80000000)), 0x80000000u);
  EXPECT_EQ(firstRateOf(extended(0x401e, 0xffffffff)), 4294967295u);
}

TEST(AiffRate, RoundsHalvesUp)
{
  EXPECT_EQ(firstRateOf(extended(0x400e, 0xac440000 | 0x8000)), 44101u);      // 44100.5
  EXPECT_EQ(firstRateOf(extended(0x400e, 0xac440000 | 0x7fff)), 44100u);      // just below
  EXPECT_EQ(firstRateOf(extended(0x400e, 0xac440000 | 0x4000)), 44100u);      // 44100.25
  EXPECT_EQ(firstRateOf(extended(0x400e, 0xac440000 | 0xc000)), 44101u);      // 44100.75
  EXPECT_EQ(firstRateOf(extended(0x4000, 0xa0000000)), 3u);                   // 2.5
  EXPECT_EQ(firstRateOf(extended(0x401d, 0xffffffff)), 0x80000000u);          // 2147483647.5
  EXPECT_EQ(firstRateOf(extended(0x400e, 0xac447fff, 0xffffffff)),
            44100u); // low words do not count
}

TEST(AiffRate, OnlyTheLowByteOfTheExponentCounts)
{
  for (const unsigned int high : {0x00u, 0x3fu, 0x41u, 0x7fu, 0xc0u, 0xffu})
    EXPECT_EQ(firstRateOf(extended(high << 8 | 0x0e, 0xac440000)), 44100u) << high;
}

TEST(AiffRate, ExponentsOutsideTheRangeAreDefined)
{
  // One, whose exponent is just below the range, comes out right.
  EXPECT_EQ(firstRateOf(extended(0x3fff, 0x80000000)), 1u);
  EXPECT_EQ(firstRateOf(extended(0x3fff, 0xc0000000)), 2u);
  // A shift of 32 or more leaves nothing.
  EXPECT_EQ(firstRateOf(extended(0x3ffe, 0xffffffff)), 0u);
  EXPECT_EQ(firstRateOf(extended(0x401f, 0xffffffff)), 0u);
  EXPECT_EQ(firstRateOf(extended(0x4020, 0x80000000)), 0u);
  for (unsigned int exponent = 0; exponent < 256; ++exponent)
    for (const std::uint32_t high : {0xac44c001u, 0x00008001u})
      EXPECT_EQ(firstRateOf(extended(0x4000 | exponent, high)), converted(exponent, high))
          << exponent << " " << high;
}

TEST(AiffRate, EveryOtherCallSwapsTheStoredWordAgain)
{
  const std::vector<std::uint32_t> rates = ratesOf(extended(0x400e, 0xac440000), 6);
  EXPECT_EQ(rates[0], 44100u);
  EXPECT_NE(rates[1], 44100u);
  for (std::size_t i = 0; i < rates.size(); ++i)
    EXPECT_EQ(rates[i], i % 2 ? converted(0x0e, 0x000044ac) : 44100u) << i;
}

TEST(AiffRate, TheSecondRateIsThatOfTheSwappedWord)
{
  for (const std::uint32_t rate :
       {2u, 3u, 8000u, 22050u, 44100u, 48000u, 96000u, 192000u, 4294967295u}) {
    const Bytes stored = support::extendedRate(rate);
    const std::uint32_t high = rate << std::countl_zero(rate);
    const std::vector<std::uint32_t> rates = ratesOf(stored, 3);
    EXPECT_EQ(rates[0], rate);
    EXPECT_EQ(rates[1], converted(stored.data()[1], swapped(high))) << rate;
    EXPECT_EQ(rates[2], rate);
  }
}

TEST(AiffRate, EveryReadCountsAsACall)
{
  const support::TempFolder folder;
  const std::string path = folder.write("a.aiff", fileWithRate(extended(0x400e, 0xac440000)));
  TovAiffReader reader;
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  support::Buffers buffers(1, 4);
  ASSERT_EQ(reader.readChannels(buffers.pointers(), support::channelMap({0}), 0, 4), 0);
  EXPECT_NE(rateOf(reader), 44100u);
  EXPECT_EQ(rateOf(reader), 44100u);
  ASSERT_EQ(reader.readChannel(buffers.channel(0), 0, 0, 4), 0);
  EXPECT_EQ(rateOf(reader), 44100u);
  // A read of several passes is one call, and so is one of no frames.
  std::vector<float> many(20000);
  ASSERT_EQ(reader.readChannel(many.data(), 0, 0, 20000), 0);
  EXPECT_EQ(rateOf(reader), 44100u);
  ASSERT_EQ(reader.readChannel(many.data(), 0, 0, 0), 0);
  EXPECT_EQ(rateOf(reader), 44100u);
}

TEST(AiffRate, AReadThatIsRefusedForItsArgumentsIsNoCall)
{
  const support::TempFolder folder;
  TovAiffReader reader;
  ASSERT_EQ(
      reader.initialize(folder.write("a.aiff", fileWithRate(extended(0x400e, 0xac440000))).c_str()),
      0);
  support::Buffers buffers(1, 4);
  ASSERT_EQ(reader.readChannels(buffers.pointers(), support::channelMap({0, 0}), 0, 4), 2);
  EXPECT_EQ(rateOf(reader), 44100u);
}

TEST(AiffRate, OpeningStartsAfresh)
{
  const support::TempFolder folder;
  const std::string path = folder.write("a.aiff", fileWithRate(extended(0x400e, 0xac440000)));
  TovAiffReader reader;
  for (int round = 0; round < 3; ++round) {
    ASSERT_EQ(reader.initialize(path.c_str()), 0);
    EXPECT_EQ(rateOf(reader), 44100u);
  }
  reader.close();
  TovAudioIOFormat format = {};
  EXPECT_EQ(reader.getFileSpec(&format), 1);
  ASSERT_EQ(reader.initialize(path.c_str()), 0);
  EXPECT_EQ(rateOf(reader), 44100u);
}

TEST(AiffRate, TheOtherFieldsDoNotAlternate)
{
  const support::TempFolder folder;
  TovAiffReader reader;
  ASSERT_EQ(
      reader.initialize(folder.write("a.aiff", fileWithRate(extended(0x400e, 0xac440000))).c_str()),
      0);
  for (int call = 0; call < 4; ++call) {
    TovAudioIOFormat format = {};
    ASSERT_EQ(reader.getFileSpec(&format), 0);
    format.sampleRate = 0;
    EXPECT_EQ(support::fields(format),
              (std::vector<std::int64_t>{FormatValid, EncS16, 2, 1, 0, 4, 1}));
  }
}

TEST(AiffRate, WritesTheUsualRates)
{
  EXPECT_EQ(writtenRate(2), extended(0x4000, 0x80000000).data());
  EXPECT_EQ(writtenRate(3), extended(0x4000, 0xc0000000).data());
  EXPECT_EQ(writtenRate(4), extended(0x4001, 0x80000000).data());
  EXPECT_EQ(writtenRate(8000), extended(0x400b, 0xfa000000).data());
  EXPECT_EQ(writtenRate(44100),
            (std::vector<std::uint8_t>{0x40, 0x0e, 0xac, 0x44, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(writtenRate(48000), extended(0x400e, 0xbb800000).data());
  EXPECT_EQ(writtenRate(96000), extended(0x400f, 0xbb800000).data());
  EXPECT_EQ(writtenRate(192000), extended(0x4010, 0xbb800000).data());
  EXPECT_EQ(writtenRate(0x7fffffff), extended(0x401d, 0xfffffffe).data());
}

TEST(AiffRate, ARateOfOneIsWrittenAsTwo)
{
  EXPECT_EQ(writtenRate(1), extended(0x4000, 0x80000000).data());
}

TEST(AiffRate, EveryWrittenRateIsReadBack)
{
  std::vector<std::uint32_t> rates;
  for (int bit = 2; bit <= 30; ++bit)
    for (const std::uint32_t offset : {0xffffffffu, 0u, 1u})
      rates.push_back((1u << bit) + offset);
  rates.push_back(0x7fffffff);
  std::mt19937 random(80);
  for (int i = 0; i < 60; ++i)
    rates.push_back(2 + static_cast<std::uint32_t>(random() >> (1 + random() % 25)));
  for (const std::uint32_t rate : rates) {
    if (rate > 0x7fffffff)
      continue;
    EXPECT_EQ(writtenRate(rate), support::extendedRate(rate).data()) << rate;
    EXPECT_EQ(firstRateOf(Bytes().append(writtenRate(rate))), rate);
  }
}

} // namespace
