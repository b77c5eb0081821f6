// The resampler's input, source rate and locks, and what it passes on.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioResampler.h"
#include "tests/support/Buffers.h"
#include "tests/support/Listener.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::Call;
using support::Operation;
using support::Owned;
using support::RecordingProvider;
using support::referenceCount;

class ResamplerTest : public ::testing::Test {
protected:
  ResamplerTest() { input->watch(resampler.get()); }

  std::vector<Call> requests() const { return input->recording()->of(Operation::GetAudio); }

  const TovAudioContext context = TovAudioContext(48000, 1, 30.0, 0.25);
  const TovNLArray<int> map = support::channelMap({0, 1});
  Owned<RecordingProvider> input = support::make<RecordingProvider>();
  Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(input.get());
};

TEST_F(ResamplerTest, StartsWithSourceRate0AndOneReferenceToItsInput)
{
  EXPECT_EQ(0, resampler->getSourceRate());
  EXPECT_EQ(1, referenceCount(*resampler));
  EXPECT_EQ(2, referenceCount(*input));
}

TEST_F(ResamplerTest, DropsTheReferenceToItsInputWhenItDies)
{
  EXPECT_EQ(0, resampler.drop());
  EXPECT_EQ(1, referenceCount(*input));
}

TEST_F(ResamplerTest, TakesItsInputAlongWhenItHeldTheLastReference)
{
  const auto recording = input->recording();
  EXPECT_EQ(1, input.drop());
  EXPECT_FALSE(recording->isDestroyed());
  EXPECT_EQ(0, resampler.drop());
  EXPECT_TRUE(recording->isDestroyed());
}

TEST_F(ResamplerTest, AnotherInputReplacesTheFirst)
{
  const Owned<RecordingProvider> other = support::make<RecordingProvider>();
  resampler->setInputProvider(other.get());
  EXPECT_EQ(1, referenceCount(*input));
  EXPECT_EQ(2, referenceCount(*other));
  resampler->activate(context);
  EXPECT_EQ(0, input->recording()->count(Operation::Activate));
  EXPECT_EQ(1, other->recording()->count(Operation::Activate));
}

TEST_F(ResamplerTest, TheSameInputAgainKeepsItsReferenceCount)
{
  resampler->setInputProvider(input.get());
  resampler->setInputProviderNoLock(input.get());
  EXPECT_EQ(2, referenceCount(*input));
}

TEST_F(ResamplerTest, NullTakesTheInputAway)
{
  resampler->setInputProvider(nullptr);
  EXPECT_EQ(1, referenceCount(*input));
  resampler->setInputProvider(nullptr);
  EXPECT_EQ(1, referenceCount(*input));
  resampler->setInputProvider(input.get());
  EXPECT_EQ(2, referenceCount(*input));
}

TEST_F(ResamplerTest, ReplacedInputDiesWithItsLastReference)
{
  const auto recording = input->recording();
  input.drop();
  resampler->setInputProvider(nullptr);
  EXPECT_TRUE(recording->isDestroyed());
}

TEST_F(ResamplerTest, NoLockFormWorksWithTheLockHeld)
{
  const Owned<RecordingProvider> other = support::make<RecordingProvider>();
  const support::HeldLock lock(*resampler);
  resampler->setInputProviderNoLock(other.get());
  EXPECT_EQ(1, referenceCount(*input));
  EXPECT_EQ(2, referenceCount(*other));
  resampler->setInputProviderNoLock(nullptr);
  EXPECT_EQ(1, referenceCount(*other));
}

TEST_F(ResamplerTest, RefusesItselfAsInput)
{
  resampler->setInputProvider(resampler.get());
  resampler->setInputProviderNoLock(resampler.get());
  EXPECT_EQ(1, referenceCount(*resampler));
  EXPECT_EQ(2, referenceCount(*input));
  resampler->activate(context);
  EXPECT_EQ(1, input->recording()->count(Operation::Activate));
}

TEST_F(ResamplerTest, CopySharesTheInputAndStartsWithSourceRate0)
{
  resampler->setSourceRate(8000);
  const Owned<TovAudioResampler> copy = support::make<TovAudioResampler>(*resampler);
  EXPECT_EQ(0, copy->getSourceRate());
  EXPECT_EQ(8000, resampler->getSourceRate());
  EXPECT_EQ(3, referenceCount(*input));
  EXPECT_EQ(1, referenceCount(*copy));
  copy->activate(context);
  EXPECT_EQ(1, input->recording()->count(Operation::Activate));
  EXPECT_EQ(0, input->recording()->count(Operation::Clone));
}

TEST_F(ResamplerTest, CloneIsSuchACopy)
{
  resampler->setSourceRate(8000);
  Owned<TovAudioProvider> clone(resampler->clone());
  TovAudioResampler* const copy = dynamic_cast<TovAudioResampler*>(clone.get());
  ASSERT_NE(nullptr, copy);
  EXPECT_EQ(0, copy->getSourceRate());
  EXPECT_EQ(3, referenceCount(*input));
  EXPECT_EQ(0, clone.drop());
  EXPECT_EQ(2, referenceCount(*input));
}

TEST_F(ResamplerTest, CopyOfAResamplerWithoutInputHasNone)
{
  resampler->setInputProvider(nullptr);
  const Owned<TovAudioResampler> copy = support::make<TovAudioResampler>(*resampler);
  support::Buffers buffers(2, 10);
  EXPECT_EQ(5, copy->getAudio(buffers.pointers(), map, context, 0.0, 10.0 / 48000.0));
}

TEST_F(ResamplerTest, SourceRateIsNotChecked)
{
  for (const int rate : {1, -1, 0, 199, 40001, 2147483647, -2147483647 - 1}) {
    resampler->setSourceRate(rate);
    EXPECT_EQ(rate, resampler->getSourceRate());
  }
}

TEST_F(ResamplerTest, NothingNotifies)
{
  support::Listener listener(*resampler);
  resampler->setSourceRate(8000);
  resampler->setInputProvider(nullptr);
  resampler->setInputProvider(input.get());
  resampler->activate(context);
  resampler->deactivate();
  EXPECT_EQ(0, listener.take());
}

TEST_F(ResamplerTest, DoesNotSubscribeToItsInput)
{
  EXPECT_EQ(0, input->recording()->count(Operation::AddCallback));
  support::Listener listener(*resampler);
  input->callNotifyCallbacks();
  EXPECT_EQ(0, listener.take());
}

TEST_F(ResamplerTest, ActivateAndDeactivateGiveTheInputsAnswer)
{
  for (const int status : {0, 1, 3, -7}) {
    input->setStatuses(status, status * 2, 0);
    EXPECT_EQ(status, resampler->activate(context));
    EXPECT_EQ(status * 2, resampler->deactivate());
  }
  const std::vector<Call> calls = input->recording()->of(Operation::Activate);
  ASSERT_EQ(4u, calls.size());
  EXPECT_EQ(48000, calls[0].context.sampleRate);
  EXPECT_EQ(1, calls[0].context.quality);
  EXPECT_EQ(30.0, calls[0].context.frameRate);
  EXPECT_EQ(0.25, calls[0].context.timeOffset);
}

TEST_F(ResamplerTest, ActivateAndDeactivateWithoutInputGive0)
{
  resampler->setInputProvider(nullptr);
  input->setStatuses(3, 3, 3);
  EXPECT_EQ(0, resampler->activate(context));
  EXPECT_EQ(0, resampler->deactivate());
}

TEST_F(ResamplerTest, ActivateAndDeactivateTakeNoLock)
{
  resampler->activate(context);
  resampler->deactivate();
  for (const Call& call : input->recording()->all())
    EXPECT_FALSE(call.watchedLockHeld);
  const support::HeldLock lock(*resampler); // they would wait for ever
  resampler->activate(context);
  resampler->deactivate();
  EXPECT_EQ(2, input->recording()->count(Operation::Activate));
  EXPECT_EQ(2, input->recording()->count(Operation::Deactivate));
}

TEST_F(ResamplerTest, InputCanBeReplacedByItsOwnActivation)
{
  // Held for the call, the input outlives its replacement.
  struct Replacing : RecordingProvider {
    TovAudioResampler* owner = nullptr;
    int activate(const TovAudioContext& c) override
    {
      const auto own = recording();
      owner->setInputProvider(nullptr);
      return own->isDestroyed() ? -1 : RecordingProvider::activate(c);
    }
  };
  Owned<Replacing> replacing = support::make<Replacing>();
  replacing->owner = resampler.get();
  replacing->setStatuses(42, 0, 0);
  const auto recording = replacing->recording();
  resampler->setInputProvider(replacing.get());
  replacing.drop();
  EXPECT_EQ(42, resampler->activate(context));
  EXPECT_TRUE(recording->isDestroyed());
}

TEST_F(ResamplerTest, EveryOtherOperationTakesTheLock)
{
  support::Buffers buffers(2, 10);
  const std::vector<std::uint8_t> blob = {'X', 'X', 'X', 'X'};
  const Owned<RecordingProvider> other = support::make<RecordingProvider>();
  const std::vector<std::pair<const char*, std::function<void()>>> operations = {
      {"getAudio",
       [&] { resampler->getAudio(buffers.pointers(), map, context, 0.0, 10.0 / 48000.0); }},
      {"getSourceRate", [&] { resampler->getSourceRate(); }},
      {"setSourceRate", [&] { resampler->setSourceRate(0); }},
      {"setInputProvider", [&] { resampler->setInputProvider(other.get()); }},
      {"deserialize", [&] { resampler->deserialize(blob.data(), false); }},
      {"serialize",
       [&] {
         void* out = nullptr;
         resampler->serialize(&out);
         delete[] static_cast<unsigned char*>(out);
       }},
  };
  for (const auto& [name, operation] : operations) {
    EXPECT_TRUE(support::waitsForLock(*resampler, operation)) << name;
    EXPECT_FALSE(support::isLockHeld(*resampler)) << name;
  }
}

TEST_F(ResamplerTest, InputRendersUnderTheLock)
{
  support::Buffers buffers(2, 10);
  for (const int rate : {0, 8000}) {
    resampler->setSourceRate(rate);
    resampler->getAudio(buffers.pointers(), map, context, 0.0, 10.0 / 48000.0);
    EXPECT_FALSE(support::isLockHeld(*resampler));
  }
  ASSERT_EQ(2u, requests().size());
  for (const Call& call : requests()) {
    EXPECT_TRUE(call.watchedLockHeld);
    EXPECT_FALSE(call.ownLockHeld);
  }
}

TEST_F(ResamplerTest, WithoutInputThereIsNothingToDeliver)
{
  resampler->setInputProvider(nullptr);
  for (const int rate : {0, 200, 8000, 40001}) {
    resampler->setSourceRate(rate);
    support::Buffers buffers(2, 10);
    EXPECT_EQ(5, resampler->getAudio(buffers.pointers(), map, context, 0.0, 10.0 / 48000.0));
    EXPECT_TRUE(buffers.untouched());
    EXPECT_FALSE(support::isLockHeld(*resampler));
  }
}

TEST_F(ResamplerTest, RatesOutside200To40000PassTheRequestOnUntouched)
{
  const TovNLArray<int> odd = support::channelMap({5, -1, 3});
  for (const int rate : {0, 1, 199, 40001, 44100, 48000, 2147483647, -1, -2147483647 - 1}) {
    resampler->setSourceRate(rate);
    input->recording()->clear();
    support::Buffers buffers(3, 10);
    EXPECT_EQ(0, resampler->getAudio(buffers.pointers(), odd, context, 0.1, 0.1 + 9.5 / 48000.0));
    ASSERT_EQ(1u, requests().size()) << rate;
    const Call call = requests()[0];
    EXPECT_EQ(48000, call.context.sampleRate);
    EXPECT_EQ(1, call.context.quality);
    EXPECT_EQ(30.0, call.context.frameRate);
    EXPECT_EQ(0.25, call.context.timeOffset);
    EXPECT_EQ(0.1, call.t0);
    EXPECT_EQ(0.1 + 9.5 / 48000.0, call.t1);
    EXPECT_EQ((std::vector<int>{5, -1, 3}), call.channelMap);
    EXPECT_EQ((std::vector<float*>{buffers.channel(0), buffers.channel(1), buffers.channel(2)}),
              call.buffers);
    EXPECT_EQ(0, resampler->getSampleBuffers().getCount());
  }
}

TEST_F(ResamplerTest, RatesFrom200To40000AreAskedOfTheInput)
{
  for (const int rate : {200, 201, 8000, 39999, 40000}) {
    resampler->setSourceRate(rate);
    input->recording()->clear();
    support::Buffers buffers(2, 10);
    EXPECT_EQ(0, resampler->getAudio(buffers.pointers(), map, context, 0.0, 10.0 / 48000.0));
    ASSERT_EQ(1u, requests().size()) << rate;
    EXPECT_EQ(rate, requests()[0].context.sampleRate);
    EXPECT_NE(buffers.channel(0), requests()[0].buffers.at(0));
  }
}

TEST_F(ResamplerTest, RateEqualToTheContextsIsNoShortcut)
{
  resampler->setSourceRate(32000);
  support::Buffers buffers(2, 10);
  const TovAudioContext equal(32000, 2, 30.0, 0.0);
  EXPECT_EQ(0, resampler->getAudio(buffers.pointers(), map, equal, 0.0, 10.0 / 32000.0));
  ASSERT_EQ(1u, requests().size());
  EXPECT_NE(buffers.channel(0), requests()[0].buffers.at(0));
}

TEST_F(ResamplerTest, InputsStatusIsPassedOnAndNothingWritten)
{
  for (const int rate : {0, 8000}) {
    resampler->setSourceRate(rate);
    for (const int status : {1, 2, 4, 5, -3}) {
      input->setAudio([status](auto&&...) { return status; });
      support::Buffers buffers(2, 10);
      EXPECT_EQ(status, resampler->getAudio(buffers.pointers(), map, context, 0.0, 10.0 / 48000.0));
      EXPECT_TRUE(buffers.untouched());
      EXPECT_FALSE(support::isLockHeld(*resampler));
    }
  }
}

TEST_F(ResamplerTest, ContextRateBelow1IsRefusedWhereItResamples)
{
  resampler->setSourceRate(8000);
  for (const int rate : {0, -1, -48000}) {
    support::Buffers buffers(2, 10);
    EXPECT_EQ(4, resampler->getAudio(buffers.pointers(), map, TovAudioContext(rate, 1, 24.0, 0.0),
                                     0.0, 1.0));
    EXPECT_TRUE(buffers.untouched());
    EXPECT_FALSE(support::isLockHeld(*resampler));
  }
}

TEST_F(ResamplerTest, MoreThan2To28FramesAreRefused)
{
  resampler->setSourceRate(8000);
  support::Buffers buffers(2, 10);
  for (const double seconds : {1e5, 1e12, 1e300}) {
    EXPECT_EQ(1, resampler->getAudio(buffers.pointers(), map, context, 0.0, seconds));
    EXPECT_EQ(1, resampler->getAudio(buffers.pointers(), map, context, -seconds, 0.0));
  }
  EXPECT_TRUE(buffers.untouched());
  EXPECT_FALSE(support::isLockHeld(*resampler));
}

TEST_F(ResamplerTest, EmptyAndReversedSpansWriteNothing)
{
  for (const int rate : {200, 8000, 40000}) {
    resampler->setSourceRate(rate);
    for (const double end : {1.0, 0.9999, 0.5, -100.0}) {
      support::Buffers buffers(2, 10);
      EXPECT_EQ(0, resampler->getAudio(buffers.pointers(), map, context, 1.0, end)) << end;
      EXPECT_TRUE(buffers.untouched());
    }
  }
}

} // namespace
