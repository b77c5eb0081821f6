// Providers that would render themselves are refused when they are added.

#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "tests/support/Listener.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::Operation;
using support::Owned;
using support::RecordingProvider;
using support::referenceCount;

/** A provider of the host with an input. */
class HostFilter : public RecordingProvider {
public:
  explicit HostFilter(TovAudioProvider* p) : input(p) {}
  bool isFedBy(const TovAudioProvider* provider) const override
  {
    return provider == this || input->isFedBy(provider);
  }

private:
  TovAudioProvider* input;
};

class CycleTest : public ::testing::Test {
protected:
  /** Adding @p provider is refused and leaves no trace. */
  void expectRefused(TovAudioMixer& target, TovAudioProvider& provider)
  {
    support::Listener listener(target);
    const int tracks = target.getNumTracks();
    const int references = referenceCount(provider);
    EXPECT_EQ(4, target.addProvider(&provider));
    EXPECT_EQ(tracks, target.getNumTracks());
    EXPECT_EQ(references, referenceCount(provider));
    EXPECT_EQ(0, listener.take());
    provider.callNotifyCallbacks();
    EXPECT_FALSE(support::isLockHeld(target));
    EXPECT_FALSE(support::isLockHeld(provider));
  }

  void expectIgnored(TovAudioResampler& target, TovAudioProvider& provider)
  {
    const int references = referenceCount(provider);
    target.setInputProvider(&provider);
    EXPECT_EQ(references, referenceCount(provider));
    {
      const support::HeldLock lock(target);
      target.setInputProviderNoLock(&provider);
    }
    EXPECT_EQ(references, referenceCount(provider));
    EXPECT_FALSE(support::isLockHeld(target));
    EXPECT_FALSE(support::isLockHeld(provider));
  }

  Owned<TovAudioMixer> a = support::make<TovAudioMixer>();
  Owned<TovAudioMixer> b = support::make<TovAudioMixer>();
  Owned<TovAudioMixer> c = support::make<TovAudioMixer>();
  Owned<TovAudioResampler> r = support::make<TovAudioResampler>(nullptr);
  Owned<TovAudioResampler> s = support::make<TovAudioResampler>(nullptr);
};

TEST_F(CycleTest, EveryProviderIsFedByItself)
{
  const Owned<TovAudioFile> file = support::make<TovAudioFile>();
  EXPECT_TRUE(a->isFedBy(a.get()));
  EXPECT_TRUE(r->isFedBy(r.get()));
  EXPECT_TRUE(file->isFedBy(file.get()));
  EXPECT_FALSE(a->isFedBy(file.get()));
  EXPECT_FALSE(r->isFedBy(file.get()));
  EXPECT_FALSE(file->isFedBy(a.get()));
}

TEST_F(CycleTest, ProvidersAreFedByWhatTheyRender)
{
  const Owned<TovAudioFile> file = support::make<TovAudioFile>();
  a->addProvider(file.get());
  r->setInputProvider(a.get());
  b->addProvider(r.get());
  for (const TovAudioProvider* const outer :
       {static_cast<TovAudioProvider*>(b.get()), static_cast<TovAudioProvider*>(r.get()),
        static_cast<TovAudioProvider*>(a.get())})
    EXPECT_TRUE(outer->isFedBy(file.get()));
  EXPECT_TRUE(b->isFedBy(a.get()));
  EXPECT_FALSE(a->isFedBy(b.get()));
  EXPECT_FALSE(r->isFedBy(b.get()));
  b->removeProvider(r.get());
  EXPECT_FALSE(b->isFedBy(a.get()));
}

TEST_F(CycleTest, MixerRefusesItself)
{
  expectRefused(*a, *a);
}

TEST_F(CycleTest, TwoMixersCannotHoldEachOther)
{
  ASSERT_EQ(0, a->addProvider(b.get()));
  expectRefused(*b, *a);
}

TEST_F(CycleTest, MixersCannotHoldEachOtherRoundACorner)
{
  ASSERT_EQ(0, a->addProvider(b.get()));
  ASSERT_EQ(0, b->addProvider(c.get()));
  expectRefused(*c, *a);
  expectRefused(*c, *b);
}

TEST_F(CycleTest, CircleThroughAnyTrackIsSeen)
{
  std::vector<Owned<RecordingProvider>> leaves;
  for (int i = 0; i < 5; ++i) {
    leaves.push_back(support::make<RecordingProvider>());
    a->addProvider(leaves.back().get());
  }
  ASSERT_EQ(0, a->addProvider(b.get()));
  a->addProvider(leaves[0].get());
  expectRefused(*b, *a);
}

TEST_F(CycleTest, MixerRefusesAResamplerThatItFeeds)
{
  r->setInputProvider(a.get());
  expectRefused(*a, *r);
}

TEST_F(CycleTest, ResamplerIgnoresAMixerThatItFeeds)
{
  ASSERT_EQ(0, a->addProvider(r.get()));
  expectIgnored(*r, *a);
  EXPECT_FALSE(r->isFedBy(a.get()));
}

TEST_F(CycleTest, ResamplerKeepsItsInputWhenAnotherIsIgnored)
{
  const Owned<RecordingProvider> input = support::make<RecordingProvider>();
  r->setInputProvider(input.get());
  ASSERT_EQ(0, a->addProvider(r.get()));
  expectIgnored(*r, *a);
  EXPECT_EQ(2, referenceCount(*input));
  EXPECT_TRUE(r->isFedBy(input.get()));
}

TEST_F(CycleTest, ResamplersCannotHoldEachOther)
{
  r->setInputProvider(s.get());
  expectIgnored(*s, *r);
  expectIgnored(*s, *s);
}

TEST_F(CycleTest, LongChainsAreClosedNowhere)
{
  // a -> r -> b -> s -> c, an arrow for "renders"
  ASSERT_EQ(0, a->addProvider(r.get()));
  r->setInputProvider(b.get());
  ASSERT_EQ(0, b->addProvider(s.get()));
  s->setInputProvider(c.get());
  for (TovAudioProvider* const outer :
       {static_cast<TovAudioProvider*>(a.get()), static_cast<TovAudioProvider*>(r.get()),
        static_cast<TovAudioProvider*>(b.get()), static_cast<TovAudioProvider*>(s.get())})
    expectRefused(*c, *outer);
  expectRefused(*b, *a);
  expectIgnored(*s, *a);
  expectIgnored(*s, *b);
  expectIgnored(*s, *r);
  EXPECT_TRUE(a->isFedBy(c.get()));
}

TEST_F(CycleTest, ProviderMayBeReachedOverSeveralWays)
{
  ASSERT_EQ(0, a->addProvider(b.get()));
  ASSERT_EQ(0, a->addProvider(c.get()));
  ASSERT_EQ(0, a->addProvider(b.get()));
  ASSERT_EQ(0, b->addProvider(c.get()));
  r->setInputProvider(c.get());
  ASSERT_EQ(0, a->addProvider(r.get()));
  EXPECT_EQ(4, a->getNumTracks());
  expectRefused(*c, *a);
}

TEST_F(CycleTest, WhatWasTakenApartCanBePutTogetherTheOtherWayRound)
{
  ASSERT_EQ(0, a->addProvider(b.get()));
  ASSERT_EQ(0, a->removeProvider(b.get()));
  EXPECT_EQ(0, b->addProvider(a.get()));
  r->setInputProvider(s.get());
  r->setInputProvider(nullptr);
  s->setInputProvider(r.get());
  EXPECT_EQ(2, referenceCount(*r));
  EXPECT_EQ(1, referenceCount(*s));
}

TEST_F(CycleTest, HostsProvidersAnswerForTheirInputs)
{
  const Owned<HostFilter> filter = support::make<HostFilter>(a.get());
  expectRefused(*a, *filter);
  ASSERT_EQ(0, b->addProvider(filter.get()));
  expectRefused(*a, *b);
  expectIgnored(*r, *r);
  ASSERT_EQ(0, a->addProvider(r.get()));
  expectIgnored(*r, *filter);
}

TEST_F(CycleTest, RefusedProviderDoesNotSubscribe)
{
  const Owned<HostFilter> filter = support::make<HostFilter>(a.get());
  EXPECT_EQ(4, a->addProvider(filter.get()));
  EXPECT_EQ(0, filter->recording()->count(Operation::AddCallback));
}

TEST_F(CycleTest, EverythingDiesAfterARefusal)
{
  Owned<RecordingProvider> leaf = support::make<RecordingProvider>();
  const auto recording = leaf->recording();
  c->addProvider(leaf.get());
  leaf.drop();
  ASSERT_EQ(0, a->addProvider(b.get()));
  r->setInputProvider(c.get());
  ASSERT_EQ(0, b->addProvider(r.get()));
  expectRefused(*c, *a);
  for (Owned<TovAudioMixer>* const mixer : {&c, &b, &a})
    mixer->drop();
  EXPECT_FALSE(recording->isDestroyed()); // r still holds c
  EXPECT_EQ(0, r.drop());
  EXPECT_TRUE(recording->isDestroyed());
}

} // namespace
