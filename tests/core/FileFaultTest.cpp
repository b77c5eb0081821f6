#include "core/TovFile.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <sys/resource.h>

#include <gtest/gtest.h>

#include "tests/core/ChildProcess.h"
#include "tests/core/TransferFaults.h"
#include "tests/support/TempFolder.h"

namespace {

using support::atMost;
using support::CloseFault;
using support::failing;
using support::interrupted;
using support::TransferFaults;

class FileFault : public testing::Test {
protected:
  std::string text(const std::string& name) const
  {
    const std::vector<std::uint8_t> bytes = temp.read(name);
    return {bytes.begin(), bytes.end()};
  }

  void openForReading()
  {
    ASSERT_EQ(file.open(temp.write("in.dat", {'0', '1', '2', '3', '4', '5', '6', '7'}).c_str(), "r"),
              0);
  }

  void openForWriting() { ASSERT_EQ(file.open(temp.path("out.dat").c_str(), "w"), 0); }

  support::TempFolder temp;
  TovFile file;
};

TEST_F(FileFault, ReadGoesOnAfterPartialTransfersAndInterruptions)
{
  openForReading();
  char buffer[8];
  const TransferFaults faults = {atMost(1), interrupted(), atMost(3), interrupted(), interrupted(),
                                 atMost(2)};
  EXPECT_EQ(file.read(buffer, 8), 8u);
  EXPECT_EQ(faults.remaining(), 0u);
  EXPECT_EQ(std::string(buffer, 8), "01234567");
}

TEST_F(FileFault, ReadErrorGivesTheBytesReadBeforeIt)
{
  openForReading();
  char buffer[8] = {};
  const TransferFaults faults = {atMost(3), failing(EIO)};
  EXPECT_EQ(file.read(buffer, 8), 3u);
  EXPECT_EQ(faults.remaining(), 0u);
  EXPECT_STREQ(buffer, "012");
}

TEST_F(FileFault, ReadErrorAtOnceGivesNothing)
{
  openForReading();
  char buffer[8] = {};
  const TransferFaults faults = {failing(EIO)};
  EXPECT_EQ(file.read(buffer, 8), 0u);
  EXPECT_EQ(faults.remaining(), 0u);
}

TEST_F(FileFault, WriteGoesOnAfterPartialTransfersAndInterruptions)
{
  openForWriting();
  const TransferFaults faults = {interrupted(), atMost(1), interrupted(), atMost(2), atMost(4)};
  EXPECT_EQ(file.write("01234567", 8), 8u);
  EXPECT_EQ(faults.remaining(), 0u);
  EXPECT_EQ(text("out.dat"), "01234567");
}

TEST_F(FileFault, DiskThatFillsDuringAWriteGivesTheBytesThatItTook)
{
  openForWriting();
  const TransferFaults faults = {atMost(5), failing(ENOSPC)};
  EXPECT_EQ(file.write("01234567", 8), 5u);
  EXPECT_EQ(faults.remaining(), 0u);
  EXPECT_EQ(text("out.dat"), "01234");
}

TEST_F(FileFault, WriteThatTakesNothingEnds)
{
  openForWriting();
  const TransferFaults faults = {atMost(2), atMost(0), failing(ENOSPC)};
  EXPECT_EQ(file.write("01234567", 8), 2u);
}

TEST_F(FileFault, PrintfGoesOnAfterPartialTransfers)
{
  openForWriting();
  const TransferFaults faults = {atMost(1), interrupted(), atMost(1)};
  EXPECT_EQ(file.printf("%d", 12345), 5);
  EXPECT_EQ(faults.remaining(), 0u);
  EXPECT_EQ(text("out.dat"), "12345");
}

TEST_F(FileFault, PrintfThatIsNotWrittenWholeFails)
{
  openForWriting();
  const TransferFaults faults = {atMost(3), failing(ENOSPC)};
  EXPECT_EQ(file.printf("%d", 12345), -1);
  EXPECT_EQ(faults.remaining(), 0u);
}

TEST_F(FileFault, CloseReportsWhatTheSystemLost)
{
  for (const int error : {EIO, ENOSPC, EDQUOT}) {
    openForWriting();
    EXPECT_EQ(file.write("x", 1), 1u);
    const CloseFault fault(error);
    EXPECT_EQ(file.close(), -1) << std::strerror(error);
    EXPECT_TRUE(fault.happened());
    EXPECT_EQ(file.write("x", 1), 0u) << "the handle is closed all the same";
    EXPECT_EQ(file.close(), 0);
  }
}

TEST_F(FileFault, FileSizeLimitShowsInTheCountThatWriteReturns)
{
  const std::string path = temp.path("limited.dat");
  const int result = support::runInChild([&path] {
    const rlimit limit = {1000, 1000};
    if (std::signal(SIGXFSZ, SIG_IGN) == SIG_ERR || ::setrlimit(RLIMIT_FSIZE, &limit) != 0)
      return 1;
    TovFile limited;
    if (limited.open(path.c_str(), "w") != 0)
      return 2;
    const std::string contents(4096, 'f');
    if (limited.write(contents.data(), contents.size()) != 1000)
      return 3;
    if (limited.tell() != 1000)
      return 4;
    if (limited.write("x", 1) != 0)
      return 5;
    if (limited.printf("more") != -1)
      return 6;
    return 0;
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(text("limited.dat"), std::string(1000, 'f'));
}

} // namespace
