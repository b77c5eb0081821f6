// "AMXR" blobs of every version, built byte by byte, and those of none.

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
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

/** One track with every number another. */
Bytes blobOfVersion(std::uint32_t version)
{
  Bytes blob;
  blob.text("AMXR").u32be(version).f32be(0.75f).u16be(1);
  if (version == 2)
    blob.u8(1).u8(1);
  blob.f32be(0.5f).f32be(0.25f).f32be(-0.125f).f64be(1.5).f64be(2.5);
  if (version > 0)
    blob.f64be(3.5);
  return blob.text("AFIL").u32be(0).u8(0).u32be(8000).f64be(4.5).f64be(5.5);
}

class MixerBlobVersionsTest : public ::testing::Test {
protected:
  /** Both forms must do the same; the last one's outcome stays. */
  void expectRead(const Bytes& blob, int result, int tracks, bool append = false)
  {
    const ExactBlock block(blob.data());
    for (const bool isBounded : {true, false}) {
      LoadWatcher watcher(*mixer);
      EXPECT_EQ(result, isBounded ? mixer->deserializeBounded(block.data(), block.size(), append)
                                  : mixer->deserialize(block.data(), append));
      EXPECT_EQ(LoadWatcher::oneLoad(tracks), watcher.take());
      EXPECT_EQ(0, support::badDataMessages(messages.take()));
      EXPECT_FALSE(support::isLockHeld(*mixer));
    }
  }

  void fillMixer()
  {
    mixer->clear();
    mixer->addProvider(old.get());
    mixer->setMasterGain(0.5f);
  }

  support::Messages messages;
  Owned<support::RecordingProvider> old = support::make<support::RecordingProvider>();
  Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
};

TEST_F(MixerBlobVersionsTest, LengthsOfTheRecords)
{
  EXPECT_EQ(14u + 28u + 29u, blobOfVersion(0).size());
  EXPECT_EQ(14u + 36u + 29u, blobOfVersion(1).size());
  EXPECT_EQ(14u + 38u + 29u, blobOfVersion(2).size());
  EXPECT_EQ(14u + 36u + 29u, mixerBlob(1, 1.0f, {{.provider = fileBlob({})}}).size());
}

TEST_F(MixerBlobVersionsTest, EachVersionIsRead)
{
  for (const std::uint32_t version : {0u, 1u, 2u}) {
    const Bytes blob = blobOfVersion(version);
    expectRead(blob, static_cast<int>(blob.size()), 1);
    EXPECT_EQ(0.75f, mixer->getMasterGain());
    const TovAudioTrack* const track = mixer->getTrack(0);
    EXPECT_EQ(version == 2, track->getMute());
    EXPECT_EQ(version == 2, track->getSolo());
    EXPECT_EQ(0.5f, track->getGain());
    EXPECT_EQ(0.25f, track->getPan());
    EXPECT_EQ(-0.125f, track->getWide());
    EXPECT_EQ(1.5, track->getStartTime());
    EXPECT_EQ(2.5, track->getEndTime());
    EXPECT_EQ(version == 0 ? 0.0 : 3.5, track->getTimeShift());
    const TovAudioFile* const file = dynamic_cast<TovAudioFile*>(track->getProvider());
    ASSERT_NE(nullptr, file);
    EXPECT_EQ(8000, file->getPlaybackRate());
    EXPECT_EQ(4.5, file->getSrcIn());
    EXPECT_EQ(5.5, file->getSrcOut());
  }
}

TEST_F(MixerBlobVersionsTest, EachVersionIsWrittenAsVersion2)
{
  for (const std::uint32_t version : {0u, 1u}) {
    mixer->deserialize(blobOfVersion(version).data().data(), false);
    EXPECT_EQ(Bytes()
                  .text("AMXR")
                  .u32be(2)
                  .f32be(0.75f)
                  .u16be(1)
                  .u8(0)
                  .u8(0)
                  .f32be(0.5f)
                  .f32be(0.25f)
                  .f32be(-0.125f)
                  .f64be(1.5)
                  .f64be(2.5)
                  .f64be(version == 0 ? 0.0 : 3.5)
                  .text("AFIL")
                  .u32be(0)
                  .u8(0)
                  .u32be(8000)
                  .f64be(4.5)
                  .f64be(5.5)
                  .data(),
              serialized(*mixer));
  }
  mixer->deserialize(blobOfVersion(2).data().data(), false);
  EXPECT_EQ(blobOfVersion(2).data(), serialized(*mixer));
}

TEST_F(MixerBlobVersionsTest, SeveralTracksOfEachVersion)
{
  for (const std::uint32_t version : {0u, 1u, 2u}) {
    std::vector<support::TrackSettings> tracks;
    for (int i = 0; i < 20; ++i) {
      tracks.push_back({.gain = static_cast<float>(i) / 4.0f,
                        .startTime = i * 1.0,
                        .timeShift = i * 2.0,
                        .provider = fileBlob({std::string(static_cast<std::size_t>(i), '/')})});
    }
    const Bytes blob = mixerBlob(version, 1.0f, tracks);
    expectRead(blob, static_cast<int>(blob.size()), 20);
    if (version == 0) {
      for (support::TrackSettings& track : tracks)
        track.timeShift = 0.0;
    }
    EXPECT_EQ(mixerBlob(2, 1.0f, tracks).data(), serialized(*mixer));
  }
}

TEST_F(MixerBlobVersionsTest, StoredTimesReplaceTheTimelineFrameOfANewTrack)
{
  const support::FramesPerSecond fps("10");
  mixer->deserialize(blobOfVersion(0).data().data(), false);
  EXPECT_EQ(1.5, mixer->getTrack(0)->getStartTime());
  EXPECT_EQ(2.5, mixer->getTrack(0)->getEndTime());
}

TEST_F(MixerBlobVersionsTest, Version3AndLaterEmptyTheMixerSilently)
{
  for (const std::uint32_t version : {3u, 4u, 0x02000000u, 0x80000000u, 0xffffffffu}) {
    fillMixer();
    expectRead(Bytes().text("AMXR").u32be(version), 0, 0);
    EXPECT_EQ(1.0f, mixer->getMasterGain());
    EXPECT_EQ(1, support::referenceCount(*old));
  }
}

TEST_F(MixerBlobVersionsTest, AnotherTagEmptiesTheMixerSilently)
{
  for (const char* tag : {"AFIL", "ARSM", "amxr", "AMXS", "XMXR"}) {
    fillMixer();
    expectRead(Bytes().text(tag), 0, 0);
    EXPECT_EQ(1.0f, mixer->getMasterGain());
  }
}

TEST_F(MixerBlobVersionsTest, NoBlobEmptiesTheMixerSilently)
{
  fillMixer();
  LoadWatcher watcher(*mixer);
  EXPECT_EQ(0, mixer->deserialize(nullptr, false));
  EXPECT_EQ(LoadWatcher::oneLoad(0), watcher.take());
  EXPECT_EQ(1.0f, mixer->getMasterGain());
  EXPECT_EQ((std::vector<std::string>{}), messages.take());
}

TEST_F(MixerBlobVersionsTest, AppendingWhatIsIgnoredChangesNothing)
{
  fillMixer();
  const std::vector<std::uint8_t> before = serialized(*mixer);
  expectRead(Bytes().text("AMXR").u32be(3), 0, 1, true);
  expectRead(Bytes().text("XXXX"), 0, 1, true);
  LoadWatcher watcher(*mixer);
  EXPECT_EQ(0, mixer->deserialize(nullptr, true));
  EXPECT_EQ(LoadWatcher::oneLoad(1), watcher.take());
  EXPECT_EQ(before, serialized(*mixer));
}

TEST_F(MixerBlobVersionsTest, EmptyMixKeepsItsMasterGain)
{
  fillMixer();
  expectRead(mixerBlob(1, 3.0f, {}), 14, 0);
  EXPECT_EQ(3.0f, mixer->getMasterGain());
}

} // namespace
