// The "AFIL" blob of the file provider.

#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "tests/graph/GeneratedFile.h"
#include "tests/support/Buffers.h"
#include "tests/support/Bytes.h"
#include "tests/support/Listener.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"

namespace {

using support::Bytes;
using support::Owned;

Bytes blobOf(const std::string& name, std::uint32_t rate, double srcIn, double srcOut)
{
  return Bytes()
      .text("AFIL")
      .u32be(0) // version
      .text(name)
      .u8(0)
      .u32be(rate)
      .f64be(srcIn)
      .f64be(srcOut);
}

std::vector<std::uint8_t> serialized(TovAudioFile& file)
{
  void* out = nullptr;
  const int length = file.serialize(&out);
  unsigned char* const bytes = static_cast<unsigned char*>(out);
  const std::vector<std::uint8_t> copy(bytes, bytes + length);
  delete[] bytes;
  return copy;
}

class AudioFileBlobTest : public ::testing::Test {
protected:
  int deserialize(const Bytes& blob, bool append = false)
  {
    return file->deserialize(blob.data().data(), append);
  }

  support::TempFolder folder;
  support::Messages messages;
  const TovAudioContext context = TovAudioContext(1024, 1, 24.0, 0.0);
  const std::string path = writeRamp(folder, "a", Container::Wav, 1, 1024, 512);
  Owned<TovAudioFile> file = support::make<TovAudioFile>();
};

TEST_F(AudioFileBlobTest, NamelessProviderIs29Bytes)
{
  EXPECT_EQ(blobOf("", 0, 0.0, 0.0).data(), serialized(*file));
  EXPECT_EQ(29u, serialized(*file).size());
  file->setPlaybackRate(48000);
  file->setSrcIn(1.5);
  file->setSrcOut(-2.25);
  EXPECT_EQ(blobOf("", 48000, 1.5, -2.25).data(), serialized(*file));
}

TEST_F(AudioFileBlobTest, HasNameRateAndSourceInAndOut)
{
  ASSERT_EQ(0, file->initialize(path.c_str()));
  EXPECT_EQ(blobOf(path, 1024, 0.0, 0.5).data(), serialized(*file));
  file->setPlaybackRate(192000);
  file->setSrcIn(0.1);
  file->setSrcOut(std::numeric_limits<double>::infinity());
  EXPECT_EQ(blobOf(path, 192000, 0.1, std::numeric_limits<double>::infinity()).data(),
            serialized(*file));
}

TEST_F(AudioFileBlobTest, HasTheNameAsGivenNotThePath)
{
  file->initialize("$TOV_TEST_NOWHERE/./a.wav");
  EXPECT_EQ(blobOf("$TOV_TEST_NOWHERE/./a.wav", 44100, 0.0, 0.0).data(), serialized(*file));
}

TEST_F(AudioFileBlobTest, LongNamesFit)
{
  for (const std::size_t length : {16500u, 16550u, 16555u, 16556u, 16584u, 17000u, 200000u}) {
    const std::string name(length, 'n');
    file->initialize(name.c_str());
    const std::vector<std::uint8_t> blob = serialized(*file);
    EXPECT_EQ(29 + length, blob.size());
    EXPECT_EQ(blobOf(name, 44100, 0.0, 0.0).data(), blob);
  }
}

TEST_F(AudioFileBlobTest, LongNamesAreReadWhole)
{
  std::string name = "n.wav";
  name.insert(0, 100000, 'n');
  EXPECT_EQ(static_cast<int>(29 + name.size()), deserialize(blobOf(name, 48000, 0.5, 1.5)));
  EXPECT_EQ(name, file->getFileName());
  EXPECT_EQ(48000, file->getPlaybackRate());
}

TEST_F(AudioFileBlobTest, ReadingOpensTheFileAndTakesTheSettingsOfTheBlob)
{
  EXPECT_EQ(static_cast<int>(29 + path.size()), deserialize(blobOf(path, 2048, 0.125, 0.25)));
  EXPECT_EQ(path, file->getFileName());
  EXPECT_EQ(2048, file->getPlaybackRate());
  EXPECT_EQ(0.125, file->getSrcIn());
  EXPECT_EQ(0.25, file->getSrcOut());
  EXPECT_EQ(0, file->hasError());
  EXPECT_FALSE(support::isLockHeld(*file));
  EXPECT_EQ(0, file->activate(context));
  EXPECT_EQ((std::vector<std::string>{}), messages.take());
}

TEST_F(AudioFileBlobTest, WhatWasWrittenIsReadBackTheSame)
{
  ASSERT_EQ(0, file->initialize(path.c_str()));
  file->setPlaybackRate(32000);
  file->setSrcIn(0.1);
  file->setSrcOut(0.30000000000000004);
  const std::vector<std::uint8_t> blob = serialized(*file);
  const Owned<TovAudioFile> other = support::make<TovAudioFile>();
  EXPECT_EQ(static_cast<int>(blob.size()), other->deserialize(blob.data(), true));
  EXPECT_EQ(blob, serialized(*other));
}

TEST_F(AudioFileBlobTest, AppendChangesNothing)
{
  ASSERT_EQ(0, file->initialize(path.c_str()));
  const std::string other = writeRamp(folder, "other", Container::Aiff, 1, 1024, 100);
  EXPECT_EQ(static_cast<int>(29 + other.size()), deserialize(blobOf(other, 500, 1.0, 2.0), true));
  EXPECT_EQ(other, file->getFileName());
  EXPECT_EQ(500, file->getPlaybackRate());
}

TEST_F(AudioFileBlobTest, ReadingIsIndependentOfAlignmentAndOfWhatFollows)
{
  const Bytes shifted =
      Bytes().u8(0xff).append(blobOf(path, 4000, 0.1, 0.2)).text("more behind it");
  EXPECT_EQ(static_cast<int>(29 + path.size()),
            file->deserialize(shifted.data().data() + 1, false));
  EXPECT_EQ(4000, file->getPlaybackRate());
  EXPECT_EQ(0.2, file->getSrcOut());
}

TEST_F(AudioFileBlobTest, RateIsNotClamped)
{
  for (const std::uint32_t rate : {0u, 1u, 199u, 192001u, 0x7fffffffu, 0xffffffffu}) {
    deserialize(blobOf("", rate, 0.0, 1.0));
    EXPECT_EQ(static_cast<int>(rate), file->getPlaybackRate());
    EXPECT_EQ(blobOf("", rate, 0.0, 1.0).data(), serialized(*file));
  }
}

TEST_F(AudioFileBlobTest, SourceInAndOutKeepTheirBits)
{
  const double strange = std::bit_cast<double>(0x7ff4000000000123u);
  deserialize(blobOf("", 1, strange, -0.0));
  EXPECT_EQ(blobOf("", 1, strange, -0.0).data(), serialized(*file));
}

TEST_F(AudioFileBlobTest, EmptyNameKeepsTheFile)
{
  ASSERT_EQ(0, file->initialize(path.c_str()));
  ASSERT_EQ(0, file->activate(context));
  EXPECT_EQ(29, deserialize(blobOf("", 1024, 0.25, 0.375)));
  EXPECT_EQ(path, file->getFileName());
  EXPECT_EQ(0, file->hasError());
  EXPECT_EQ(0.25, file->getSrcIn());
  support::Buffers buffers(1, 200); // the open reader is kept as well
  EXPECT_EQ(0, file->getAudio(buffers.pointers(), support::channelMap({0}), context, 0.0,
                              200.0 / 1024.0));
  EXPECT_EQ(joined({ramp(256, 128), silence(72)}), buffers.samples(0));
}

TEST_F(AudioFileBlobTest, FileThatIsNotThereKeepsNameAndSettingsOfTheBlob)
{
  const std::string missing = folder.path("missing.wav");
  EXPECT_EQ(static_cast<int>(29 + missing.size()), deserialize(blobOf(missing, 8000, 1.0, 2.0)));
  EXPECT_EQ(missing, file->getFileName());
  EXPECT_EQ(1, file->hasError());
  EXPECT_EQ(8000, file->getPlaybackRate());
  EXPECT_EQ(1.0, file->getSrcIn());
  EXPECT_EQ(2.0, file->getSrcOut());
  EXPECT_EQ((std::vector<std::string>{"E TovAudioFile: Could not read \"" + missing + "\"\n"}),
            messages.take());
}

TEST_F(AudioFileBlobTest, ReadingAndWritingDoNotNotify)
{
  support::Listener listener(*file);
  deserialize(blobOf(path, 8000, 1.0, 2.0));
  deserialize(blobOf("", 8000, 1.0, 2.0));
  deserialize(Bytes().text("AXIL").zeros(40));
  serialized(*file);
  EXPECT_EQ(0, listener.take());
}

TEST_F(AudioFileBlobTest, AnotherTagIsRejectedAndTheLockReleased)
{
  ASSERT_EQ(0, file->initialize(path.c_str()));
  for (const char* tag : {"AMXR", "ARSM", "AFIK", "afil", "LIFA", "\0\0\0\0"}) {
    EXPECT_EQ(-1, deserialize(Bytes().text(std::string(tag, 4)).zeros(25)));
    EXPECT_FALSE(support::isLockHeld(*file));
  }
  EXPECT_EQ(path, file->getFileName());
  EXPECT_EQ(1024, file->getPlaybackRate());
  EXPECT_EQ(0.5, file->getSrcOut());
}

Bytes blobOfVersion(std::uint32_t version)
{
  return Bytes().text("AFIL").u32be(version).text("x.wav").u8(0).u32be(8000).f64be(1).f64be(2);
}

TEST_F(AudioFileBlobTest, AnotherVersionIsRejectedAndTheLockStaysHeld)
{
  for (const std::uint32_t version : {1u, 2u, 0x01000000u, 0xffffffffu}) {
    const Owned<TovAudioFile> rejecting = support::make<TovAudioFile>();
    EXPECT_EQ(-1, rejecting->deserialize(blobOfVersion(version).data().data(), false));
    EXPECT_TRUE(support::isLockHeld(*rejecting)) << version;
  }
}

TEST_F(AudioFileBlobTest, AnotherVersionChangesNoSetting)
{
  ASSERT_EQ(0, file->initialize(path.c_str()));
  EXPECT_EQ(-1, deserialize(blobOfVersion(1)));
  // What takes no lock still answers from the file before.
  EXPECT_EQ(0, file->refresh());
  EXPECT_EQ(0, file->activate(context));
  EXPECT_EQ((std::vector<std::string>{}), messages.take());
}

TEST_F(AudioFileBlobTest, ProviderWithTheLockLeftHeldCanBeSubscribedTo)
{
  EXPECT_EQ(-1, deserialize(blobOfVersion(1)));
  {
    support::Listener listener(*file); // neither coming nor going waits
    file->callNotifyCallbacks();
    EXPECT_EQ(1, listener.take());
  }
  file->callNotifyCallbacks();
  EXPECT_TRUE(support::isLockHeld(*file));
}

TEST_F(AudioFileBlobTest, ProviderWithTheLockLeftHeldCanBeDestroyed)
{
  ASSERT_EQ(0, file->initialize(path.c_str()));
  file->allocSampleBuffers(2, 100);
  support::Listener listener(*file); // its removal must not wait either
  EXPECT_EQ(-1, deserialize(blobOfVersion(1)));
  EXPECT_EQ(1, file.drop());
}

} // namespace
