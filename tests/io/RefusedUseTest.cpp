#include <climits>
#include <csignal>
#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "tests/support/Buffers.h"
#include "tests/support/FileFormats.h"
#include "tests/support/Messages.h"
#include "tests/support/TempFolder.h"

// Uses that readers and writers of both formats refuse, and go on after.

namespace {

using support::channelMap;
using support::pointers;
using support::request;
using support::Signal;

template <typename Format>
class RefusedUse : public testing::Test {
protected:
  std::string file(const Signal& signal)
  {
    return folder.write("file",
                        Format::file(2, static_cast<std::uint32_t>(signal[0].size()), 44100, 16,
                                     support::encoded<Format>(signal, 2)));
  }

  support::TempFolder folder;
  support::Messages messages;
};

using Formats = testing::Types<support::Wav, support::Aiff>;
TYPED_TEST_SUITE(RefusedUse, Formats);

TYPED_TEST(RefusedUse, ARecordWithoutAPlaceIsRefused)
{
  typename TypeParam::Reader reader;
  EXPECT_EQ(reader.getFileSpec(nullptr), 1);
  ASSERT_EQ(reader.initialize(this->file(support::noise(2, 10, 1)).c_str()), 0);
  EXPECT_EQ(reader.getFileSpec(nullptr), 1);
  TovAudioIOFormat format = {};
  EXPECT_EQ(reader.getFileSpec(&format), 0);
  EXPECT_EQ(format.frameCount, 10);
}

TYPED_TEST(RefusedUse, OutputsThatAreMissingAreLeftOut)
{
  const Signal signal = {{0.25f, 0.5f, -0.5f, -0.25f}, {0.125f, -0.125f, 0.75f, -0.75f}};
  typename TypeParam::Reader reader;
  ASSERT_EQ(reader.initialize(this->file(signal).c_str()), 0);
  support::Buffers buffers(1, 4);
  TovNLPArray<float> outputs;
  outputs.append(buffers.channel(0));
  outputs.append(nullptr);
  EXPECT_EQ(reader.readChannels(outputs, channelMap({1, 0}), 0, 4), 0);
  EXPECT_EQ(buffers.samples(0), signal[1]);
}

TYPED_TEST(RefusedUse, ADeviceIsNoFileToWrite)
{
  typename TypeParam::Writer writer;
  EXPECT_EQ(writer.initialize("/dev/full", request(44100, 2, 2)), 1);
  EXPECT_EQ(writer.initialize("/dev/null", request(44100, 2, 2)), 1);
}

/** While it lives, files of this process take no more bytes than this. */
class FileSizeLimit {
public:
  explicit FileSizeLimit(std::size_t bytes)
      : before(present()), handler(std::signal(SIGXFSZ, SIG_IGN))
  {
    rlimit limit = before;
    limit.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit()
  {
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
  static rlimit present()
  {
    rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    return limit;
  }

  rlimit before;
  void (*handler)(int);
};

TYPED_TEST(RefusedUse, AFileWithoutRoomForItsHeaderIsRefusedAndTheNextIsWritten)
{
  typename TypeParam::Writer writer;
  const std::string path = this->folder.path("out");
  Signal signal = support::noise(2, 4, 1);
  for (const std::size_t room : {std::size_t{0}, std::size_t{20}, TypeParam::kHeaderBytes - 1}) {
    const FileSizeLimit limit(room);
    EXPECT_EQ(writer.initialize(path.c_str(), request(44100, 2, 2)), 1);
    EXPECT_NE(writer.writeChannels(pointers(signal), 0, 4), 0);
  }
  ASSERT_EQ(writer.initialize(path.c_str(), request(44100, 2, 2)), 0);
  EXPECT_EQ(writer.writeChannels(pointers(signal), 0, 4), 0);
  writer.close();
  EXPECT_EQ(this->folder.read("out").size(), TypeParam::kHeaderBytes + 16);
}

TYPED_TEST(RefusedUse, ABufferThatNoMemoryHoldsIsRefusedAndTheOldOneStays)
{
  typename TypeParam::Reader reader;
  reader.allocBuffer(2000);
  const long long size = reader.getBufferSize();
  EXPECT_THROW(reader.allocBuffer(LLONG_MAX), std::bad_alloc);
  EXPECT_THROW(reader.allocBuffer(LLONG_MAX - 15), std::bad_alloc);
  EXPECT_EQ(reader.getBufferSize(), size);
}

/** A reader that says its frames are of no bytes. */
template <typename Format>
class Bodiless : public Format::Reader {
public:
  std::uint32_t bytesPerSample = 0;
  std::uint32_t channels = 0;

  int getFileSpec(TovAudioIOFormat* format) override
  {
    *format = {FormatValid, EncS16, bytesPerSample, 0, 44100, 10, channels};
    return 0;
  }
};

TYPED_TEST(RefusedUse, FramesWithoutBytesAreNotRead)
{
  Bodiless<TypeParam> reader;
  ASSERT_EQ(reader.initialize(this->file(support::noise(2, 10, 1)).c_str()), 0);
  support::Buffers buffers(2, 4);
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0, 1}), 0, 4), 3);
  reader.bytesPerSample = 2;
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0, 1}), 0, 4), 3);
  EXPECT_TRUE(buffers.untouched());
  reader.channels = 2;
  EXPECT_EQ(reader.readChannels(buffers.pointers(), channelMap({0, 1}), 0, 4), 0);
  EXPECT_TRUE(buffers.guardsIntact());
}

} // namespace
