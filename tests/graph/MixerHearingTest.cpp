// Which tracks mute and solo let be heard.

#include <gtest/gtest.h>

#include "graph/TovAudioMixer.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/Setting.h"

namespace {

using support::Operation;
using support::Owned;
using support::RecordingProvider;
using support::SoloOverridesMute;

class MixerHearingTest : public ::testing::Test {
protected:
  MixerHearingTest()
  {
    mixer->addProvider(a.get());
    mixer->addProvider(b.get());
  }

  void set(RecordingProvider* provider, bool mute, bool solo)
  {
    mixer->setMute(provider, mute);
    mixer->setSolo(provider, solo);
  }

  /** Whether the next request asks the input. */
  bool isAsked(RecordingProvider* provider)
  {
    support::Buffers buffers(2, 64);
    provider->recording()->clear();
    mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}),
                    TovAudioContext(1024, 1, 24.0, 0.0), 1.0, 1.0625);
    return provider->recording()->count(Operation::GetAudio) == 1;
  }

  Owned<RecordingProvider> a = support::make<RecordingProvider>();
  Owned<RecordingProvider> b = support::make<RecordingProvider>();
  Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
};

struct Row {
  bool mute;
  bool solo;
  bool otherSolo;
  bool heard;           ///< while mute wins
  bool heardOverridden; ///< while solo overrides mute
};

const Row kRows[] = {
    // mute   solo   other  heard  overridden
    {false, false, false, true, true},  {false, false, true, false, false},
    {false, true, false, true, true},   {false, true, true, true, true},
    {true, false, false, false, false}, {true, false, true, false, false},
    {true, true, false, false, true},   {true, true, true, false, true},
};

TEST_F(MixerHearingTest, FollowsTheTableOfMuteSoloAndTheSetting)
{
  for (const bool overridden : {false, true}) {
    const SoloOverridesMute setting(overridden ? "1" : "0");
    for (const Row& row : kRows) {
      for (const bool otherMute : {false, true}) {
        SCOPED_TRACE(::testing::Message()
                     << "mute " << row.mute << " solo " << row.solo << " other solo "
                     << row.otherSolo << " other mute " << otherMute << " override " << overridden);
        set(a.get(), row.mute, row.solo);
        set(b.get(), otherMute, row.otherSolo);
        EXPECT_EQ(row.solo || row.otherSolo, mixer->isSoloOn());
        const bool expected = overridden ? row.heardOverridden : row.heard;
        EXPECT_EQ(expected, mixer->isTrackHeard(mixer->getTrack(0)));
        EXPECT_EQ(expected, isAsked(a.get()));
      }
    }
  }
}

TEST_F(MixerHearingTest, MutedSoloSilencesEverythingWhileMuteWins)
{
  const SoloOverridesMute setting("0");
  set(a.get(), true, true);
  support::Buffers buffers(2, 64);
  EXPECT_EQ(5, mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}),
                               TovAudioContext(1024, 1, 24.0, 0.0), 1.0, 1.0625));
  EXPECT_TRUE(buffers.untouched());
}

TEST_F(MixerHearingTest, MuteWinsWhereTheHostSetNothing)
{
  SoloOverridesMute setting("1");
  setting.set(nullptr);
  set(a.get(), true, true);
  EXPECT_FALSE(mixer->isTrackHeard(mixer->getTrack(0)));
}

TEST_F(MixerHearingTest, SettingIsReadAsAnIntegerAtEveryRequest)
{
  SoloOverridesMute setting("0");
  set(a.get(), true, true);
  EXPECT_FALSE(isAsked(a.get()));
  for (const char* on : {"1", "2", "-1", "1.5"}) {
    setting.set(on);
    EXPECT_TRUE(isAsked(a.get())) << on;
    EXPECT_TRUE(mixer->isTrackHeard(mixer->getTrack(0))) << on;
  }
  for (const char* off : {"0", "0.9", "text", ""}) {
    setting.set(off);
    EXPECT_FALSE(isAsked(a.get())) << off;
    EXPECT_FALSE(mixer->isTrackHeard(mixer->getTrack(0))) << off;
  }
}

TEST_F(MixerHearingTest, SoloOnLooksAtEveryTrack)
{
  EXPECT_FALSE(mixer->isSoloOn());
  mixer->setSolo(b.get(), true);
  EXPECT_TRUE(mixer->isSoloOn());
  mixer->removeProvider(b.get());
  EXPECT_FALSE(mixer->isSoloOn());
}

} // namespace
