// One track: its defaults, clamps and copies, and the reference it holds.

#include <cmath>
#include <limits>
#include <memory>
#include <type_traits>

#include <gtest/gtest.h>

#include "graph/TovAudioTrack.h"
#include "tests/support/Listener.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/Setting.h"

namespace {

using support::FramesPerSecond;
using support::Operation;
using support::Owned;
using support::RecordingProvider;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

static_assert(std::has_virtual_destructor_v<TovAudioTrack>);

class TrackTest : public ::testing::Test {
protected:
  Owned<RecordingProvider> provider = support::make<RecordingProvider>();
};

double startOfNewTrack(RecordingProvider& provider)
{
  const TovAudioTrack track(&provider);
  EXPECT_EQ(track.getStartTime(), track.getEndTime());
  return track.getStartTime();
}

TEST_F(TrackTest, HoldsAReferenceToItsProviderWhileItLives)
{
  {
    const TovAudioTrack track(provider.get());
    EXPECT_EQ(provider.get(), track.getProvider());
    EXPECT_EQ(2, support::referenceCount(*provider));
  }
  EXPECT_EQ(1, support::referenceCount(*provider));
}

TEST_F(TrackTest, KeepsItsProviderAliveByItself)
{
  const std::shared_ptr<support::Recording> recording = provider->recording();
  std::unique_ptr<TovAudioTrack> track = std::make_unique<TovAudioTrack>(provider.get());
  EXPECT_EQ(1, provider.drop());
  EXPECT_FALSE(recording->isDestroyed());
  track.reset();
  EXPECT_TRUE(recording->isDestroyed());
}

TEST_F(TrackTest, StartsWithTheDefaults)
{
  const TovAudioTrack track(provider.get());
  EXPECT_FALSE(track.getMute());
  EXPECT_FALSE(track.getSolo());
  EXPECT_EQ(1.0f, track.getGain());
  EXPECT_EQ(0.0f, track.getPan());
  EXPECT_EQ(1.0f, track.getWide());
  EXPECT_EQ(0.0, track.getTimeShift());
}

TEST_F(TrackTest, StartsOneTimelineFrameInWithoutAnEnd)
{
  EXPECT_EQ(1.0 / 24.0, startOfNewTrack(*provider)); // the host core's own default
  FramesPerSecond frames("30");
  EXPECT_EQ(1.0 / 30.0, startOfNewTrack(*provider));
  frames.set("29.97");
  EXPECT_EQ(1.0 / static_cast<double>(29.97f), startOfNewTrack(*provider));
  frames.set("0.5");
  EXPECT_EQ(2.0, startOfNewTrack(*provider));
}

TEST_F(TrackTest, FrameRateIsClampedToItsRange)
{
  FramesPerSecond frames("0");
  EXPECT_NEAR(10.0, startOfNewTrack(*provider), 1e-6);
  frames.set("-24");
  EXPECT_NEAR(10.0, startOfNewTrack(*provider), 1e-6);
  frames.set("0.09");
  EXPECT_NEAR(10.0, startOfNewTrack(*provider), 1e-6);
  frames.set("0.11");
  EXPECT_NEAR(1.0 / 0.11, startOfNewTrack(*provider), 1e-5);
  frames.set("200000");
  EXPECT_EQ(1.0 / 200000.0, startOfNewTrack(*provider));
  frames.set("300000");
  EXPECT_EQ(1.0 / 200000.0, startOfNewTrack(*provider));
  frames.set("199999");
  EXPECT_EQ(1.0 / 199999.0, startOfNewTrack(*provider));
}

TEST_F(TrackTest, GainIsClampedToZeroToEight)
{
  TovAudioTrack track(provider.get());
  const auto stored = [&](float gain) {
    track.setGain(gain);
    return track.getGain();
  };
  EXPECT_EQ(0.5f, stored(0.5f));
  EXPECT_EQ(8.0f, stored(8.0f));
  EXPECT_EQ(8.0f, stored(std::nextafter(8.0f, 9.0f)));
  EXPECT_EQ(8.0f, stored(9.5f));
  EXPECT_EQ(8.0f, stored(kInfinity));
  EXPECT_EQ(0.0f, stored(0.0f));
  EXPECT_EQ(0.0f, stored(-1e-30f));
  EXPECT_EQ(0.0f, stored(-kInfinity));
}

TEST_F(TrackTest, PanAndWidthAreClampedToOneOnBothSides)
{
  TovAudioTrack track(provider.get());
  const auto expectStored = [&](float expected, float value) {
    track.setPan(value);
    track.setWide(value);
    EXPECT_EQ(expected, track.getPan()) << value;
    EXPECT_EQ(expected, track.getWide()) << value;
  };
  expectStored(-0.25f, -0.25f);
  expectStored(1.0f, 1.0f);
  expectStored(1.0f, 1.0001f);
  expectStored(1.0f, kInfinity);
  expectStored(-1.0f, -1.0f);
  expectStored(-1.0f, -3.0f);
  expectStored(-1.0f, -kInfinity);
}

TEST_F(TrackTest, NaNPassesTheClamps)
{
  TovAudioTrack track(provider.get());
  track.setGain(kNaN);
  track.setPan(kNaN);
  track.setWide(kNaN);
  EXPECT_TRUE(std::isnan(track.getGain()));
  EXPECT_TRUE(std::isnan(track.getPan()));
  EXPECT_TRUE(std::isnan(track.getWide()));
}

TEST_F(TrackTest, OtherSettingsAreStoredUnchanged)
{
  TovAudioTrack track(provider.get());
  track.setMute(true);
  EXPECT_TRUE(track.getMute());
  EXPECT_FALSE(track.getSolo());
  track.setSolo(true);
  track.setMute(false);
  EXPECT_TRUE(track.getSolo());
  EXPECT_FALSE(track.getMute());
  track.setStartTime(-1e9);
  track.setEndTime(std::numeric_limits<double>::infinity());
  track.setTimeShift(-0.125);
  EXPECT_EQ(-1e9, track.getStartTime());
  EXPECT_EQ(std::numeric_limits<double>::infinity(), track.getEndTime());
  EXPECT_EQ(-0.125, track.getTimeShift());
  track.setStartTime(std::numeric_limits<double>::quiet_NaN());
  EXPECT_TRUE(std::isnan(track.getStartTime()));
}

TEST_F(TrackTest, SettersNeitherLockNorNotify)
{
  support::Listener listener(*provider);
  TovAudioTrack track(provider.get());
  const support::HeldLock held(*provider);
  track.setMute(true);
  track.setSolo(true);
  track.setGain(2.0f);
  track.setPan(0.5f);
  track.setWide(0.5f);
  track.setStartTime(1.0);
  track.setEndTime(2.0);
  track.setTimeShift(3.0);
  EXPECT_EQ(0, listener.take());
}

TEST_F(TrackTest, CopyHasTheSettingsAndACloneOfTheProvider)
{
  TovAudioTrack track(provider.get());
  track.setMute(true);
  track.setSolo(true);
  track.setGain(2.0f);
  track.setPan(-0.5f);
  track.setWide(0.25f);
  track.setStartTime(1.5);
  track.setEndTime(2.5);
  track.setTimeShift(3.5);

  const TovAudioTrack copy(track);
  EXPECT_TRUE(copy.getMute());
  EXPECT_TRUE(copy.getSolo());
  EXPECT_EQ(2.0f, copy.getGain());
  EXPECT_EQ(-0.5f, copy.getPan());
  EXPECT_EQ(0.25f, copy.getWide());
  EXPECT_EQ(1.5, copy.getStartTime());
  EXPECT_EQ(2.5, copy.getEndTime());
  EXPECT_EQ(3.5, copy.getTimeShift());
  EXPECT_NE(provider.get(), copy.getProvider());
  EXPECT_EQ(1, provider->recording()->count(Operation::Clone));
  EXPECT_EQ(2, support::referenceCount(*provider));
}

TEST_F(TrackTest, CopyHoldsTheOnlyReferenceOfItsProvider)
{
  const TovAudioTrack track(provider.get());
  std::shared_ptr<support::Recording> recording;
  {
    const TovAudioTrack copy(track);
    RecordingProvider* const cloned = dynamic_cast<RecordingProvider*>(copy.getProvider());
    ASSERT_NE(nullptr, cloned);
    EXPECT_EQ(1, support::referenceCount(*cloned));
    recording = cloned->recording();
  }
  EXPECT_TRUE(recording->isDestroyed());
}

} // namespace
