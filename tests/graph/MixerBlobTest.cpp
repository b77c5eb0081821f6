// The "AMXR" blob of the mixer: what is written, and what becomes of it.

#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "tests/graph/GeneratedFile.h"
#include "tests/support/Buffers.h"
#include "tests/support/Listener.h"
#include "tests/support/LoadWatcher.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/SettingsBlobs.h"

namespace {

using support::Bytes;
using support::ExactBlock;
using support::fileBlob;
using support::LoadWatcher;
using support::mixerBlob;
using support::Owned;
using support::RecordingProvider;
using support::serialized;

using Lines = std::vector<std::string>;

class MixerBlobTest : public ::testing::Test {
protected:
  int deserialize(const Bytes& blob, bool append = false)
  {
    const ExactBlock block(blob.data());
    return mixer->deserialize(block.data(), append);
  }

  TovAudioFile* file(int track)
  {
    return dynamic_cast<TovAudioFile*>(mixer->getTrack(track)->getProvider());
  }

  support::Messages messages;
  Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
};

TEST_F(MixerBlobTest, EmptyMixerIs14Bytes)
{
  EXPECT_EQ(Bytes().text("AMXR").u32be(2).u8(0x3f).u8(0x80).u8(0).u8(0).u16be(0).data(),
            serialized(*mixer));
  mixer->setMasterGain(0.3f);
  EXPECT_EQ(Bytes().text("AMXR").u32be(2).f32be(0.3f).u16be(0).data(), serialized(*mixer));
}

TEST_F(MixerBlobTest, TrackIs38BytesAndItsProvidersBlob)
{
  const Owned<TovAudioFile> input = support::make<TovAudioFile>();
  mixer->addProvider(input.get());
  mixer->setMute(input.get(), true);
  mixer->setGain(input.get(), 0.25f);
  mixer->setPan(input.get(), -0.5f);
  mixer->setWide(input.get(), 0.75f);
  mixer->setStartTime(input.get(), 1.1);
  mixer->setEndTime(input.get(), 2.2);
  mixer->setTimeShift(input.get(), -3.3);
  input->setPlaybackRate(22050);
  EXPECT_EQ(Bytes()
                .text("AMXR")
                .u32be(2)
                .f32be(1.0f)
                .u16be(1)
                .u8(1)
                .u8(0)
                .f32be(0.25f)
                .f32be(-0.5f)
                .f32be(0.75f)
                .f64be(1.1)
                .f64be(2.2)
                .f64be(-3.3)
                .text("AFIL")
                .u32be(0)
                .u8(0)
                .u32be(22050)
                .f64be(0.0)
                .f64be(0.0)
                .data(),
            serialized(*mixer));
  mixer->setMute(input.get(), false);
  mixer->setSolo(input.get(), true);
  const std::vector<std::uint8_t> blob = serialized(*mixer);
  EXPECT_EQ(0, blob[14]);
  EXPECT_EQ(1, blob[15]);
}

TEST_F(MixerBlobTest, TracksStandInTheirOrder)
{
  std::vector<Owned<TovAudioFile>> inputs;
  Bytes expected = support::mixerHeader(2, 1.0f, 300);
  for (std::uint32_t i = 0; i < 300; ++i) { // far beyond any first allocation
    inputs.push_back(support::make<TovAudioFile>());
    inputs.back()->setPlaybackRate(static_cast<int>(1000 + i));
    mixer->addProvider(inputs.back().get());
    expected.zeros(2).f32be(1.0f).f32be(0.0f).f32be(1.0f).f64be(1.0 / 24.0).f64be(1.0 / 24.0);
    expected.f64be(0.0).append(fileBlob({"", 1000 + i, 0.0, 0.0}));
  }
  EXPECT_EQ(expected.data(), serialized(*mixer));
}

TEST_F(MixerBlobTest, LongNamesFit)
{
  const Owned<TovAudioFile> input = support::make<TovAudioFile>();
  for (const std::size_t length : {8000u, 8050u, 8110u, 8192u, 16000u, 200000u}) {
    const std::string name(length, 'n');
    mixer->clear();
    input->initialize(name.c_str());
    for (int i = 0; i < 3; ++i)
      mixer->addProvider(input.get());
    const double frame = 1.0 / 24.0;
    const support::TrackSettings track = {
        .startTime = frame, .endTime = frame, .provider = fileBlob({name, 44100, 0.0, 0.0})};
    EXPECT_EQ(mixerBlob(2, 1.0f, {track, track, track}).data(), serialized(*mixer));
  }
}

TEST_F(MixerBlobTest, WhateverTheInputsGiveIsEmbedded)
{
  const Owned<RecordingProvider> silent = support::make<RecordingProvider>();
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(nullptr);
  mixer->addProvider(silent.get());
  mixer->addProvider(resampler.get());
  const double frame = 1.0 / 24.0;
  EXPECT_EQ(
      mixerBlob(
          2, 1.0f,
          {{.startTime = frame, .endTime = frame},
           {.startTime = frame, .endTime = frame, .provider = support::resamplerHeader(0, 0)}})
          .data(),
      serialized(*mixer));
}

TEST_F(MixerBlobTest, WritingHoldsTheLockAndDoesNotNotify)
{
  const Owned<RecordingProvider> input = support::make<RecordingProvider>();
  input->watch(mixer.get());
  mixer->addProvider(input.get());
  LoadWatcher watcher(*mixer);
  serialized(*mixer);
  const auto calls = input->recording()->of(support::Operation::Serialize);
  ASSERT_EQ(1u, calls.size());
  EXPECT_TRUE(calls[0].watchedLockHeld);
  EXPECT_FALSE(calls[0].ownLockHeld);
  EXPECT_FALSE(support::isLockHeld(*mixer));
  EXPECT_EQ(Lines{}, watcher.take());
}

TEST_F(MixerBlobTest, ReadingAndWritingTakeTheLock)
{
  const Bytes blob = mixerBlob(2, 1.0f, {});
  EXPECT_TRUE(support::waitsForLock(*mixer, [&] { serialized(*mixer); }));
  EXPECT_TRUE(
      support::waitsForLock(*mixer, [&] { mixer->deserialize(blob.data().data(), false); }));
  EXPECT_TRUE(support::waitsForLock(
      *mixer, [&] { mixer->deserializeBounded(blob.data().data(), blob.size(), false); }));
  EXPECT_TRUE(support::waitsForLock(*mixer, [&] { mixer->deserialize(nullptr, true); }));
}

TEST_F(MixerBlobTest, TrackCountIsWrittenModulo65536)
{
  std::vector<Owned<TovAudioFile>> inputs;
  for (int i = 0; i < 65537; ++i) {
    inputs.push_back(support::make<TovAudioFile>());
    mixer->addProvider(inputs.back().get());
  }
  const std::vector<std::uint8_t> blob = serialized(*mixer);
  EXPECT_EQ(14u + 65537u * 67u, blob.size());
  EXPECT_EQ(Bytes().u16be(1).data(),
            (std::vector<std::uint8_t>{blob.begin() + 12, blob.begin() + 14}));
  EXPECT_EQ(14 + 67, mixer->deserialize(blob.data(), false));
  EXPECT_EQ(1, mixer->getNumTracks());
}

TEST_F(MixerBlobTest, ReadingSetsEverything)
{
  const support::TempFolder folder;
  const std::string path = writeRamp(folder, "a", Container::Wav, 1, 1024, 512);
  const Bytes blob = mixerBlob(2, 0.625f,
                               {{.mute = 1,
                                 .gain = 7.5f,
                                 .pan = 0.5f,
                                 .wide = -0.5f,
                                 .startTime = 10.25,
                                 .endTime = 20.5,
                                 .timeShift = 30.125,
                                 .provider = fileBlob({path, 2048, 0.125, 0.25})},
                                {.solo = 1, .provider = fileBlob({})}});
  LoadWatcher watcher(*mixer);
  EXPECT_EQ(static_cast<int>(blob.size()), deserialize(blob));
  EXPECT_EQ(LoadWatcher::oneLoad(2), watcher.take());
  EXPECT_EQ(Lines{}, messages.take());
  EXPECT_FALSE(support::isLockHeld(*mixer));
  EXPECT_EQ(0.625f, mixer->getMasterGain());
  ASSERT_EQ(2, mixer->getNumTracks());
  const TovAudioTrack* const track = mixer->getTrack(0);
  EXPECT_TRUE(track->getMute());
  EXPECT_FALSE(track->getSolo());
  EXPECT_EQ(7.5f, track->getGain());
  EXPECT_EQ(0.5f, track->getPan());
  EXPECT_EQ(-0.5f, track->getWide());
  EXPECT_EQ(10.25, track->getStartTime());
  EXPECT_EQ(20.5, track->getEndTime());
  EXPECT_EQ(30.125, track->getTimeShift());
  EXPECT_FALSE(mixer->getTrack(1)->getMute());
  EXPECT_TRUE(mixer->getTrack(1)->getSolo());
  ASSERT_NE(nullptr, file(0));
  ASSERT_NE(nullptr, file(1));
  EXPECT_EQ(path, file(0)->getFileName());
  EXPECT_EQ(0, file(0)->hasError());
  EXPECT_EQ(2048, file(0)->getPlaybackRate());
  EXPECT_EQ(0.125, file(0)->getSrcIn());
  EXPECT_EQ(0.25, file(0)->getSrcOut());
  EXPECT_EQ(1, support::referenceCount(*file(0)));
  EXPECT_EQ(blob.data(), serialized(*mixer));
}

TEST_F(MixerBlobTest, LoadedTracksAreHeard)
{
  const support::TempFolder folder;
  const std::string path = writeRamp(folder, "a", Container::Wav, 1, 1024, 512);
  deserialize(mixerBlob(2, 1.0f, {{.provider = fileBlob({path, 1024, 0.0, 0.5})}}));
  const TovAudioContext context(1024, 1, 24.0, 0.0);
  EXPECT_EQ(0, mixer->activate(context));
  support::Buffers buffers(2, 64);
  EXPECT_EQ(0, mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}), context, 0.25,
                               0.25 + 64.0 / 1024.0));
  EXPECT_EQ(ramp(256, 64), buffers.samples(0));
}

TEST_F(MixerBlobTest, MixerSubscribesToTheFilesItMakes)
{
  deserialize(mixerBlob(2, 1.0f, {{.provider = fileBlob({})}, {.provider = fileBlob({})}}));
  support::Listener listener(*mixer);
  file(0)->setSrcIn(1.0);
  file(1)->setSrcIn(1.0);
  EXPECT_EQ(2, listener.take());
  EXPECT_TRUE(listener.lockWasFree());
}

TEST_F(MixerBlobTest, MixerUnsubscribesFromWhatALoadReplaces)
{
  deserialize(mixerBlob(2, 1.0f, {{.provider = fileBlob({})}}));
  TovAudioFile* const old = file(0);
  old->reference();
  deserialize(mixerBlob(2, 1.0f, {}));
  EXPECT_EQ(1, support::referenceCount(*old));
  support::Listener listener(*mixer);
  old->setSrcIn(1.0);
  EXPECT_EQ(0, listener.take());
  old->dereference();
}

TEST_F(MixerBlobTest, LevelsAreClampedAndTheMasterGainIsNot)
{
  constexpr float infinity = std::numeric_limits<float>::infinity();
  struct Case {
    float gain, pan, wide, readGain, readPan, readWide;
  };
  for (const Case& c :
       {Case{20.0f, 2.0f, 3.0f, 8.0f, 1.0f, 1.0f}, Case{-1.0f, -2.0f, -1.5f, 0.0f, -1.0f, -1.0f},
        Case{infinity, infinity, -infinity, 8.0f, 1.0f, -1.0f},
        Case{8.0f, 1.0f, -1.0f, 8.0f, 1.0f, -1.0f}, Case{-0.0f, -0.0f, 0.0f, -0.0f, -0.0f, 0.0f}}) {
    deserialize(mixerBlob(
        2, 20.0f, {{.gain = c.gain, .pan = c.pan, .wide = c.wide, .provider = fileBlob({})}}));
    EXPECT_EQ(c.readGain, mixer->getTrack(0)->getGain());
    EXPECT_EQ(c.readPan, mixer->getTrack(0)->getPan());
    EXPECT_EQ(c.readWide, mixer->getTrack(0)->getWide());
    EXPECT_EQ(20.0f, mixer->getMasterGain());
  }
  for (const float gain : {-5.0f, infinity, 1e30f}) {
    deserialize(mixerBlob(2, gain, {}));
    EXPECT_EQ(gain, mixer->getMasterGain());
  }
}

TEST_F(MixerBlobTest, NumbersKeepTheirBits)
{
  const float nan = std::bit_cast<float>(0x7fc12345u);
  const Bytes blob = mixerBlob(2, nan,
                               {{.gain = nan,
                                 .pan = nan,
                                 .wide = nan,
                                 .startTime = std::bit_cast<double>(0x7ff4000000000123u),
                                 .endTime = -0.0,
                                 .timeShift = -std::numeric_limits<double>::infinity(),
                                 .provider = fileBlob({"", 0xffffffff, -1e300, 5e-324})}});
  deserialize(blob);
  EXPECT_EQ(blob.data(), serialized(*mixer));
}

TEST_F(MixerBlobTest, AnyFlagBut0IsTrue)
{
  for (const unsigned int flag : {1u, 2u, 0x80u, 0xffu}) {
    deserialize(mixerBlob(2, 1.0f, {{.mute = flag, .solo = flag, .provider = fileBlob({})}}));
    EXPECT_TRUE(mixer->getTrack(0)->getMute());
    EXPECT_TRUE(mixer->getTrack(0)->getSolo());
    EXPECT_EQ(mixerBlob(2, 1.0f, {{.mute = 1, .solo = 1, .provider = fileBlob({})}}).data(),
              serialized(*mixer));
  }
}

TEST_F(MixerBlobTest, ReadingReplacesWhatIsThere)
{
  const Owned<RecordingProvider> old = support::make<RecordingProvider>();
  mixer->addProvider(old.get());
  mixer->setMasterGain(0.5f);
  deserialize(mixerBlob(2, 2.0f, {{.gain = 3.0f, .provider = fileBlob({})}}));
  EXPECT_EQ(1, mixer->getNumTracks());
  EXPECT_EQ(3.0f, mixer->getTrack(0)->getGain());
  EXPECT_EQ(2.0f, mixer->getMasterGain());
  EXPECT_EQ(1, support::referenceCount(*old));
}

TEST_F(MixerBlobTest, AppendingKeepsTracksAndMasterGain)
{
  const Owned<RecordingProvider> old = support::make<RecordingProvider>();
  mixer->addProvider(old.get());
  mixer->setMasterGain(0.5f);
  mixer->setGain(old.get(), 0.125f);
  const TovAudioTrack* const track = mixer->getTrack(0);
  LoadWatcher watcher(*mixer);
  const Bytes blob = mixerBlob(
      2, 2.0f,
      {{.gain = 3.0f, .provider = fileBlob({})}, {.gain = 4.0f, .provider = fileBlob({})}});
  EXPECT_EQ(static_cast<int>(blob.size()), deserialize(blob, true));
  EXPECT_EQ(LoadWatcher::oneLoad(3), watcher.take());
  ASSERT_EQ(3, mixer->getNumTracks());
  EXPECT_EQ(track, mixer->getTrack(0));
  EXPECT_EQ(0.125f, mixer->getTrack(0)->getGain());
  EXPECT_EQ(3.0f, mixer->getTrack(1)->getGain());
  EXPECT_EQ(4.0f, mixer->getTrack(2)->getGain());
  EXPECT_EQ(0.5f, mixer->getMasterGain());
}

TEST_F(MixerBlobTest, EveryTrackGetsAFileWhateverItWasMadeOf)
{
  // An input that writes a file's blob is a file after the load.
  struct Imitator : RecordingProvider {
    int serialize(void** out) override
    {
      const Bytes blob = fileBlob({"", 4711, 0.0, 0.0});
      unsigned char* const copy = new unsigned char[blob.size()];
      std::copy(blob.data().begin(), blob.data().end(), copy);
      *out = copy;
      return static_cast<int>(blob.size());
    }
  };
  const Owned<Imitator> input = support::make<Imitator>();
  mixer->addProvider(input.get());
  const std::vector<std::uint8_t> blob = serialized(*mixer);
  EXPECT_EQ(static_cast<int>(blob.size()), mixer->deserialize(blob.data(), false));
  ASSERT_NE(nullptr, file(0));
  EXPECT_EQ(4711, file(0)->getPlaybackRate());
}

TEST_F(MixerBlobTest, FilesThatAreNotThereKeepEntryNameAndSettings)
{
  const Bytes blob = mixerBlob(2, 1.0f,
                               {{.gain = 0.5f,
                                 .startTime = 3.0,
                                 .provider = fileBlob({"/no/such/voice.wav", 48000, 1.0, 2.0})},
                                {.provider = fileBlob({"/no/such/notes.txt", 32000, 0.5, 0.75})}});
  EXPECT_EQ(static_cast<int>(blob.size()), deserialize(blob));
  EXPECT_EQ((Lines{"E TovAudioFile: Could not read \"/no/such/voice.wav\"\n",
                   "E TovAudioFile: \"/no/such/notes.txt\" : unknown audio file type\n"}),
            messages.take());
  ASSERT_EQ(2, mixer->getNumTracks());
  EXPECT_EQ(1, file(0)->hasError());
  EXPECT_STREQ("/no/such/voice.wav", file(0)->getFileName());
  EXPECT_STREQ("/no/such/notes.txt", file(1)->getFileName());
  EXPECT_EQ(48000, file(0)->getPlaybackRate());
  EXPECT_EQ(2.0, file(0)->getSrcOut());
  EXPECT_EQ(blob.data(), serialized(*mixer));
}

TEST_F(MixerBlobTest, ReadingIsIndependentOfAlignmentAndOfWhatFollows)
{
  const Bytes blob = mixerBlob(2, 0.5f, {{.gain = 3.0f, .provider = fileBlob({})}});
  const Bytes shifted = Bytes().u8(0xff).append(blob).text("more behind it");
  EXPECT_EQ(static_cast<int>(blob.size()), mixer->deserialize(shifted.data().data() + 1, false));
  EXPECT_EQ(blob.data(), serialized(*mixer));
  EXPECT_EQ(static_cast<int>(blob.size()),
            mixer->deserializeBounded(shifted.data().data() + 1, shifted.size() - 1, false));
  EXPECT_EQ(blob.data(), serialized(*mixer));
}

TEST_F(MixerBlobTest, CallbackComesBeforeTheNotificationWhereSlidingHasItAfter)
{
  deserialize(mixerBlob(2, 1.0f, {{.provider = fileBlob({})}}));
  LoadWatcher watcher(*mixer);
  mixer->deserialize(nullptr, true);
  EXPECT_EQ((Lines{"callback 1", "notification 1"}), watcher.take());
  mixer->slideAll(1.0);
  EXPECT_EQ((Lines{"notification 1", "callback 1"}), watcher.take());
}

TEST_F(MixerBlobTest, CallbackMayUseTheMixer)
{
  struct Caller {
    TovAudioMixer& mixer;
    std::vector<std::uint8_t> saved;
    static void call(void* self)
    {
      Caller& caller = *static_cast<Caller*>(self);
      caller.mixer.setMasterGain(0.75f);
      caller.saved = serialized(caller.mixer);
    }
  } caller{*mixer, {}};
  mixer->setDeserializeCallback(Caller::call, &caller);
  deserialize(mixerBlob(2, 0.5f, {{.provider = fileBlob({})}}));
  EXPECT_EQ(mixerBlob(2, 0.75f, {{.provider = fileBlob({})}}).data(), caller.saved);
}

TEST_F(MixerBlobTest, WithoutCallbackALoadJustNotifies)
{
  support::Listener listener(*mixer);
  deserialize(mixerBlob(2, 1.0f, {}));
  EXPECT_EQ(1, listener.take());
  EXPECT_TRUE(listener.lockWasFree());
}

} // namespace
