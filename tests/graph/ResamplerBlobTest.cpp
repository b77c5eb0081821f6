// The "ARSM" blob of the resampler.

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "tests/support/GuardedBlock.h"
#include "tests/support/Listener.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/SettingsBlobs.h"

namespace {

using support::Bytes;
using support::ExactBlock;
using support::fileBlob;
using support::mixerBlob;
using support::Owned;
using support::RecordingProvider;
using support::resamplerHeader;
using support::serialized;

/** A provider whose blob is what the test says. */
class BlobProvider : public RecordingProvider {
public:
  Bytes blob;
  int result = 0; ///< where the blob is empty
  int serialize(void** out) override
  {
    *out = nullptr;
    if (blob.size() == 0)
      return result;
    unsigned char* const copy = new unsigned char[blob.size()];
    std::copy(blob.data().begin(), blob.data().end(), copy);
    *out = copy;
    RecordingProvider::serialize(&ignored);
    return static_cast<int>(blob.size());
  }

private:
  void* ignored = nullptr;
};

class ResamplerBlobTest : public ::testing::Test {
protected:
  int deserialize(const Bytes& blob, bool append = false)
  {
    const ExactBlock block(blob.data());
    return resampler->deserialize(block.data(), append);
  }

  support::Messages messages;
  Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(nullptr);
};

TEST_F(ResamplerBlobTest, WithoutInputIs13Bytes)
{
  EXPECT_EQ(Bytes().text("ARSM").u32be(0).u32be(0).u8(0).data(), serialized(*resampler));
  resampler->setSourceRate(0x12345678);
  EXPECT_EQ(Bytes().text("ARSM").u32be(0).u32be(0x12345678).u8(0).data(), serialized(*resampler));
  resampler->setSourceRate(-2);
  EXPECT_EQ(Bytes().text("ARSM").u32be(0).u32be(0xfffffffe).u8(0).data(), serialized(*resampler));
}

TEST_F(ResamplerBlobTest, FileInputStandsBehindThePresenceByte)
{
  const Owned<TovAudioFile> file = support::make<TovAudioFile>();
  file->setPlaybackRate(8000);
  file->setSrcIn(0.5);
  resampler->setInputProvider(file.get());
  resampler->setSourceRate(22050);
  EXPECT_EQ(resamplerHeader(22050, 1).append(fileBlob({"", 8000, 0.5, 0.0})).data(),
            serialized(*resampler));
  EXPECT_FALSE(support::isLockHeld(*resampler));
}

TEST_F(ResamplerBlobTest, MixerInputStandsBehindThePresenceByte)
{
  const Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
  mixer->setMasterGain(0.5f);
  resampler->setInputProvider(mixer.get());
  EXPECT_EQ(resamplerHeader(0, 1).append(mixerBlob(2, 0.5f, {})).data(), serialized(*resampler));
}

TEST_F(ResamplerBlobTest, ResamplerInputStandsBehindThePresenceByte)
{
  const Owned<TovAudioResampler> inner = support::make<TovAudioResampler>(nullptr);
  inner->setSourceRate(300);
  resampler->setInputProvider(inner.get());
  resampler->setSourceRate(400);
  EXPECT_EQ(resamplerHeader(400, 1).append(resamplerHeader(300, 0)).data(), serialized(*resampler));
}

TEST_F(ResamplerBlobTest, InputsBlobOfAnyLengthFits)
{
  const Owned<BlobProvider> input = support::make<BlobProvider>();
  resampler->setInputProvider(input.get());
  for (const unsigned int length : {1u, 142u, 143u, 144u, 243u, 256u, 8191u, 8292u, 100000u}) {
    input->blob = Bytes();
    for (unsigned int i = 0; i < length; ++i)
      input->blob.u8(i % 251);
    EXPECT_EQ(resamplerHeader(0, 1).append(input->blob).data(), serialized(*resampler));
  }
}

TEST_F(ResamplerBlobTest, InputWithoutBlobIsPresentAllTheSame)
{
  const Owned<BlobProvider> input = support::make<BlobProvider>();
  resampler->setInputProvider(input.get());
  resampler->setSourceRate(500);
  for (const int result : {0, -1, -1000}) {
    input->result = result;
    EXPECT_EQ(resamplerHeader(500, 1).data(), serialized(*resampler));
  }
}

TEST_F(ResamplerBlobTest, InputIsAskedForItsBlobUnderTheLock)
{
  const Owned<BlobProvider> input = support::make<BlobProvider>();
  input->blob.text("blob");
  input->watch(resampler.get());
  resampler->setInputProvider(input.get());
  serialized(*resampler);
  const auto calls = input->recording()->of(support::Operation::Serialize);
  ASSERT_EQ(1u, calls.size());
  EXPECT_TRUE(calls[0].watchedLockHeld);
  EXPECT_FALSE(calls[0].ownLockHeld);
}

TEST_F(ResamplerBlobTest, ReadingTakesTheSourceRate)
{
  for (const std::uint32_t rate : {0u, 200u, 44100u, 0x7fffffffu, 0xffffffffu}) {
    EXPECT_EQ(13, deserialize(resamplerHeader(rate, 0)));
    EXPECT_EQ(static_cast<int>(rate), resampler->getSourceRate());
    EXPECT_FALSE(support::isLockHeld(*resampler));
    EXPECT_EQ(resamplerHeader(rate, 0).data(), serialized(*resampler));
  }
}

TEST_F(ResamplerBlobTest, ReadingDoesNotNotify)
{
  support::Listener listener(*resampler);
  deserialize(resamplerHeader(200, 0));
  deserialize(Bytes().text("AFIL").zeros(40));
  EXPECT_EQ(0, listener.take());
}

TEST_F(ResamplerBlobTest, AnotherTagIsRejectedAndTheLockReleased)
{
  resampler->setSourceRate(8000);
  for (const char* tag : {"AFIL", "AMXR", "arsm", "ARSN", "XRSM"}) {
    EXPECT_EQ(-1, deserialize(Bytes().text(tag).u32be(0).u32be(1).u8(0)));
    EXPECT_FALSE(support::isLockHeld(*resampler));
  }
  EXPECT_EQ(8000, resampler->getSourceRate());
}

TEST_F(ResamplerBlobTest, AnotherVersionIsRejectedAndTheLockStaysHeld)
{
  for (const std::uint32_t version : {1u, 2u, 0x01000000u, 0xffffffffu}) {
    const Owned<TovAudioResampler> rejecting = support::make<TovAudioResampler>(nullptr);
    rejecting->setSourceRate(8000);
    const ExactBlock block(resamplerHeader(100, 0, version).data());
    EXPECT_EQ(-1, rejecting->deserialize(block.data(), false));
    EXPECT_TRUE(support::isLockHeld(*rejecting)) << version;
    rejecting->lockRelease();
    EXPECT_EQ(8000, rejecting->getSourceRate());
  }
}

TEST_F(ResamplerBlobTest, NoBlobIsRejectedAndTheLockReleased)
{
  resampler->setSourceRate(8000);
  EXPECT_EQ(-1, resampler->deserialize(nullptr, false));
  EXPECT_EQ(-1, resampler->deserializeBounded(nullptr, 0, true));
  EXPECT_FALSE(support::isLockHeld(*resampler));
  EXPECT_EQ(8000, resampler->getSourceRate());
}

TEST_F(ResamplerBlobTest, ResamplerWithTheLockLeftHeldCanBeDestroyed)
{
  const Owned<RecordingProvider> input = support::make<RecordingProvider>();
  resampler->setInputProvider(input.get());
  resampler->allocSampleBuffers(2, 100);
  {
    support::Listener listener(*resampler); // its removal must not wait either
    EXPECT_EQ(-1, deserialize(resamplerHeader(100, 0, 1)));
  }
  EXPECT_EQ(0, resampler.drop());
  EXPECT_EQ(1, support::referenceCount(*input));
}

TEST_F(ResamplerBlobTest, MixerCanLetGoOfAResamplerWithTheLockLeftHeld)
{
  Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
  mixer->addProvider(resampler.get());
  EXPECT_EQ(-1, deserialize(resamplerHeader(100, 0, 1)));
  EXPECT_EQ(0, mixer.drop());
  EXPECT_EQ(0, resampler.drop());
}

TEST_F(ResamplerBlobTest, ActivationStillWorksWithTheLockLeftHeld)
{
  const Owned<RecordingProvider> input = support::make<RecordingProvider>();
  input->setStatuses(3, 1, 0);
  resampler->setInputProvider(input.get());
  EXPECT_EQ(-1, deserialize(resamplerHeader(100, 0, 1)));
  EXPECT_EQ(3, resampler->activate(TovAudioContext(48000, 1, 24.0, 0.0)));
  EXPECT_EQ(1, resampler->deactivate());
}

TEST_F(ResamplerBlobTest, UnknownInputIsLeftUnread)
{
  for (const char* tag : {"ARSM", "XXXX", "afil", "AMXS"}) {
    EXPECT_EQ(13, deserialize(resamplerHeader(300, 1).text(tag)));
    EXPECT_EQ(300, resampler->getSourceRate());
    EXPECT_FALSE(support::isLockHeld(*resampler));
  }
}

TEST_F(ResamplerBlobTest, AnyPresenceByteBut0IsPresence)
{
  for (const unsigned int presence : {1u, 2u, 0x80u, 0xffu})
    EXPECT_EQ(13 + 29, deserialize(resamplerHeader(300, presence).append(fileBlob({}))));
  EXPECT_EQ(13, deserialize(resamplerHeader(300, 0).append(fileBlob({}))));
}

TEST_F(ResamplerBlobTest, FileInTheBlobIsBuiltButNotConnected)
{
  const Owned<RecordingProvider> input = support::make<RecordingProvider>();
  resampler->setInputProvider(input.get());
  EXPECT_EQ(13 + 29 + 15,
            deserialize(resamplerHeader(300, 1).append(fileBlob({"/no/missing.wav"}))));
  EXPECT_EQ((std::vector<std::string>{"E TovAudioFile: Could not read \"/no/missing.wav\"\n"}),
            messages.take());
  EXPECT_EQ(2, support::referenceCount(*input));
  EXPECT_EQ(resamplerHeader(300, 1).data(), serialized(*resampler));
  EXPECT_EQ(0, input->recording()->count(support::Operation::Deserialize));
}

TEST_F(ResamplerBlobTest, MixerInTheBlobIsReadWhole)
{
  const Bytes mixer = mixerBlob(2, 1.0f, {{.provider = fileBlob({})}, {.provider = fileBlob({})}});
  for (const bool append : {false, true}) {
    EXPECT_EQ(static_cast<int>(13 + mixer.size()),
              deserialize(resamplerHeader(300, 1).append(mixer), append));
  }
  EXPECT_EQ((std::vector<std::string>{}), messages.take());
}

TEST_F(ResamplerBlobTest, InputsResultIsAddedWhateverItIs)
{
  // A mixer of an unknown version consumes nothing; a file of one answers -1.
  EXPECT_EQ(13, deserialize(resamplerHeader(300, 1).append(mixerBlob(3, 1.0f, {}))));
  EXPECT_EQ(12, deserialize(resamplerHeader(300, 1).append(fileBlob({}, 1))));
  EXPECT_EQ(300, resampler->getSourceRate());
  EXPECT_FALSE(support::isLockHeld(*resampler));
}

TEST_F(ResamplerBlobTest, MixerInTheBlobReportsARejectedTrack)
{
  deserialize(resamplerHeader(300, 1).append(
      mixerBlob(2, 1.0f, {{.provider = Bytes().text("ARSM").zeros(40)}})));
  EXPECT_EQ((std::vector<std::string>{support::kBadAudioData}), messages.take());
  EXPECT_FALSE(support::isLockHeld(*resampler));
}

TEST_F(ResamplerBlobTest, ReadingIsIndependentOfAlignmentAndOfWhatFollows)
{
  const Bytes shifted =
      Bytes().u8(0xff).append(resamplerHeader(300, 1)).append(fileBlob({})).text("more");
  EXPECT_EQ(13 + 29, resampler->deserialize(shifted.data().data() + 1, false));
}

class BoundedResamplerBlobTest : public ResamplerBlobTest {
protected:
  /** The whole blob is read, and no prefix of it. */
  static constexpr std::size_t kHeaderBytes = 13;

  void expectWholeOnly(const Bytes& blob)
  {
    const std::vector<std::uint8_t>& bytes = blob.data();
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      const Owned<TovAudioResampler> reading = support::make<TovAudioResampler>(nullptr);
      const ExactBlock block(bytes, length);
      // An input that has no blob leaves none behind the presence byte.
      const int expected = length == kHeaderBytes ? static_cast<int>(kHeaderBytes) : -1;
      ASSERT_EQ(expected, reading->deserializeBounded(block.data(), length, length % 2 != 0))
          << length;
      ASSERT_FALSE(support::isLockHeld(*reading)) << length;
    }
    EXPECT_EQ(static_cast<int>(bytes.size()), readGuarded(bytes, bytes.size()));
  }

  int readGuarded(const std::vector<std::uint8_t>& bytes, std::size_t length)
  {
    support::GuardedBlock guarded(length, support::GuardedBlock::Tight::AtEnd);
    std::copy_n(bytes.begin(), length, static_cast<std::uint8_t*>(guarded.data()));
    guarded.forbidWriting();
    return resampler->deserializeBounded(guarded.data(), length, false);
  }
};

TEST_F(BoundedResamplerBlobTest, EveryPrefixWithoutInputIsRejected)
{
  expectWholeOnly(resamplerHeader(300, 0));
  EXPECT_EQ(300, resampler->getSourceRate());
}

TEST_F(BoundedResamplerBlobTest, EveryPrefixWithAFileIsRejected)
{
  expectWholeOnly(resamplerHeader(300, 1).append(fileBlob({"/no/missing.wav", 8000, 1.0, 2.0})));
}

TEST_F(BoundedResamplerBlobTest, EveryPrefixWithAMixerIsRejected)
{
  for (const std::uint32_t version : {0u, 1u, 2u}) {
    expectWholeOnly(resamplerHeader(300, 1).append(mixerBlob(
        version, 1.0f, {{.provider = fileBlob({"/no/a.wav"})}, {.provider = fileBlob({})}})));
  }
}

TEST_F(BoundedResamplerBlobTest, EveryByteChangeIsReadOrRejected)
{
  const Bytes track = mixerBlob(2, 1.0f, {{.provider = fileBlob({"/no/a.wav"})}});
  for (const Bytes& blob : {resamplerHeader(300, 1).append(track),
                            resamplerHeader(300, 1).append(fileBlob({"/no/a.wav"}))}) {
    for (std::size_t at = 0; at < blob.size(); ++at) {
      for (const int change : {0x01, 0x80, 0xff}) {
        std::vector<std::uint8_t> bytes = blob.data();
        bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ change);
        const ExactBlock block(bytes);
        const Owned<TovAudioResampler> reading = support::make<TovAudioResampler>(nullptr);
        const int result = reading->deserializeBounded(block.data(), block.size(), false);
        ASSERT_LE(result, static_cast<int>(block.size())) << at;
        if (at < 8) { // tag and version
          ASSERT_EQ(-1, result) << at;
        } else if (at < 12) { // the source rate
          ASSERT_EQ(static_cast<int>(block.size()), result) << at;
        }
        ASSERT_EQ(at >= 4 && at < 8, support::isLockHeld(*reading)) << at;
      }
    }
  }
}

TEST_F(BoundedResamplerBlobTest, EndlessNameIsRejected)
{
  const Bytes blob = resamplerHeader(300, 1).text("AFIL").u32be(0).text(std::string(100, 'n'));
  EXPECT_EQ(-1, readGuarded(blob.data(), blob.size()));
}

TEST_F(BoundedResamplerBlobTest, UnboundedFormReadsAWholeBlobInItsPlace)
{
  const Bytes blob =
      resamplerHeader(300, 1).append(mixerBlob(2, 1.0f, {{.provider = fileBlob({"/no/a.wav"})}}));
  support::GuardedBlock guarded(blob.size(), support::GuardedBlock::Tight::AtEnd);
  std::copy_n(blob.data().begin(), blob.size(), static_cast<std::uint8_t*>(guarded.data()));
  guarded.forbidWriting();
  EXPECT_EQ(static_cast<int>(blob.size()), resampler->deserialize(guarded.data(), false));
}

} // namespace
