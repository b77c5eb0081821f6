#include "core/TovCompressor.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

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

bool isOfTheAlphabet(const std::string& text)
{
  return text.find_first_not_of(kAlphabet) == std::string::npos;
}

void expectRoundTrip(const Data& bytes)
{
  const std::string text = compressed(bytes);
  EXPECT_TRUE(isOfTheAlphabet(text)) << bytes.size() << " bytes: " << text.substr(0, 200);
  TovBuffer out;
  EXPECT_EQ(TovCompressor::decompressString(text.c_str(), out), 0) << bytes.size() << " bytes";
  EXPECT_TRUE(bytesOf(out) == bytes) << bytes.size() << " bytes";
}

TEST(Compressor, RandomBytesOfEverySmallSizeRoundTrip)
{
  for (unsigned int size = 0; size <= 300; ++size)
    expectRoundTrip(randomBytes(size, 1000 + size));
}

TEST(Compressor, RandomBytesOfLargerSizesRoundTrip)
{
  for (const std::size_t size : {1023u, 1024u, 1025u, 4096u, 8192u, 16383u, 32768u, 65535u, 65536u,
                                 65537u, 100003u, 262144u, 1048577u})
    expectRoundTrip(randomBytes(size, 5));
}

TEST(Compressor, UniformAndRepeatingBytesRoundTrip)
{
  for (const std::size_t size : {1u, 2u, 3u, 14u, 1000u, 65536u, 3000000u}) {
    expectRoundTrip(Data(size, 0));
    expectRoundTrip(Data(size, 0xff));
    Data pattern(size);
    for (std::size_t i = 0; i < size; ++i)
      pattern[i] = static_cast<std::uint8_t>("AMXR\0\0\0\2"[i % 8]);
    expectRoundTrip(pattern);
  }
}

TEST(Compressor, RepeatingBytesBecomeShorter)
{
  EXPECT_LT(compressed(Data(100000, 7)).size(), 10000u);
}

TEST(Compressor, TextIsTerminatedInsideTheBuffer)
{
  for (unsigned int size = 0; size < 20; ++size) {
    TovBuffer buffer;
    fill(buffer, randomBytes(size, size));
    ASSERT_EQ(TovCompressor::compressBuffer(buffer, static_cast<int>(size)), 0);
    ASSERT_NE(buffer.getData(), nullptr);
    EXPECT_NE(std::memchr(buffer.getData(), 0, buffer.getSize()), nullptr);
  }
}

TEST(Compressor, OnlyTheFirstLengthBytesAreTaken)
{
  const Data bytes = randomBytes(100, 3);
  for (const int length : {0, 1, 50, 99, 100}) {
    TovBuffer buffer;
    fill(buffer, bytes);
    ASSERT_EQ(TovCompressor::compressBuffer(buffer, length), 0);
    TovBuffer out;
    ASSERT_EQ(TovCompressor::decompressString(textOf(buffer).c_str(), out), 0);
    EXPECT_EQ(bytesOf(out), Data(bytes.begin(), bytes.begin() + length));
  }
}

TEST(Compressor, EmptyBufferRoundTrips)
{
  TovBuffer buffer;
  ASSERT_EQ(TovCompressor::compressBuffer(buffer, 0), 0);
  TovBuffer out;
  out.allocate(5);
  EXPECT_EQ(TovCompressor::decompressString(textOf(buffer).c_str(), out), 0);
  EXPECT_EQ(out.getSize(), 0u);
}

TEST(Compressor, LengthAboveTheSizeIsRefusedAndTheBufferStays)
{
  const Data bytes = randomBytes(10, 4);
  for (const int length : {11, 12, 1000000, INT_MAX}) {
    TovBuffer buffer;
    fill(buffer, bytes);
    EXPECT_NE(TovCompressor::compressBuffer(buffer, length), 0) << length;
    EXPECT_EQ(bytesOf(buffer), bytes) << length;
  }
  TovBuffer empty;
  EXPECT_NE(TovCompressor::compressBuffer(empty, 1), 0);
  EXPECT_EQ(empty.getSize(), 0u);
}

TEST(Compressor, NegativeLengthIsRefusedAndTheBufferStays)
{
  const Data bytes = randomBytes(10, 4);
  for (const int length : {-1, -10, INT_MIN}) {
    TovBuffer buffer;
    fill(buffer, bytes);
    EXPECT_NE(TovCompressor::compressBuffer(buffer, length), 0) << length;
    EXPECT_EQ(bytesOf(buffer), bytes) << length;
  }
}

TEST(Compressor, CompressedTextCompressesAgain)
{
  const Data bytes = randomBytes(500, 6);
  const std::string once = compressed(bytes);
  const std::string twice = compressed(Data(once.begin(), once.end()));
  TovBuffer out;
  ASSERT_EQ(TovCompressor::decompressString(twice.c_str(), out), 0);
  const Data middle = bytesOf(out);
  EXPECT_EQ(std::string(middle.begin(), middle.end()), once);
}

TEST(Compressor, EqualBytesGiveEqualTexts)
{
  const Data bytes = randomBytes(777, 8);
  EXPECT_EQ(compressed(bytes), compressed(bytes));
}

TEST(Compressor, BlanksAndLineBreaksInsideTheTextArePassedOver)
{
  for (const std::size_t size : {0u, 1u, 2u, 3u, 40u, 3000u}) {
    const Data bytes = randomBytes(size, 9);
    const std::string text = compressed(bytes);
    for (const std::string space : {" ", "\n", "\r\n", "  ", "\n\n  "}) {
      for (const std::size_t every : {1u, 4u, 7u, 76u}) {
        std::string wrapped = space;
        for (std::size_t i = 0; i < text.size(); i += every)
          wrapped += text.substr(i, every) + space;
        TovBuffer out;
        EXPECT_EQ(TovCompressor::decompressString(wrapped.c_str(), out), 0)
            << size << " bytes wrapped every " << every;
        EXPECT_TRUE(bytesOf(out) == bytes) << size << " bytes wrapped every " << every;
      }
    }
  }
}

TEST(Compressor, TextMayStandInTheBufferThatIsFilled)
{
  for (const std::size_t size : {0u, 1u, 100u, 100000u}) {
    const Data bytes = randomBytes(size, 10);
    TovBuffer buffer;
    fill(buffer, bytes);
    ASSERT_EQ(TovCompressor::compressBuffer(buffer, static_cast<int>(size)), 0);
    const char* const text = reinterpret_cast<const char*>(buffer.getData());
    EXPECT_EQ(TovCompressor::decompressString(text, buffer), 0);
    EXPECT_TRUE(bytesOf(buffer) == bytes) << size << " bytes";
  }
}

TEST(Compressor, BrokenTextMayStandInTheBufferThatIsEmptied)
{
  TovBuffer buffer;
  fill(buffer, {'n', 'o', '"', 't', 'e', 'x', 't', 0});
  const char* const text = reinterpret_cast<const char*>(buffer.getData());
  EXPECT_NE(TovCompressor::decompressString(text, buffer), 0);
  EXPECT_EQ(buffer.getSize(), 0u);
}

TEST(Compressor, EarlierContentsOfTheFilledBufferAreReplaced)
{
  const Data bytes = randomBytes(30, 11);
  for (const unsigned long before : {5ul, 30ul, 5000ul}) {
    TovBuffer out;
    out.allocate(before);
    ASSERT_EQ(TovCompressor::decompressString(compressed(bytes).c_str(), out), 0);
    EXPECT_EQ(bytesOf(out), bytes);
  }
}

TEST(Compressor, SixtyFourMebibytesRoundTrip)
{
  expectRoundTrip(Data(64u << 20, 'x'));
}

} // namespace
