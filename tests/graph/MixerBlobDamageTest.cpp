// Damaged "AMXR" blobs: what is said, what is left of the mixer, and that
// nothing outside the blob is read.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "tests/support/GuardedBlock.h"
#include "tests/support/LoadWatcher.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/Setting.h"
#include "tests/support/SettingsBlobs.h"

namespace {

using support::Bytes;
using support::ExactBlock;
using support::fileBlob;
using support::LoadWatcher;
using support::mixerBlob;
using support::Owned;
using support::serialized;

using Blob = std::vector<std::uint8_t>;

enum class Verdict { Good, Ignored, Rejected, CutShort };

struct Expected {
  Verdict verdict;
  int tracks;           ///< of a good blob
  std::size_t consumed; ///< of a good blob
};

/** What a blob is, told apart without the library. */
Expected judge(const Blob& blob)
{
  std::size_t at = 0;
  const auto number = [&](std::size_t bytes) -> std::optional<std::uint64_t> {
    if (blob.size() - at < bytes)
      return std::nullopt;
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i)
      value = value << 8 | blob[at++];
    return value;
  };
  const Expected cutShort = {Verdict::CutShort, 0, 0};
  const std::optional<std::uint64_t> tag = number(4);
  if (!tag)
    return cutShort;
  if (*tag != 0x414d5852) // AMXR
    return {Verdict::Ignored, 0, 0};
  const std::optional<std::uint64_t> version = number(4);
  if (!version)
    return cutShort;
  if (*version >= 3)
    return {Verdict::Ignored, 0, 0};
  number(4);
  const std::optional<std::uint64_t> count = number(2);
  if (!count)
    return cutShort;
  const std::size_t fixed = *version == 0 ? 28 : *version == 1 ? 36 : 38;
  for (std::uint64_t i = 0; i < *count; ++i) {
    if (blob.size() - at < fixed)
      return cutShort;
    at += fixed;
    const std::optional<std::uint64_t> fileTag = number(4);
    if (!fileTag)
      return cutShort;
    if (*fileTag != 0x4146494c) // AFIL
      return {Verdict::Rejected, 0, 0};
    const std::optional<std::uint64_t> fileVersion = number(4);
    if (!fileVersion)
      return cutShort;
    if (*fileVersion != 0)
      return {Verdict::Rejected, 0, 0};
    std::optional<std::uint64_t> character = 1;
    while (character && *character != 0)
      character = number(1);
    if (!character || blob.size() - at < 20)
      return cutShort;
    at += 20;
  }
  return {Verdict::Good, static_cast<int>(*count), at};
}

/** Three tracks: a missing file, no file, and a name without suffix. */
Blob sampleBlob(std::uint32_t version)
{
  return mixerBlob(
             version, 0.5f,
             {{.mute = 1, .gain = 2.0f, .provider = fileBlob({"/no/a.wav", 48000, 0.0, 1.0})},
              {.solo = 1, .startTime = 2.0, .provider = fileBlob({})},
              {.pan = 0.5f, .timeShift = 3.0, .provider = fileBlob({"/no/b", 8000, 0.5, 1.0})}})
      .data();
}

unsigned int below(std::mt19937& random, std::size_t limit)
{
  return static_cast<unsigned int>(random() % limit);
}

class MixerBlobDamageTest : public ::testing::Test {
protected:
  MixerBlobDamageTest() : mixer(TovAudioMixer::getMasterMixer()) {}

  ~MixerBlobDamageTest() override
  {
    mixer->clear();
    mixer->setMasterGain(1.0f);
  }

  /** A mixer with one track and a gain, as one that is being worked on. */
  void fillMixer()
  {
    mixer->initialize();
    mixer->addProvider(old.get());
    mixer->setGain(old.get(), 0.25f);
    mixer->setMasterGain(0.75f);
    before = serialized(*mixer);
  }

  /** The mixer, its messages and its callbacks after a load. */
  void expectOutcome(const Blob& blob, bool append, const std::vector<std::string>& events,
                     const std::string& what)
  {
    const Expected expected = judge(blob);
    const bool isBad =
        expected.verdict == Verdict::CutShort || expected.verdict == Verdict::Rejected;
    const bool isKept = append && expected.verdict != Verdict::Rejected;
    const int tracks = (isKept ? 1 : 0) + expected.tracks;
    ASSERT_EQ(LoadWatcher::oneLoad(tracks), events) << what;
    ASSERT_EQ(isBad ? 1 : 0, support::badDataMessages(messages.take())) << what;
    ASSERT_EQ(tracks, mixer->getNumTracks()) << what;
    ASSERT_FALSE(support::isLockHeld(*mixer)) << what;
    ASSERT_EQ(isKept ? 2 : 1, support::referenceCount(*old)) << what;
    if (expected.verdict == Verdict::Good)
      return;
    if (isKept) {
      ASSERT_EQ(before, serialized(*mixer)) << what;
    } else {
      ASSERT_EQ(mixerBlob(2, 1.0f, {}).data(), serialized(*mixer)) << what;
    }
  }

  void expectScriptOutcome(const Blob& blob, bool append, const std::string& what)
  {
    support::Setting addScript("gui.addScriptFlag", kTovIdInteger, "0");
    addScript.set(append ? "1" : "0");
    fillMixer();
    LoadWatcher watcher(*mixer);
    TovAudioMixer::loadAudioStatic(support::scriptText(blob).c_str());
    expectOutcome(blob, append, watcher.take(), what + (append ? " appended" : ""));
  }

  void expectBoundedOutcome(const Blob& blob, bool append, const std::string& what)
  {
    fillMixer();
    LoadWatcher watcher(*mixer);
    const ExactBlock block(blob);
    const int result = mixer->deserializeBounded(block.data(), block.size(), append);
    const Expected expected = judge(blob);
    if (expected.verdict != Verdict::Rejected) {
      ASSERT_EQ(static_cast<int>(expected.consumed), result) << what;
    }
    expectOutcome(blob, append, watcher.take(), what + (append ? " appended" : ""));
  }

  void expectBoth(const Blob& blob, bool append, const std::string& what)
  {
    expectScriptOutcome(blob, append, what + " through the script");
    if (!HasFatalFailure())
      expectBoundedOutcome(blob, append, what);
  }

  support::Messages messages;
  Owned<support::RecordingProvider> old = support::make<support::RecordingProvider>();
  Owned<TovAudioMixer> mixer;
  Blob before;
};

TEST_F(MixerBlobDamageTest, EveryPrefixIsRejected)
{
  for (const std::uint32_t version : {0u, 1u, 2u}) {
    const Blob blob = sampleBlob(version);
    for (std::size_t length = 1; length <= blob.size(); ++length) {
      const Blob prefix(blob.begin(), blob.begin() + static_cast<std::ptrdiff_t>(length));
      ASSERT_EQ(length == blob.size() ? Verdict::Good : Verdict::CutShort, judge(prefix).verdict);
      for (const bool append : {false, true}) {
        expectBoth(prefix, append, "length " + std::to_string(length));
        if (HasFatalFailure())
          return;
      }
    }
  }
}

TEST_F(MixerBlobDamageTest, BytesBehindTheLastRecordAreIgnored)
{
  for (const std::size_t more : {1u, 4u, 100u}) {
    Blob blob = sampleBlob(2);
    blob.resize(blob.size() + more, 'A');
    for (const bool append : {false, true})
      expectBoth(blob, append, std::to_string(more) + " more");
  }
}

TEST_F(MixerBlobDamageTest, EverySingleByteChangeIsTakenForWhatItIs)
{
  const bool isLong = std::getenv("TOV_TEST_LONG") != nullptr;
  std::mt19937 random(4501);
  for (const std::uint32_t version : {0u, 1u, 2u}) {
    const Blob blob = sampleBlob(version);
    for (std::size_t at = 0; at < blob.size(); ++at) {
      for (unsigned int change = 1; change < 256; change += isLong ? 1 : below(random, 80) + 20) {
        Blob changed = blob;
        changed[at] = static_cast<std::uint8_t>(changed[at] ^ change);
        expectBoth(changed, random() % 2 != 0,
                   "byte " + std::to_string(at) + " changed by " + std::to_string(change));
        if (HasFatalFailure())
          return;
      }
    }
  }
}

TEST_F(MixerBlobDamageTest, ChangedPrefixesAreTakenForWhatTheyAre)
{
  std::mt19937 random(4502);
  for (int i = 0; i < 1500; ++i) {
    Blob blob = sampleBlob(below(random, 3));
    blob.resize(random() % blob.size() + 1);
    for (unsigned int n = below(random, 3); n > 0; --n)
      blob[random() % blob.size()] = static_cast<std::uint8_t>(random());
    expectBoth(blob, random() % 2 != 0, "case " + std::to_string(i));
    if (HasFatalFailure())
      return;
  }
}

TEST_F(MixerBlobDamageTest, NothingOutsideTheBlobIsTouched)
{
  const Blob blob = sampleBlob(2);
  for (std::size_t length = 0; length <= blob.size(); ++length) {
    for (const auto tight :
         {support::GuardedBlock::Tight::AtStart, support::GuardedBlock::Tight::AtEnd}) {
      support::GuardedBlock guarded(length, tight);
      std::copy_n(blob.begin(), length, static_cast<std::uint8_t*>(guarded.data()));
      guarded.forbidWriting();
      EXPECT_EQ(length == blob.size() ? static_cast<int>(length) : 0,
                mixer->deserializeBounded(guarded.data(), length, false));
    }
  }
}

TEST_F(MixerBlobDamageTest, UnboundedFormReadsAWholeBlobInItsPlace)
{
  for (const Blob& blob :
       {sampleBlob(0), sampleBlob(1), sampleBlob(2), mixerBlob(2, 1.0f, {}).data(),
        Bytes().text("AMXR").u32be(3).data(), Bytes().text("AXXX").data(),
        mixerBlob(2, 1.0f, {{.provider = Bytes().text("XXXX")}}).data(),
        mixerBlob(2, 1.0f, {{.provider = Bytes().text("AFIL").u32be(1)}}).data()}) {
    support::GuardedBlock guarded(blob.size(), support::GuardedBlock::Tight::AtEnd);
    std::copy(blob.begin(), blob.end(), static_cast<std::uint8_t*>(guarded.data()));
    guarded.forbidWriting();
    for (const bool append : {false, true}) {
      fillMixer();
      LoadWatcher watcher(*mixer);
      mixer->deserialize(guarded.data(), append);
      expectOutcome(blob, append, watcher.take(), "unbounded");
    }
  }
}

TEST_F(MixerBlobDamageTest, RejectedTrackEmptiesTheMixerAlsoWhenAppending)
{
  const std::vector<Bytes> rejected = {
      Bytes().text("ARSM").zeros(40), Bytes().text("AMXR").zeros(40),
      fileBlob({"/no/c.wav"}, 1),     fileBlob({"/no/c.wav"}, 0x01000000),
      Bytes().text("XXXX"),           Bytes().text("AFIL").u32be(7)};
  for (const Bytes& provider : rejected) {
    for (const std::size_t position : {0u, 1u, 3u}) {
      std::vector<support::TrackSettings> tracks(4);
      for (support::TrackSettings& track : tracks)
        track.provider = fileBlob({});
      tracks[position].provider = provider;
      if (position == 3) { // whole records may follow as well as nothing
        tracks.push_back({.provider = fileBlob({})});
      }
      const Blob blob = mixerBlob(2, 3.0f, tracks).data();
      ASSERT_EQ(Verdict::Rejected, judge(blob).verdict);
      for (const bool append : {false, true})
        expectBoth(blob, append, "track " + std::to_string(position));
    }
  }
}

TEST_F(MixerBlobDamageTest, RecordsBehindARejectedTrackAreNotLookedAt)
{
  Bytes blob = support::mixerHeader(2, 1.0f, 65535);
  blob.zeros(38).text("AFIX");
  for (const bool append : {false, true})
    expectBoth(blob.data(), append, "65535 promised");
}

TEST_F(MixerBlobDamageTest, FilesBeforeARejectedTrackAreOpenedAndForgotten)
{
  const Blob blob = mixerBlob(2, 1.0f,
                              {{.provider = fileBlob({"/no/a.wav"})},
                               {.provider = fileBlob({"/no/b.wav"}, 1)},
                               {.provider = fileBlob({"/no/c.wav"})}})
                        .data();
  mixer->deserialize(blob.data(), true);
  EXPECT_EQ((std::vector<std::string>{"E TovAudioFile: Could not read \"/no/a.wav\"\n",
                                      support::kBadAudioData}),
            messages.take());
  EXPECT_EQ(0, mixer->getNumTracks());
}

TEST_F(MixerBlobDamageTest, BlobCutShortOpensNoFile)
{
  const Blob blob = sampleBlob(2);
  const ExactBlock block(blob, blob.size() - 1);
  EXPECT_EQ(0, mixer->deserializeBounded(block.data(), block.size(), true));
  EXPECT_EQ((std::vector<std::string>{support::kBadAudioData}), messages.take());
}

TEST_F(MixerBlobDamageTest, MixerFromARejectedBlobIsAsGoodAsNew)
{
  fillMixer();
  expectBoth(mixerBlob(2, 1.0f, {{.provider = fileBlob({}, 1)}}).data(), true, "rejected");
  EXPECT_EQ(0, mixer->addProvider(old.get()));
  EXPECT_EQ(0.0, mixer->getTimeShift(old.get()));
  const Blob good = sampleBlob(2);
  EXPECT_EQ(static_cast<int>(good.size()), mixer->deserialize(good.data(), true));
  EXPECT_EQ(4, mixer->getNumTracks());
}

TEST_F(MixerBlobDamageTest, PromisedTracksThatAreNotThereAreRejected)
{
  for (const unsigned int count : {1u, 2u, 65535u}) {
    expectBoth(support::mixerHeader(2, 1.0f, count).data(), false, std::to_string(count));
    expectBoth(support::mixerHeader(2, 1.0f, count).zeros(37).data(), true, std::to_string(count));
  }
}

TEST_F(MixerBlobDamageTest, EndlessNameIsRejected)
{
  Bytes blob = support::mixerHeader(2, 1.0f, 1);
  blob.zeros(38).text("AFIL").u32be(0).text(std::string(100000, 'n'));
  for (const bool append : {false, true})
    expectBoth(blob.data(), append, "endless name");
}

} // namespace
