// A disk that is full after any number of bytes.

#include <algorithm>
#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/faults/FaultReport.h"
#include "tests/faults/FaultSeam.h"
#include "tests/support/FileFormats.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace support;

constexpr long long kMostRoom = 8300;           ///< more than a writer's buffer holds
constexpr int kCalls[] = {100, 3000, 1000, 50}; ///< frames, of two bytes each
constexpr long long kFrames = 4150;

/** A file that is on no disk, which would cost these thousands of files a wait
 *  each. */
class MemoryFile {
public:
  MemoryFile() : descriptor(::memfd_create("sound", MFD_CLOEXEC))
  {
    if (descriptor < 0)
      throw std::runtime_error("no file in memory");
  }
  ~MemoryFile() { ::close(descriptor); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor); }

  std::vector<std::uint8_t> bytes() const
  {
    std::vector<std::uint8_t> read(static_cast<std::size_t>(::lseek(descriptor, 0, SEEK_END)));
    if (::pread(descriptor, read.data(), read.size(), 0) != static_cast<ssize_t>(read.size()))
      throw std::runtime_error("cannot read a file in memory");
    return read;
  }

private:
  int descriptor;
};

template <typename Format>
class FileRoomTest : public testing::Test {
protected:
  /** The whole frames of the calls that succeeded. */
  void write(typename Format::Writer& writer, const std::string& path)
  {
    counted = 0;
    statuses.clear();
    started = writer.initialize(path.c_str(), request(44100, 2, 1));
    for (const int frames : kCalls) {
      if (started != 0 || (!statuses.empty() && statuses.back() != 0))
        break;
      statuses.push_back(writer.writeChannels(pointers(signal, counted), 0, frames));
      counted += statuses.back() == 0 ? frames : 0;
    }
    writer.close();
  }

  /** What a file of so many bytes holds: whatever arrived, and sizes that say
   *  so, but of AIFF only the frames of whole calls. */
  std::vector<std::uint8_t> expected(long long room) const
  {
    std::vector<std::uint8_t> arrived = samples;
    arrived.resize(static_cast<std::size_t>(room) - Format::kHeaderBytes);
    return Format::file(1, static_cast<std::uint32_t>(counted), 44100, 16, Bytes().append(arrived))
        .data();
  }

  const MemoryFile file;
  Signal signal = noise(1, kFrames, 5, 0.4f);
  const std::vector<std::uint8_t> samples = encoded<Format>(signal, 2).data();
  long long counted = 0;
  int started = 0;
  std::vector<int> statuses;
};

using Formats = testing::Types<Wav, Aiff>;
TYPED_TEST_SUITE(FileRoomTest, Formats);

TYPED_TEST(FileRoomTest, EndingAnywhereIsReportedAndLeavesWhatArrived)
{
  const std::string path = this->file.path();
  const long long header = TypeParam::kHeaderBytes;
  typename TypeParam::Writer writer; // one for all: a full disk leaves nothing behind in it
  for (long long bytes = 0; bytes <= kMostRoom; ++bytes) {
    {
      const FileRoom room(bytes);
      this->write(writer, path);
    }
    ASSERT_EQ(this->started, bytes < header ? 1 : 0) << bytes;
    if (bytes < header) {
      ASSERT_LE(this->file.bytes().size(), static_cast<std::size_t>(bytes));
      continue;
    }
    ASSERT_FALSE(this->statuses.empty());
    const bool isWhole = bytes >= header + 2 * kFrames;
    ASSERT_EQ(this->statuses.back(), isWhole ? 0 : TypeParam::kShortWrite) << bytes;
    ASSERT_TRUE(this->file.bytes() == this->expected(std::min(bytes, header + 2 * kFrames)))
        << bytes;
  }
  FaultReport::add(std::string("FullDisk") + TypeParam::kName, "Write", kMostRoom + 1,
                   kMostRoom + 1);
  this->write(writer, path);
  EXPECT_EQ(this->started, 0);
  EXPECT_EQ(this->counted, kFrames);
  EXPECT_TRUE(this->file.bytes() == this->expected(header + 2 * kFrames));
}

} // namespace
