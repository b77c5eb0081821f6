// Tracks without an input, as a mixer has them where an input could not be
// copied.

#include <cstring>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "graph/TovAudioTrack.h"
#include "tests/support/Buffers.h"
#include "tests/support/Listener.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/RecordingProvider.h"

namespace {

using support::Buffers;
using support::Operation;
using support::Owned;
using support::RecordingProvider;

class Unique : public RecordingProvider {
public:
  TovAudioProvider* clone() const override { return nullptr; }

protected:
  ~Unique() override = default;
};

class InputlessTrackTest : public ::testing::Test {
protected:
  InputlessTrackTest()
  {
    other->setLevels(0.5f, 0.25f);
    for (TovAudioProvider* const provider :
         std::vector<TovAudioProvider*>{unique.get(), other.get()}) {
      original->addProvider(provider);
      original->setStartTime(provider, -100.0);
      original->setEndTime(provider, -100.0);
    }
    mixer = Owned<TovAudioMixer>(static_cast<TovAudioMixer*>(original->clone()));
  }

  int render(Buffers& buffers)
  {
    return mixer->getAudio(buffers.pointers(), support::channelMap({0, 1}), context, 1.0, 1.0625);
  }

  const TovAudioContext context = TovAudioContext(1024, 2, 25.0, 0.0);
  Owned<Unique> unique = support::make<Unique>();
  Owned<RecordingProvider> other = support::make<RecordingProvider>();
  Owned<TovAudioMixer> original = support::make<TovAudioMixer>();
  Owned<TovAudioMixer> mixer;
};

TEST_F(InputlessTrackTest, TrackMayBeWithoutAnInput)
{
  TovAudioTrack track(nullptr);
  track.setGain(3.0f);
  const TovAudioTrack copy(track);
  EXPECT_EQ(nullptr, track.getProvider());
  EXPECT_EQ(nullptr, copy.getProvider());
  EXPECT_EQ(3.0f, copy.getGain());
}

TEST_F(InputlessTrackTest, CopyOfAMixerKeepsTheTrackOfAnInputThatIsNotCopied)
{
  ASSERT_EQ(2, mixer->getNumTracks());
  EXPECT_EQ(nullptr, mixer->getTrack(0)->getProvider());
  EXPECT_NE(nullptr, mixer->getTrack(1)->getProvider());
  EXPECT_EQ(unique.get(), original->getTrack(0)->getProvider());
}

TEST_F(InputlessTrackTest, OthersAreHeardAllTheSame)
{
  EXPECT_EQ(0, mixer->activate(context));
  Buffers buffers(2, 64);
  EXPECT_EQ(0, render(buffers));
  EXPECT_EQ(std::vector<float>(64, 0.5f), buffers.samples(0));
  EXPECT_EQ(std::vector<float>(64, 0.25f), buffers.samples(1));
  EXPECT_EQ(0, mixer->deactivate());
}

TEST_F(InputlessTrackTest, AloneItIsNothingToDeliver)
{
  TovAudioProvider* const heard = mixer->getTrack(1)->getProvider();
  EXPECT_EQ(0, mixer->removeProvider(heard));
  Buffers buffers(2, 64);
  EXPECT_EQ(5, render(buffers));
  EXPECT_TRUE(buffers.untouched());
}

TEST_F(InputlessTrackTest, IsFoundAndRemovedByNoInput)
{
  mixer->setGain(nullptr, 2.0f);
  EXPECT_EQ(2.0f, mixer->getGain(nullptr));
  EXPECT_EQ(0, mixer->removeProvider(nullptr));
  EXPECT_EQ(1, mixer->getNumTracks());
  EXPECT_EQ(1, mixer->removeProvider(nullptr));
  EXPECT_EQ(1.0f, mixer->getGain(nullptr));
}

TEST_F(InputlessTrackTest, NothingFeedsIt)
{
  EXPECT_FALSE(mixer->isFedBy(nullptr));
  EXPECT_FALSE(mixer->isFedBy(unique.get()));
  EXPECT_TRUE(mixer->isFedBy(mixer->getTrack(1)->getProvider()));
}

TEST_F(InputlessTrackTest, IsClearedLikeAnyOther)
{
  support::Listener listener(*mixer);
  mixer->clear();
  EXPECT_EQ(0, mixer->getNumTracks());
  EXPECT_EQ(1, listener.take());
}

TEST_F(InputlessTrackTest, IsSerializedLikeOneWhoseInputHasNoBlob)
{
  // The original's inputs have none either.
  const auto blobOf = [](TovAudioMixer& source) {
    void* out = nullptr;
    const int length = source.serialize(&out);
    const std::unique_ptr<unsigned char[]> bytes(static_cast<unsigned char*>(out));
    return std::vector<unsigned char>(bytes.get(), bytes.get() + length);
  };
  EXPECT_EQ(blobOf(*original), blobOf(*mixer));
  EXPECT_EQ(1, unique->recording()->count(Operation::Serialize));
}

TEST_F(InputlessTrackTest, NoTrackIsNotHeard)
{
  EXPECT_FALSE(mixer->isTrackHeard(nullptr));
  EXPECT_TRUE(mixer->isTrackHeard(mixer->getTrack(0)));
}

/** An input whose blob has a length but no bytes, or bytes but no length. */
class HalfABlob : public RecordingProvider {
public:
  int length = 0;
  void* bytes = nullptr;
  int serialize(void** out) override
  {
    *out = bytes;
    return length;
  }

protected:
  ~HalfABlob() override = default;
};

TEST_F(InputlessTrackTest, BlobOfAnInputThatIsNotWholeIsLeftOut)
{
  const Owned<HalfABlob> half = support::make<HalfABlob>();
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(half.get());
  const auto lengthOf = [&] {
    void* out = nullptr;
    const int length = resampler->serialize(&out);
    delete[] static_cast<unsigned char*>(out);
    return length;
  };
  const int without = lengthOf();
  EXPECT_LT(0, without);
  half->length = 100;
  EXPECT_EQ(without, lengthOf());
  unsigned char bytes[4] = {1, 2, 3, 4};
  half->bytes = bytes;
  for (const int length : {0, -1}) {
    half->length = length;
    EXPECT_EQ(without, lengthOf());
  }
}

TEST_F(InputlessTrackTest, FileTakesNoBlobFromNowhere)
{
  const Owned<TovAudioFile> file = support::make<TovAudioFile>();
  EXPECT_EQ(-1, file->deserialize(nullptr, false));
  EXPECT_FALSE(support::isLockHeld(*file));
}

TEST_F(InputlessTrackTest, ResamplerHasNothingWhereItsIndicesEnd)
{
  const Owned<TovAudioResampler> resampler = support::make<TovAudioResampler>(other.get());
  resampler->setSourceRate(4000);
  Buffers buffers(2, 4);
  for (const double time : {1e300, -1e300})
    EXPECT_EQ(5, resampler->getAudio(buffers.pointers(), support::channelMap({0, 1}),
                                     TovAudioContext(1000, 0, 25.0, 0.0), time, time));
  EXPECT_TRUE(buffers.untouched());
  EXPECT_EQ(0, other->recording()->count(Operation::GetAudio));
}

TEST_F(InputlessTrackTest, SettingsAreNotSavedWithoutAFile)
{
  const Owned<TovAudioMixer> master(TovAudioMixer::getMasterMixer());
  const int references = support::referenceCount(*master);
  TovAudioMixer::saveAudioStatic(nullptr);
  EXPECT_EQ(references, support::referenceCount(*master));
}

} // namespace
