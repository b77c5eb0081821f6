#include "core/TovFile.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <random>
#include <string>
#include <vector>

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "tests/support/TempFolder.h"

namespace {

std::vector<std::uint8_t> randomBytes(std::size_t count)
{
  std::mt19937 random(77);
  std::vector<std::uint8_t> bytes(count);
  for (std::uint8_t& byte : bytes)
    byte = static_cast<std::uint8_t>(random());
  return bytes;
}

class FileTransfer : public testing::Test {
protected:
  support::TempFolder temp;
  TovFile file;
};

TEST_F(FileTransfer, ReadGoesOnFromThePosition)
{
  const std::vector<std::uint8_t> bytes = randomBytes(1000);
  ASSERT_EQ(file.open(temp.write("in.dat", bytes).c_str(), "r"), 0);
  std::vector<std::uint8_t> all;
  for (unsigned long step = 1; all.size() < 900; step = step * 2 % 97) {
    std::vector<std::uint8_t> part(step);
    ASSERT_EQ(file.read(part.data(), step), step);
    all.insert(all.end(), part.begin(), part.end());
    ASSERT_EQ(file.tell(), static_cast<long long>(all.size()));
  }
  EXPECT_TRUE(std::equal(all.begin(), all.end(), bytes.begin()));
}

TEST_F(FileTransfer, ReadIsShortAtTheEndAndLeavesTheRestOfTheBuffer)
{
  ASSERT_EQ(file.open(temp.write("in.dat", randomBytes(10)).c_str(), "r"), 0);
  std::vector<std::uint8_t> buffer(32, 0xEE);
  EXPECT_EQ(file.read(buffer.data(), 32), 10u);
  for (std::size_t i = 10; i < buffer.size(); ++i)
    EXPECT_EQ(buffer[i], 0xEE) << "byte " << i;
  EXPECT_EQ(file.tell(), 10);
  EXPECT_EQ(file.read(buffer.data(), 32), 0u);
  EXPECT_EQ(file.read(buffer.data(), 0), 0u);
}

TEST_F(FileTransfer, EmptyTransfersMoveNothing)
{
  ASSERT_EQ(file.open(temp.path("out.dat").c_str(), "w+"), 0);
  char byte = 0;
  EXPECT_EQ(file.write("x", 0), 0u);
  EXPECT_EQ(file.read(&byte, 0), 0u);
  EXPECT_EQ(file.tell(), 0);
  EXPECT_EQ(temp.read("out.dat").size(), 0u);
}

TEST_F(FileTransfer, WriteReturnsItsCountAndReachesTheFileAtOnce)
{
  const std::vector<std::uint8_t> bytes = randomBytes(300000);
  ASSERT_EQ(file.open(temp.path("out.dat").c_str(), "w"), 0);
  EXPECT_EQ(file.write(bytes.data(), 1), 1u);
  EXPECT_EQ(temp.read("out.dat").size(), 1u) << "not buffered";
  EXPECT_EQ(file.write(bytes.data() + 1, bytes.size() - 1), bytes.size() - 1);
  EXPECT_EQ(file.tell(), 300000);
  EXPECT_EQ(temp.read("out.dat"), bytes);
}

TEST_F(FileTransfer, WriteInTheMiddleOverwritesAndKeepsTheRest)
{
  std::vector<std::uint8_t> bytes = randomBytes(100);
  ASSERT_EQ(file.open(temp.write("out.dat", bytes).c_str(), "r+"), 0);
  EXPECT_NE(file.seek(40, 0), 0);
  EXPECT_EQ(file.write("ABCD", 4), 4u);
  EXPECT_EQ(file.tell(), 44);
  bytes[40] = 'A';
  bytes[41] = 'B';
  bytes[42] = 'C';
  bytes[43] = 'D';
  EXPECT_EQ(temp.read("out.dat"), bytes);
}

TEST_F(FileTransfer, SeekMovesFromTheStartThePositionAndTheEnd)
{
  const std::vector<std::uint8_t> bytes = randomBytes(100);
  ASSERT_EQ(file.open(temp.write("in.dat", bytes).c_str(), "r"), 0);
  std::uint8_t byte = 0;
  EXPECT_NE(file.seek(30, 0), 0);
  EXPECT_EQ(file.tell(), 30);
  EXPECT_EQ(file.read(&byte, 1), 1u);
  EXPECT_EQ(byte, bytes[30]);
  EXPECT_NE(file.seek(-11, 1), 0);
  EXPECT_EQ(file.tell(), 20);
  EXPECT_NE(file.seek(5, 1), 0);
  EXPECT_EQ(file.tell(), 25);
  EXPECT_NE(file.seek(-1, 2), 0);
  EXPECT_EQ(file.tell(), 99);
  EXPECT_EQ(file.read(&byte, 1), 1u);
  EXPECT_EQ(byte, bytes[99]);
  EXPECT_NE(file.seek(0, 0), 0) << "moving to 0 succeeds";
  EXPECT_EQ(file.tell(), 0);
}

TEST_F(FileTransfer, SeekThatCannotMoveReturnsZeroAndKeepsThePosition)
{
  ASSERT_EQ(file.open(temp.write("in.dat", randomBytes(100)).c_str(), "r"), 0);
  ASSERT_NE(file.seek(7, 0), 0);
  EXPECT_EQ(file.seek(-1, 0), 0);
  EXPECT_EQ(file.seek(-8, 1), 0);
  EXPECT_EQ(file.seek(-101, 2), 0);
  EXPECT_EQ(file.seek(0, 99), 0);
  EXPECT_EQ(file.seek(0, -1), 0);
  EXPECT_EQ(file.tell(), 7);
}

TEST_F(FileTransfer, PositionPastTheEndReadsNothing)
{
  ASSERT_EQ(file.open(temp.write("in.dat", randomBytes(10)).c_str(), "r"), 0);
  EXPECT_NE(file.seek(1000, 0), 0);
  EXPECT_EQ(file.tell(), 1000);
  char byte = 0;
  EXPECT_EQ(file.read(&byte, 1), 0u);
}

TEST_F(FileTransfer, PositionsBeyondFourGigabytesOnASparseFile)
{
  constexpr long long kFar = 5ll * 1024 * 1024 * 1024 + 3;
  ASSERT_EQ(file.open(temp.path("sparse.dat").c_str(), "w+"), 0);
  ASSERT_NE(file.seek(kFar, 0), 0);
  EXPECT_EQ(file.tell(), kFar);
  EXPECT_EQ(file.write("far away", 8), 8u);
  EXPECT_EQ(file.tell(), kFar + 8);
  struct stat status = {};
  ASSERT_EQ(::stat(temp.path("sparse.dat").c_str(), &status), 0);
  EXPECT_EQ(status.st_size, kFar + 8);

  char text[16] = {};
  ASSERT_NE(file.seek(kFar + 4, 0), 0);
  EXPECT_EQ(file.read(text, 16), 4u);
  EXPECT_STREQ(text, "away");
  ASSERT_NE(file.seek(-8, 2), 0);
  EXPECT_EQ(file.tell(), kFar);
  ASSERT_NE(file.seek(kFar - (1ll << 32), 0), 0);
  EXPECT_EQ(file.read(text, 1), 1u);
  EXPECT_EQ(text[0], '\0') << "4 GB below stands a hole";
  EXPECT_EQ(file.close(), 0);

  ASSERT_EQ(file.open(temp.path("sparse.dat").c_str(), "r"), 0);
  ASSERT_NE(file.seek(kFar, 0), 0);
  EXPECT_EQ(file.read(text, 3), 3u);
  EXPECT_EQ(std::string(text, 3), "far");
}

TEST_F(FileTransfer, PrintfWritesTheFormattedTextAtThePosition)
{
  ASSERT_EQ(file.open(temp.path("text.dat").c_str(), "w"), 0);
  EXPECT_EQ(file.write("[", 1), 1u);
  EXPECT_EQ(file.printf("%s(\"%s\");\n", "SetAudio", "abc"), 17);
  EXPECT_EQ(file.tell(), 18);
  EXPECT_EQ(file.printf("%d%%", 50), 3);
  EXPECT_EQ(file.write("]", 1), 1u);
  ASSERT_NE(file.seek(1, 0), 0);
  EXPECT_EQ(file.printf("G"), 1);
  const std::vector<std::uint8_t> bytes = temp.read("text.dat");
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "[GetAudio(\"abc\");\n50%]");
}

TEST_F(FileTransfer, PrintfOfNothingWritesNothing)
{
  ASSERT_EQ(file.open(temp.path("text.dat").c_str(), "w"), 0);
  EXPECT_EQ(file.printf("%s", ""), 0);
  EXPECT_EQ(file.tell(), 0);
}

TEST_F(FileTransfer, PrintfWritesLongTextsWhole)
{
  for (const std::size_t length : {255u, 256u, 1023u, 1024u, 4095u, 4096u, 4097u, 2000000u}) {
    const std::string text(length, 't');
    ASSERT_EQ(file.open(temp.path("text.dat").c_str(), "w"), 0);
    EXPECT_EQ(file.printf("<%s>\n", text.c_str()), static_cast<int>(length) + 3);
    const std::vector<std::uint8_t> bytes = temp.read("text.dat");
    EXPECT_TRUE(std::string(bytes.begin(), bytes.end()) == "<" + text + ">\n") << length;
  }
}

TEST_F(FileTransfer, PrintfThatCannotFormatFailsAndWritesNothing)
{
  ASSERT_EQ(file.open(temp.path("text.dat").c_str(), "w"), 0);
  // No multibyte text of the "C" locale has this character.
  EXPECT_EQ(file.printf("before %lc after", static_cast<wint_t>(0x10FFFF)), -1);
  EXPECT_EQ(file.tell(), 0);
}

} // namespace
