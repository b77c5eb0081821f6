// Files, and what only looks like one, that would cost a careless reader any
// amount of time or memory.
#include <array>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "io/TovWavReader.h"
#include "tests/hostile/Cost.h"
#include "tests/hostile/HostileUse.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;
using support::FileUse;
using support::FrameRequest;

constexpr std::uintmax_t kFiveGigabytes = 5'000'000'000;
constexpr std::uint32_t kMost = 0xffffffff;

const std::vector<FrameRequest> kRequests = {
    {8000, 3, 0.0}, {8000, 0, 0.0}, {44100, 1, 0.0}, {44100, 2, -0.05}, {192000, 3, 0.5},
    {48000, 3, 20000.0}};

class HostileFile : public testing::Test {
protected:
  /** The bytes, and behind them a hole up to @p size. */
  std::string sparse(const std::string& name, const Bytes& start, std::uintmax_t size) const
  {
    const std::string path = folder.write(name, start);
    std::filesystem::resize_file(path, size);
    return path;
  }

  FileUse use(const std::string& path) const { return support::useFile(path, kRequests); }

  /** What is no regular file opens neither in a reader nor in a provider. */
  void expectNotOpened(const std::string& path) const
  {
    SCOPED_TRACE(path);
    const FileUse found = use(path);
    EXPECT_EQ(found.openStatus, 1);
    EXPECT_EQ(found.formatStatus, 1);
    EXPECT_EQ(found.readStatus, 1);
    // A provider goes by what a link leads to, which may be of no type.
    EXPECT_TRUE(found.providerStatus == 2 || found.providerStatus == 3) << found.providerStatus;
    EXPECT_EQ(found.audioStatus, 2);
  }

  static Bytes wavStart() { return Bytes().text("RIFF").u32le(kMost).text("WAVE"); }
  static Bytes aiffStart() { return Bytes().text("FORM").u32be(kMost).text("AIFF"); }

  static Bytes wavFormat(unsigned int channels, std::uint32_t rate, unsigned int bits)
  {
    return Bytes()
        .text("fmt ")
        .u32le(16)
        .u16le(1)
        .u16le(channels)
        .u32le(rate)
        .u32le(rate * channels * bits / 8)
        .u16le(channels * bits / 8)
        .u16le(bits);
  }

  static Bytes aiffFormat(unsigned int channels, std::uint32_t frames, std::uint32_t rate,
                          unsigned int bits)
  {
    return Bytes().text("COMM").u32be(18).u16be(channels).u32be(frames).u16be(bits).append(
        support::extendedRate(rate));
  }

  static Bytes wavData(std::uint32_t size) { return Bytes().text("data").u32le(size); }
  static Bytes aiffData(std::uint32_t size)
  {
    return Bytes().text("SSND").u32be(size).u32be(0).u32be(0);
  }

  support::Messages messages; // an unreadable file is told each time
  support::TempFolder folder;
};

TEST_F(HostileFile, OfFiveGigabytesOpensAndRenders)
{
  const std::string wav = sparse(
      "x.wav", wavStart().append(wavFormat(2, 44100, 16)).append(wavData(kMost)), kFiveGigabytes);
  const FileUse asWav = use(wav);
  EXPECT_EQ(asWav.openStatus, 0);
  EXPECT_EQ(asWav.format.frameCount, kMost / 4);
  EXPECT_EQ(asWav.readStatus, 0);
  EXPECT_EQ(asWav.audioStatus, 0);
  // The frames are as many as fit below 2^32 bytes.
  const std::string aiff =
      sparse("x.aiff",
             aiffStart().append(aiffFormat(2, kMost / 4, 44100, 16)).append(aiffData(kMost)),
             kFiveGigabytes);
  const FileUse asAiff = use(aiff);
  EXPECT_EQ(asAiff.openStatus, 0);
  EXPECT_EQ(asAiff.format.frameCount, kMost / 4);
  EXPECT_EQ(asAiff.audioStatus, 0);
}

TEST_F(HostileFile, WhoseHeaderClaimsFourGigabytesInAHundredBytesOpens)
{
  const std::string wav = sparse(
      "x.wav", wavStart().append(wavFormat(1, 44100, 8)).append(wavData(kMost)), 100);
  const FileUse asWav = use(wav);
  EXPECT_EQ(asWav.openStatus, 0);
  EXPECT_EQ(asWav.format.frameCount, kMost);
  EXPECT_EQ(asWav.readStatus, 0);
  EXPECT_EQ(asWav.audioStatus, 1); // it ends before
  const std::string aiff = sparse(
      "x.aiff", aiffStart().append(aiffFormat(1, kMost, 44100, 8)).append(aiffData(kMost)), 100);
  const FileUse asAiff = use(aiff);
  EXPECT_EQ(asAiff.openStatus, 0);
  EXPECT_EQ(asAiff.format.frameCount, kMost);
  EXPECT_EQ(asAiff.audioStatus, 0); // silence
}

TEST_F(HostileFile, WithABigChunkBeforeItsFormatOpens)
{
  for (const std::uint32_t size : {0x7ffffff0u, 0x7fffffffu}) {
    SCOPED_TRACE(size);
    const Bytes wavTail = wavFormat(2, 44100, 16).append(wavData(4096));
    const std::string wav =
        sparse("x.wav", wavStart().append(Bytes().text("junk").u32le(size)), 20ull + size);
    std::ofstream(wav, std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(wavTail.data().data()),
               static_cast<std::streamsize>(wavTail.size()));
    std::filesystem::resize_file(wav, kFiveGigabytes);
    const FileUse asWav = use(wav);
    EXPECT_EQ(asWav.openStatus, 0);
    EXPECT_EQ(asWav.format.frameCount, 1024);
    EXPECT_EQ(asWav.readStatus, 4); // samples that begin above 2 GB are out of reach

    const Bytes aiffTail = aiffFormat(2, 1024, 44100, 16).append(aiffData(4104));
    const std::string aiff =
        sparse("x.aiff", aiffStart().append(Bytes().text("junk").u32be(size)), 20ull + size);
    std::ofstream(aiff, std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(aiffTail.data().data()),
               static_cast<std::streamsize>(aiffTail.size()));
    std::filesystem::resize_file(aiff, kFiveGigabytes);
    const FileUse asAiff = use(aiff);
    EXPECT_EQ(asAiff.openStatus, 0);
    EXPECT_EQ(asAiff.readStatus, 0);
    EXPECT_EQ(asAiff.format.frameCount, 1024);
  }
}

// A chunk of 2 GB and more is not gone over: what follows its header is next.
TEST_F(HostileFile, WithAChunkOfTheGreatestSizeOpens)
{
  for (const std::uint32_t size : {0x80000000u, 0x80000001u, kMost - 7, kMost}) {
    SCOPED_TRACE(size);
    const std::string wav = sparse("x.wav",
                                   wavStart()
                                       .append(Bytes().text("junk").u32le(size))
                                       .append(wavFormat(2, 44100, 16))
                                       .append(Bytes().text("junk").u32le(size))
                                       .append(wavData(kMost)),
                                   9000);
    EXPECT_EQ(use(wav).openStatus, 0);
    const std::string aiff = sparse("x.aiff",
                                    aiffStart()
                                        .append(Bytes().text("junk").u32be(size))
                                        .append(aiffFormat(2, 2000, 44100, 16))
                                        .append(Bytes().text("junk").u32be(size))
                                        .append(aiffData(kMost)),
                                    9000);
    EXPECT_EQ(use(aiff).openStatus, 0);
  }
}

TEST_F(HostileFile, OfNothingButEmptyChunksDoesNotOpen)
{
  // A hole reads as chunks without a name and without bytes.
  for (const std::uintmax_t size : {std::uintmax_t(600000), kFiveGigabytes}) {
    SCOPED_TRACE(size);
    EXPECT_EQ(use(sparse("x.wav", wavStart(), size)).openStatus, 1);
    EXPECT_EQ(use(sparse("x.aiff", aiffStart(), size)).openStatus, 1);
    EXPECT_EQ(use(sparse("format.wav", wavStart().append(wavFormat(2, 44100, 16)), size)).openStatus,
              1);
    EXPECT_EQ(
        use(sparse("format.aiff", aiffStart().append(aiffFormat(2, 9, 44100, 16)), size)).openStatus,
        1);
    // By its header as well, where the suffix says nothing.
    EXPECT_EQ(use(sparse("x", wavStart(), size)).openStatus, 1);
  }
}

TEST_F(HostileFile, WithAHundredThousandTinyChunksDoesNotOpen)
{
  Bytes wav = wavStart();
  Bytes aiff = aiffStart();
  for (int i = 0; i < 100000; ++i) {
    wav.text("tiny").u32le(1).u8(7);
    aiff.text("tiny").u32be(1).u8(7);
  }
  wav.append(wavFormat(1, 44100, 16)).append(wavData(2)).zeros(2);
  aiff.append(aiffFormat(1, 1, 44100, 16)).append(aiffData(10)).zeros(2);
  EXPECT_EQ(use(folder.write("x.wav", wav)).openStatus, 1);
  EXPECT_EQ(use(folder.write("x.aiff", aiff)).openStatus, 1);
}

TEST_F(HostileFile, WithTheMostChannelsRenders)
{
  const std::string wav =
      sparse("x.wav", wavStart().append(wavFormat(0xffff, 44100, 16)).append(wavData(kMost)),
             kFiveGigabytes);
  const FileUse asWav = support::useFile(wav, {{44100, 3, 0.0}});
  EXPECT_EQ(asWav.format.channels, 0xffffu);
  EXPECT_EQ(asWav.audioStatus, 0);
  const std::string aiff = sparse(
      "x.aiff", aiffStart().append(aiffFormat(0xffff, 16000, 44100, 8)).append(aiffData(kMost)),
      kFiveGigabytes);
  const FileUse asAiff = support::useFile(aiff, {{44100, 3, 0.0}});
  EXPECT_EQ(asAiff.format.channels, 0xffffu);
  EXPECT_EQ(asAiff.audioStatus, 0);
}

// The greatest rate that is converted, the next one, and those that no int is.
TEST_F(HostileFile, OfAnyRateRenders)
{
  for (const std::uint32_t rate :
       {1u, 2u, 7999999u, 8000000u, 8000001u, 0x7fffffffu, 0x80000000u, kMost}) {
    SCOPED_TRACE(rate);
    const std::string wav = sparse(
        "x.wav", wavStart().append(wavFormat(2, rate, 16)).append(wavData(kMost)), kFiveGigabytes);
    EXPECT_EQ(support::useFile(wav, {{8000, 0, 0.0}}).audioStatus, rate <= 8000000 ? 0 : 1);
    if (rate < 0x80000000u) {
      EXPECT_EQ(support::useFile(wav, {{static_cast<int>(rate), 3, 0.0}}).audioStatus, 0);
    }
  }
}

// Each channel takes 16 MB, so that more of them are more than a host should
// ask for at once.
TEST_F(HostileFile, OfTheGreatestConvertedRateRendersUpToFourChannels)
{
  const std::string path = sparse(
      "x.wav", wavStart().append(wavFormat(4, 8000000, 16)).append(wavData(kMost)), kFiveGigabytes);
  for (int channels = 1; channels <= 4; ++channels) {
    SCOPED_TRACE(channels);
    const auto file = support::make<TovAudioFile>();
    ASSERT_EQ(file->initialize(path.c_str()), 0);
    EXPECT_EQ(support::renderBounded(*file, {8000, channels == 1 ? 3 : 0, 0.0}, channels), 0);
  }
}

TEST_F(HostileFile, ThatIsAFolderDoesNotOpen)
{
  std::filesystem::create_directory(folder.path("x.wav"));
  std::filesystem::create_directory(folder.path("x.aiff"));
  expectNotOpened(folder.path("x.wav"));
  expectNotOpened(folder.path("x.aiff"));
  expectNotOpened(folder.folder());
  expectNotOpened("/");
}

TEST_F(HostileFile, ThatIsAnEndlessDeviceDoesNotOpen)
{
  for (const std::string device : {"/dev/zero", "/dev/urandom", "/dev/full", "/dev/null",
                                   "/proc/self/pagemap"}) {
    expectNotOpened(device);
    for (const std::string name : {"x.wav", "x.aiff"}) {
      std::filesystem::create_symlink(device, folder.path(name));
      expectNotOpened(folder.path(name));
      std::filesystem::remove(folder.path(name));
    }
  }
}

TEST_F(HostileFile, ThatIsALinkToItselfDoesNotOpen)
{
  std::filesystem::create_symlink(folder.path("x.wav"), folder.path("x.wav"));
  expectNotOpened(folder.path("x.wav"));
}

TEST_F(HostileFile, ThatIsAPipeDoesNotOpen)
{
  for (const std::string name : {"x.wav", "x.aiff", "x"}) {
    const std::string path = folder.path(name);
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    expectNotOpened(path); // nobody writes to it
    // Both ends here: somebody does, and what comes looks right.
    const int pipe = ::open(path.c_str(), O_RDWR | O_NONBLOCK);
    ASSERT_GE(pipe, 0);
    const Bytes start = support::wavFile(2, 44100, 16, Bytes().zeros(4000));
    ASSERT_EQ(::write(pipe, start.data().data(), start.size()),
              static_cast<::ssize_t>(start.size()));
    expectNotOpened(path);
    ::close(pipe);
  }
}

TEST_F(HostileFile, ThatIsASocketDoesNotOpen)
{
  const std::string path = folder.path("x.wav");
  ::sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.size(), sizeof address.sun_path);
  path.copy(address.sun_path, path.size());
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_GE(socket, 0);
  ASSERT_EQ(::bind(socket, reinterpret_cast<const ::sockaddr*>(&address), sizeof address), 0);
  expectNotOpened(path);
  ::close(socket);
}

/** Appends to a file on a thread of its own, as fast as it can, up to 64 MiB. */
class GrowingFile {
public:
  GrowingFile(const std::string& path, const Bytes& block)
      : writer([this, path, block] {
          std::ofstream file(path, std::ios::binary | std::ios::app);
          while (!isDone && file.tellp() < (64 << 20)) {
            file.write(reinterpret_cast<const char*>(block.data().data()),
                       static_cast<std::streamsize>(block.size()));
            file.flush();
          }
        })
  {
  }
  ~GrowingFile()
  {
    isDone = true;
    writer.join();
  }
  GrowingFile(const GrowingFile&) = delete;
  GrowingFile& operator=(const GrowingFile&) = delete;

private:
  std::atomic<bool> isDone = false;
  std::thread writer;
};

TEST_F(HostileFile, ThatGrowsByEmptyChunksWhileItIsOpenedDoesNotOpen)
{
  const std::string path = folder.write("x.wav", wavStart().append(wavFormat(2, 44100, 16)));
  const GrowingFile growing(path, Bytes().zeros(8192));
  // From a few chunks to twice as many as are ever looked at.
  while (std::filesystem::file_size(path) < (1 << 20))
    EXPECT_EQ(use(path).openStatus, 1);
  EXPECT_EQ(use(path).openStatus, 1);
}

TEST_F(HostileFile, ThatGrowsBySamplesWhileItIsReadRenders)
{
  const std::string path =
      folder.write("x.wav", wavStart()
                                .append(wavFormat(2, 44100, 16))
                                .append(wavData(kMost))
                                .zeros(4 * 44100));
  const GrowingFile growing(path, Bytes().zeros(8192));
  for (int i = 0; i < 20; ++i) {
    const FileUse found = support::useFile(path, {{8000, 3, 0.0}, {44100, 3, 0.25}});
    EXPECT_EQ(found.openStatus, 0);
    EXPECT_EQ(found.format.frameCount, kMost / 4);
    EXPECT_EQ(found.audioStatus, 0);
  }
}

} // namespace
