#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/TovCompressor.h"
#include "tests/core/CompressorSamples.h"

namespace {

using support::bytesOf;
using support::compressed;
using support::fill;
using support::randomBytes;
using support::textOf;
using Data = std::vector<std::uint8_t>;

const std::string kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

const Data kSamples[] = {
    {}, {0}, {'A', 'M'}, {1, 2, 3}, {'A', 'M', 'X', 'R', 0, 0, 0, 2, 63, 128, 0, 0, 0, 0},
    randomBytes(37, 21), Data(500, 0)};

/** Whether the text is refused, the buffer being left without its earlier
 *  contents. */
bool isRefused(const std::string& text)
{
  TovBuffer out;
  fill(out, {1, 2, 3, 4});
  if (TovCompressor::decompressString(text.c_str(), out) == 0)
    return false;
  EXPECT_EQ(out.getSize(), 0u) << text;
  EXPECT_EQ(out.getData(), nullptr) << text;
  return true;
}

TEST(CompressorRefusal, TextWithACharacterOutsideTheAlphabetIsRefused)
{
  for (const Data& bytes : kSamples) {
    const std::string text = compressed(bytes);
    for (std::size_t i = 0; i < text.size(); ++i) {
      for (int c = 1; c < 256; ++c) {
        if (kAlphabet.find(static_cast<char>(c)) != std::string::npos)
          continue;
        std::string changed = text;
        changed[i] = static_cast<char>(c);
        EXPECT_TRUE(isRefused(changed)) << text << "\nwith " << c << " at " << i;
      }
    }
  }
}

// Not every bit of a text carries data: the last byte before the checksum may
// hold bits that mean nothing.  A change there is harmless; all others are to
// be seen.
TEST(CompressorRefusal, TextWithOneDigitChangedIsRefusedOrMeansTheSameBytes)
{
  int refused = 0;
  int accepted = 0;
  for (const Data& bytes : kSamples) {
    const std::string text = compressed(bytes);
    for (std::size_t i = 0; i < text.size(); ++i) {
      for (const char digit : kAlphabet) {
        std::string changed = text;
        changed[i] = digit;
        if (changed == text)
          continue;
        TovBuffer out;
        fill(out, {1, 2, 3, 4});
        if (TovCompressor::decompressString(changed.c_str(), out) == 0) {
          ++accepted;
          EXPECT_EQ(bytesOf(out), bytes) << text << "\nwith " << digit << " at " << i;
        } else {
          ++refused;
          EXPECT_EQ(out.getSize(), 0u) << text << "\nwith " << digit << " at " << i;
        }
      }
    }
  }
  EXPECT_LT(accepted * 20, refused) << "of each text at most a byte or so means nothing";
}

TEST(CompressorRefusal, TruncatedTextIsRefused)
{
  for (const Data& bytes : kSamples) {
    const std::string text = compressed(bytes);
    for (std::size_t length = 0; length < text.size(); ++length)
      EXPECT_TRUE(isRefused(text.substr(0, length))) << text << "\ncut to " << length;
  }
}

TEST(CompressorRefusal, TextWithoutItsBeginningIsRefused)
{
  for (const Data& bytes : kSamples) {
    const std::string text = compressed(bytes);
    for (std::size_t start = 1; start < text.size(); ++start)
      EXPECT_TRUE(isRefused(text.substr(start))) << text << "\nfrom " << start;
  }
}

TEST(CompressorRefusal, TextWithACharacterMissingOrDoubledIsRefused)
{
  for (const Data& bytes : kSamples) {
    const std::string text = compressed(bytes);
    for (std::size_t i = 0; i < text.size(); ++i) {
      std::string shorter = text;
      shorter.erase(i, 1);
      EXPECT_TRUE(isRefused(shorter)) << text << "\nwithout " << i;
      std::string longer = text;
      longer.insert(i, 1, text[i]);
      EXPECT_TRUE(isRefused(longer)) << text << "\nwith " << i << " doubled";
    }
  }
}

TEST(CompressorRefusal, TextWithMoreBehindItIsRefused)
{
  for (const Data& bytes : kSamples) {
    const std::string text = compressed(bytes);
    for (const std::string tail : {"A", "_", "AA", "AAA", "AAAA", "=", "\"", "\\", text.c_str()})
      EXPECT_TRUE(isRefused(text + tail)) << text << "\nand " << tail;
  }
}

TEST(CompressorRefusal, NeighboursExchangedAreRefused)
{
  for (const Data& bytes : kSamples) {
    const std::string text = compressed(bytes);
    for (std::size_t i = 1; i < text.size(); ++i) {
      std::string changed = text;
      std::swap(changed[i - 1], changed[i]);
      if (changed != text) {
        EXPECT_TRUE(isRefused(changed)) << text << "\nexchanged at " << i;
      }
    }
  }
}

TEST(CompressorRefusal, TextsThatNobodyWroteAreRefused)
{
  for (const char* text : {"", " ", "\n", "A", "AA", "AAA", "AAAA", "AAAAAAAA", "SetAudio",
                           "not a compressed text", "\"", "____", "----", "/////////",
                           "AMXRAMXRAMXRAMXR", "eJwDAAAAAAE", "\xff\xff\xff\xff"})
    EXPECT_TRUE(isRefused(text)) << text;
}

TEST(CompressorRefusal, RandomTextsAreRefused)
{
  std::mt19937 random(99);
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (unsigned long length = random() % 60; length; --length)
      text += kAlphabet[random() % kAlphabet.size()];
    EXPECT_TRUE(isRefused(text)) << text;
  }
}

TEST(CompressorRefusal, NullTextIsRefused)
{
  TovBuffer out;
  out.allocate(3);
  EXPECT_NE(TovCompressor::decompressString(nullptr, out), 0);
  EXPECT_EQ(out.getSize(), 0u);
}

TEST(CompressorRefusal, MoreThanSixtyFourMebibytesAreRefused)
{
  const unsigned long size = (64ul << 20) + 1;
  TovBuffer buffer;
  buffer.allocate(size);
  buffer.getData()[size - 1] = 'e';
  if (TovCompressor::compressBuffer(buffer, static_cast<int>(size)) == 0) {
    EXPECT_TRUE(isRefused(textOf(buffer)));
  } else {
    EXPECT_EQ(buffer.getSize(), size) << "refused already, the buffer stays";
    EXPECT_EQ(buffer.getData()[size - 1], 'e');
  }
}

} // namespace
