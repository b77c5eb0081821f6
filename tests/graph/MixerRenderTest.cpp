// Rendering one request: which inputs are asked for what, and what becomes of
// their answers.

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioMixer.h"
#include "pcm/TovPcm.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::Buffers;
using support::Call;
using support::Operation;
using support::Owned;
using support::RecordingProvider;

constexpr int kRate = 1024;

double at(double frames)
{
  return frames / kRate;
}

std::vector<float> constant(float value, std::size_t count)
{
  return std::vector<float>(count, value);
}

class MixerRenderTest : public ::testing::Test {
protected:
  MixerRenderTest()
  {
    for (RecordingProvider* const provider : {a.get(), b.get()})
      provider->watch(mixer.get());
  }

  /** An input without fades inside the requests of these tests. */
  void add(RecordingProvider* provider, float left, float right)
  {
    provider->setLevels(left, right);
    mixer->addProvider(provider);
    mixer->setStartTime(provider, -100.0);
    mixer->setEndTime(provider, -100.0);
  }

  int render(Buffers& buffers, double t0, double t1)
  {
    const int status =
        mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}), context, t0, t1);
    EXPECT_TRUE(buffers.guardsIntact());
    EXPECT_FALSE(support::isLockHeld(*mixer));
    return status;
  }

  static std::vector<Call> requestsTo(const Owned<RecordingProvider>& provider)
  {
    return provider->recording()->of(Operation::GetAudio);
  }

  const TovAudioContext context = TovAudioContext(kRate, 2, 29.5, 77.0);
  Owned<RecordingProvider> a = support::make<RecordingProvider>();
  Owned<RecordingProvider> b = support::make<RecordingProvider>();
  Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
};

// --- Statuses ----------------------------------------------------------------

TEST_F(MixerRenderTest, MixerWithoutTracksIsStatus5)
{
  Buffers buffers(2, 64);
  EXPECT_EQ(5, render(buffers, 0.0, at(64)));
  EXPECT_TRUE(buffers.untouched());
}

TEST_F(MixerRenderTest, WithoutActivationIsRenderedAllTheSame)
{
  add(a.get(), 0.5f, 0.25f);
  Buffers buffers(2, 64);
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
  EXPECT_EQ(constant(0.5f, 64), buffers.samples(0));
  EXPECT_EQ(constant(0.25f, 64), buffers.samples(1));
  EXPECT_EQ(0, a->recording()->count(Operation::Activate));
}

TEST_F(MixerRenderTest, FewerThanTwoBuffersIsStatus4)
{
  add(a.get(), 1.0f, 1.0f);
  for (const int count : {0, 1}) {
    Buffers buffers(count, 64);
    EXPECT_EQ(4, render(buffers, 1.0, 1.0625));
    EXPECT_TRUE(buffers.untouched());
  }
  EXPECT_TRUE(requestsTo(a).empty());
}

TEST_F(MixerRenderTest, NullBufferIsStatus4)
{
  add(a.get(), 1.0f, 1.0f);
  Buffers valid(1, 64);
  for (const bool leftIsNull : {true, false}) {
    TovNLPArray<float> buffers;
    buffers.append(leftIsNull ? nullptr : valid.channel(0));
    buffers.append(leftIsNull ? valid.channel(0) : nullptr);
    EXPECT_EQ(4, mixer->getAudio(buffers, support::channelMap({0, 1}), context, 1.0, 1.0625));
    EXPECT_TRUE(valid.untouched());
  }
}

TEST_F(MixerRenderTest, ContextRateBelowOneIsStatus4)
{
  add(a.get(), 1.0f, 1.0f);
  for (const int rate : {0, -44100}) {
    Buffers buffers(2, 64);
    EXPECT_EQ(4, mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}),
                                 TovAudioContext(rate, 1, 24.0, 0.0), 1.0, 1.0625));
    EXPECT_TRUE(buffers.untouched());
  }
}

TEST_F(MixerRenderTest, RequestAbove2To28FramesIsStatus1)
{
  add(a.get(), 1.0f, 1.0f);
  Buffers buffers(2, 64);
  EXPECT_EQ(1, render(buffers, 1.0, at(1025.0 + (1LL << 28))));
  EXPECT_EQ(1, render(buffers, 0.0, std::numeric_limits<double>::infinity()));
  EXPECT_TRUE(buffers.untouched());
  EXPECT_TRUE(requestsTo(a).empty());
}

TEST_F(MixerRenderTest, EmptyOrReversedSpanWritesNothing)
{
  add(a.get(), 1.0f, 1.0f);
  Buffers buffers(2, 64);
  EXPECT_EQ(0, render(buffers, 1.0, 1.0));
  EXPECT_EQ(0, render(buffers, 1.0, 0.99)); // within the 20 ms that stand in for the end
  EXPECT_EQ(5, render(buffers, 1.0, 0.9));
  EXPECT_TRUE(buffers.untouched());
}

TEST_F(MixerRenderTest, NoLockFormRunsUnderTheCallersLock)
{
  add(a.get(), 0.5f, 0.25f);
  Buffers buffers(2, 64);
  const support::HeldLock held(*mixer);
  EXPECT_EQ(0, mixer->getAudioNoLock(buffers.pointers(), support::channelMap({0, 1}), context, 1.0,
                                     1.0625)); // would wait for ever
  EXPECT_EQ(constant(0.5f, 64), buffers.samples(0));
}

TEST_F(MixerRenderTest, OnlyTheFirstTwoBuffersAreWritten)
{
  add(a.get(), 0.5f, 0.25f);
  Buffers buffers(4, 64);
  EXPECT_EQ(0, mixer->getAudio(buffers.pointers(), support::channelMap({0, 1, 2, 3}), context, 1.0,
                               1.0625));
  EXPECT_EQ(constant(0.5f, 64), buffers.samples(0));
  EXPECT_EQ(constant(0.25f, 64), buffers.samples(1));
  EXPECT_EQ(constant(Buffers::kUntouched, 64), buffers.samples(2));
  EXPECT_EQ(constant(Buffers::kUntouched, 64), buffers.samples(3));
}

// --- What the inputs are asked -------------------------------------------------

TEST_F(MixerRenderTest, InputsAreAskedUnderTheMixersLockForTwoScratchBlocks)
{
  add(a.get(), 1.0f, 1.0f);
  Buffers buffers(2, 64);
  ASSERT_EQ(0, render(buffers, 1.0, 1.0625));
  ASSERT_EQ(1u, requestsTo(a).size());
  const Call call = requestsTo(a)[0];
  EXPECT_TRUE(call.watchedLockHeld);
  EXPECT_FALSE(call.ownLockHeld);
  ASSERT_GE(mixer->getSampleBuffers().getCount(), 2);
  EXPECT_EQ((std::vector<float*>{mixer->getSampleBuffers()[0], mixer->getSampleBuffers()[1]}),
            call.buffers);
  EXPECT_GE(mixer->getSampleBufferFrames(), 64);
}

TEST_F(MixerRenderTest, InnerContextIsTheCallersWithTheTracksStartAsOffset)
{
  add(a.get(), 1.0f, 1.0f);
  mixer->setStartTime(a.get(), 0.5);
  Buffers buffers(2, 64);
  ASSERT_EQ(0, render(buffers, 1.0, 1.0625));
  const Call call = requestsTo(a).at(0);
  EXPECT_EQ(kRate, call.context.sampleRate);
  EXPECT_EQ(2, call.context.quality);
  EXPECT_EQ(29.5, call.context.frameRate);
  EXPECT_EQ(0.5, call.context.timeOffset);
  EXPECT_EQ(1.0, call.t0);
  EXPECT_EQ(1.0625, call.t1);
  EXPECT_EQ((std::vector<int>{0, 1}), call.channelMap);
}

TEST_F(MixerRenderTest, ChannelMapIsHandedOnUnchangedWhateverItsLength)
{
  add(a.get(), 0.5f, 0.25f);
  for (const std::vector<int>& map :
       {std::vector<int>{}, {0}, {7}, {-3, 9}, {1, 0, 1}, {5, 4, 3, 2, 1, 0}}) {
    a->recording()->clear();
    Buffers buffers(2, 64);
    EXPECT_EQ(0,
              mixer->getAudio(buffers.pointers(), support::channelMap(map), context, 1.0, 1.0625));
    EXPECT_EQ(map, requestsTo(a).at(0).channelMap);
    EXPECT_EQ(2u, requestsTo(a).at(0).buffers.size());
    EXPECT_EQ(constant(0.5f, 64), buffers.samples(0));
    EXPECT_EQ(constant(0.25f, 64), buffers.samples(1));
    EXPECT_TRUE(buffers.guardsIntact());
    mixer->clearSampleBuffers(); // so that each map has to provide for itself
  }
}

TEST_F(MixerRenderTest, InputIsAskedForThePartBetweenStartAndEnd)
{
  add(a.get(), 1.0f, 1.0f);
  mixer->setStartTime(a.get(), at(1100));
  mixer->setEndTime(a.get(), at(1200));
  Buffers buffers(2, 400);
  ASSERT_EQ(0, render(buffers, at(1000), at(1400)));
  const Call call = requestsTo(a).at(0);
  EXPECT_EQ(at(1100), call.t0);
  EXPECT_EQ(at(1200), call.t1);
  EXPECT_EQ(at(1100), call.context.timeOffset);
  EXPECT_EQ(mixer->getSampleBuffers()[0] + 100, call.buffers.at(0));
  EXPECT_EQ(mixer->getSampleBuffers()[1] + 100, call.buffers.at(1));
}

TEST_F(MixerRenderTest, TracksThatCannotBeHeardAreNotAsked)
{
  add(a.get(), 1.0f, 1.0f);
  Buffers buffers(2, 64);
  const auto expectSilent = [&](const char* why) {
    EXPECT_EQ(5, render(buffers, 1.0, 1.0625)) << why;
    EXPECT_TRUE(requestsTo(a).empty()) << why;
    EXPECT_TRUE(buffers.untouched()) << why;
  };
  mixer->setGain(a.get(), 0.0f);
  expectSilent("gain 0");
  mixer->setGain(a.get(), TovPcm::dBToFactor(-90.0f));
  expectSilent("gain at the floor");
  mixer->setGain(a.get(), std::nanf(""));
  expectSilent("gain not a number");
  mixer->setGain(a.get(), 1.0f);
  mixer->setMasterGain(0.0f);
  expectSilent("master gain 0");
  mixer->setMasterGain(0.005f);
  mixer->setGain(a.get(), 0.005f);
  expectSilent("the product below the floor");
  mixer->setMasterGain(1.0f);
  mixer->setGain(a.get(), TovPcm::dBToFactor(-89.0f));
  mixer->setWide(a.get(), 0.0f);
  expectSilent("each side below the floor");
  mixer->setWide(a.get(), 1.0f);
  mixer->setGain(a.get(), 1.0f);
  mixer->setMute(a.get(), true);
  expectSilent("muted");
}

TEST_F(MixerRenderTest, TrackJustAboveTheFloorIsAsked)
{
  add(a.get(), 1.0f, 1.0f);
  const float gain = std::nextafter(TovPcm::dBToFactor(-90.0f), 1.0f);
  mixer->setGain(a.get(), gain);
  Buffers buffers(2, 64);
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
  EXPECT_EQ(constant(gain, 64), buffers.samples(0));
}

TEST_F(MixerRenderTest, TracksOutsideTheRequestAreNotAsked)
{
  add(a.get(), 1.0f, 1.0f);
  Buffers buffers(2, 64);
  const auto isAsked = [&](double start, double end) {
    a->recording()->clear();
    mixer->setStartTime(a.get(), start);
    mixer->setEndTime(a.get(), end);
    const int status = render(buffers, 1.0, 1.0625);
    EXPECT_EQ(requestsTo(a).empty() ? 5 : 0, status);
    return !requestsTo(a).empty();
  };
  EXPECT_FALSE(isAsked(1.0625, 2.0)); // starts where the request ends
  EXPECT_FALSE(isAsked(1.0625, 1.0625));
  EXPECT_FALSE(isAsked(3.0, 4.0));
  EXPECT_FALSE(isAsked(0.5, 1.0)); // ends where the request starts
  EXPECT_FALSE(isAsked(-5.0, -4.0));
  EXPECT_TRUE(isAsked(1.0615, 2.0));
  EXPECT_TRUE(isAsked(0.5, 1.001));
}

TEST_F(MixerRenderTest, EndWithinATenthOfAMillisecondOfTheStartIsNoEnd)
{
  add(a.get(), 1.0f, 1.0f);
  Buffers buffers(2, 64);
  const auto endAsked = [&](double end) {
    a->recording()->clear();
    mixer->setStartTime(a.get(), 0.0);
    mixer->setEndTime(a.get(), end);
    return render(buffers, 1.0, 1.0625) == 0;
  };
  EXPECT_TRUE(endAsked(0.0));
  EXPECT_TRUE(endAsked(-5.0));
  EXPECT_TRUE(endAsked(0.00009));
  EXPECT_FALSE(endAsked(0.0001)); // not below the start plus 0.0001
  EXPECT_FALSE(endAsked(0.00011));
}

TEST_F(MixerRenderTest, NewTrackBeginsOneTimelineFrameIn)
{
  a->setLevels(1.0f, 1.0f);
  mixer->addProvider(a.get());
  Buffers buffers(2, 64);
  EXPECT_EQ(5, render(buffers, 1.0 / 24.0 - 0.0625, 1.0 / 24.0));
  EXPECT_TRUE(requestsTo(a).empty());
  EXPECT_EQ(0, render(buffers, 1.0 / 24.0 - 0.03125, 1.0 / 24.0 + 0.03125));
  EXPECT_EQ(0, render(buffers, 1e6, 1e6 + 0.0625)); // no end
}

// --- What becomes of the answers -------------------------------------------------

TEST_F(MixerRenderTest, FailingInputsAreLeftOut)
{
  add(a.get(), 1.0f, 1.0f);
  add(b.get(), 0.5f, 0.25f);
  for (const int status : {1, 2, 3, 4, 5, -1}) {
    a->setStatuses(0, 0, status); // but it has written its block
    Buffers buffers(2, 64);
    EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
    EXPECT_EQ(constant(0.5f, 64), buffers.samples(0));
    EXPECT_EQ(constant(0.25f, 64), buffers.samples(1));
  }
  b->setStatuses(0, 0, 1);
  Buffers buffers(2, 64);
  EXPECT_EQ(5, render(buffers, 1.0, 1.0625));
  EXPECT_TRUE(buffers.untouched());
  b->setStatuses(0, 0, 0);
  a->setStatuses(0, 0, 0);
  mixer->removeProvider(a.get());
  mixer->addProvider(a.get()); // behind b now
  a->setStatuses(0, 0, 1);
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
  EXPECT_EQ(constant(0.5f, 64), buffers.samples(0));
}

TEST_F(MixerRenderTest, FirstTrackIsStoredAndLaterOnesAreAdded)
{
  add(a.get(), 0.75f, -0.5f);
  add(b.get(), 0.5f, 0.125f);
  mixer->setGain(b.get(), 2.0f);
  Buffers buffers(2, 64);
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
  EXPECT_EQ(constant(1.75f, 64), buffers.samples(0)); // beyond full scale, not limited
  EXPECT_EQ(constant(-0.25f, 64), buffers.samples(1));
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625)); // again, over what is there
  EXPECT_EQ(constant(1.75f, 64), buffers.samples(0));
}

TEST_F(MixerRenderTest, InputsAreMixedInTheOrderOfTheTracks)
{
  add(a.get(), 1e8f, 1e8f);
  add(b.get(), 1.0f, 1.0f);
  const Owned<RecordingProvider> c = support::make<RecordingProvider>();
  add(c.get(), -1e8f, -1e8f);
  Buffers buffers(2, 64);
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
  EXPECT_EQ(constant(0.0f, 64), buffers.samples(0)); // (1e8 + 1) - 1e8 in single precision
}

TEST_F(MixerRenderTest, GainsAndPanMakeTheMatrix)
{
  add(a.get(), 0.5f, 0.25f);
  mixer->setMasterGain(0.5f);
  mixer->setGain(a.get(), 4.0f);
  mixer->setPan(a.get(), 0.5f);
  mixer->setWide(a.get(), 0.5f);
  // Spread 0.25: left at 0.25, right at 0.75; gain 2.
  Buffers buffers(2, 64);
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
  EXPECT_EQ(constant(0.75f * 0.5f + 0.25f * 0.25f, 64), buffers.samples(0));
  EXPECT_EQ(constant(1.25f * 0.5f + 1.75f * 0.25f, 64), buffers.samples(1));
}

TEST_F(MixerRenderTest, FirstTrackFillsAChannelThatItDoesNotReachWithZeros)
{
  add(a.get(), 0.5f, 0.25f);
  mixer->setPan(a.get(), 1.0f);
  Buffers buffers(2, 64);
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
  EXPECT_EQ(support::bits(constant(0.0f, 64)), support::bits(buffers.samples(0)));
  EXPECT_EQ(constant(0.75f, 64), buffers.samples(1));
}

TEST_F(MixerRenderTest, LaterTrackLeavesAChannelThatItDoesNotReach)
{
  add(a.get(), -0.0f, 0.5f);
  add(b.get(), 0.25f, 0.25f);
  mixer->setPan(b.get(), 1.0f);
  Buffers buffers(2, 64);
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
  // Even the sign of zero: nothing at all was added.
  EXPECT_EQ(support::bits(constant(-0.0f, 64)), support::bits(buffers.samples(0)));
  EXPECT_EQ(constant(1.0f, 64), buffers.samples(1));
}

TEST_F(MixerRenderTest, CoefficientsAtTheFloorAreAbsent)
{
  // An absent term is left out, so that an infinite sample does no harm; just
  // above the floor it comes in.
  constexpr float infinity = std::numeric_limits<float>::infinity();
  add(a.get(), 0.5f, infinity);
  Buffers buffers(2, 64);
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
  EXPECT_EQ(constant(0.5f, 64), buffers.samples(0));
  mixer->setWide(a.get(), 0.99995f); // the right channel's part of the left is 2.5e-5
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
  EXPECT_LT(buffers.samples(0)[0], 1.0f);
  mixer->setWide(a.get(), 0.9999f); // 5e-5
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
  EXPECT_EQ(constant(infinity, 64), buffers.samples(0));
}

TEST_F(MixerRenderTest, CoefficientRightAtTheFloorIsAbsent)
{
  const float floor = TovPcm::dBToFactor(-90.0f);
  add(a.get(), 1.0f, 1.0f);
  mixer->setGain(a.get(), 4.0f * floor);
  mixer->setPan(a.get(), 0.5f); // a quarter goes left, three quarters right
  mixer->setWide(a.get(), 0.0f);
  Buffers buffers(2, 64);
  EXPECT_EQ(0, render(buffers, 1.0, 1.0625));
  EXPECT_EQ(constant(0.0f, 64), buffers.samples(0));
  EXPECT_EQ(constant(3.0f * floor + 3.0f * floor, 64), buffers.samples(1));
}

TEST_F(MixerRenderTest, MixersMayBeInputsOfMixers)
{
  add(a.get(), 0.5f, 0.25f);
  mixer->setGain(a.get(), 0.5f);
  const Owned<TovAudioMixer> outer = support::make<TovAudioMixer>();
  outer->addProvider(mixer.get());
  outer->setStartTime(mixer.get(), -50.0);
  outer->setEndTime(mixer.get(), -50.0);
  outer->setMasterGain(4.0f);
  Buffers buffers(2, 64);
  EXPECT_EQ(0,
            outer->getAudio(buffers.pointers(), support::channelMap({0, 1}), context, 1.0, 1.0625));
  EXPECT_EQ(constant(1.0f, 64), buffers.samples(0));
  EXPECT_EQ(constant(0.5f, 64), buffers.samples(1));
}

} // namespace
