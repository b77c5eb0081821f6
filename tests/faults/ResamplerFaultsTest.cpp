// The settings of a resampler, whose input stands in them.

#include <cstddef>
#include <type_traits>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "tests/faults/FaultLoop.h"
#include "tests/faults/SoundFiles.h"
#include "tests/faults/WholeBlob.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"
#include "tests/support/SettingsBlobs.h"

namespace {

using namespace support;

constexpr int kRate = 16000;

/** An input of each kind that settings can hold. */
class Inputs {
public:
  template <typename Input>
  Owned<Input> input() const
  {
    if constexpr (std::is_same_v<Input, TovAudioFile>)
      return file();
    else
      return mixer();
  }

  Owned<TovAudioFile> file() const
  {
    Owned<TovAudioFile> opened = make<TovAudioFile>();
    EXPECT_EQ(opened->initialize(path.c_str()), 0);
    return opened;
  }

  Owned<TovAudioMixer> mixer() const
  {
    Owned<TovAudioMixer> mixer = make<TovAudioMixer>();
    for (int i = 0; i < 2; ++i)
      EXPECT_EQ(mixer->addProvider(file().get()), 0);
    return mixer;
  }

private:
  SoundFiles files;
  const std::string path = files.wav("sound.wav", 44100, 1);
};

Owned<TovAudioResampler> resamplerOf(TovAudioProvider& input, int rate)
{
  Owned<TovAudioResampler> resampler = make<TovAudioResampler>(&input);
  resampler->setSourceRate(rate);
  return resampler;
}

class Serializing : public Scenario {
public:
  void attempt(Attempt& attempt) override
  {
    serializeWhollyOrNot(attempt, *resampler, blob);
    EXPECT_FALSE(isLockHeld(*resampler));
    EXPECT_FALSE(isLockHeld(*input));
    EXPECT_EQ(referenceCount(*input), 2) << "a reference was kept";
    EXPECT_EQ(serialized(*resampler), blob);
  }

private:
  const Inputs inputs = {};
  const Owned<TovAudioMixer> input = inputs.mixer();
  const Owned<TovAudioResampler> resampler = resamplerOf(*input, kRate);
  const std::vector<std::uint8_t> blob = serialized(*resampler);
};

/** Settings that hold an input of the type. */
template <typename Input>
class Loading : public Scenario {
public:
  Loading()
  {
    const Owned<Input> input = inputs.input<Input>();
    nested = serialized(*input);
    settings = serialized(*resamplerOf(*input, kRate));
    blocksHeld(); // what is made once and for all is there from now on
    blocksOfInput = blocksHeld();
    EXPECT_GT(blocksOfInput, 0u);
  }

  void attempt(Attempt& attempt) override
  {
    Messages messages;
    const Owned<TovAudioFile> present = inputs.file();
    const Owned<TovAudioResampler> resampler = resamplerOf(*present, kRate / 2);
    const bool isDone = attempt.under([&] { load(*resampler); });
    EXPECT_FALSE(isLockHeld(*resampler));
    EXPECT_EQ(referenceCount(*present), 2) << "the input was let go, or kept";
    if (isDone) {
      EXPECT_EQ(length, static_cast<int>(settings.size()));
      EXPECT_EQ(resampler->getSourceRate(), kRate);
    } else {
      EXPECT_TRUE(resampler->getSourceRate() == kRate || resampler->getSourceRate() == kRate / 2);
    }
    load(*resampler);
    EXPECT_EQ(length, static_cast<int>(settings.size()));
    EXPECT_EQ(resampler->getSourceRate(), kRate);
    EXPECT_FALSE(isLockHeld(*resampler));
    EXPECT_TRUE(resampler->isFedBy(present.get()));
  }

  /** Deliberate: the input that stands in the settings is built, and neither
   *  connected nor released; here that comes twice. */
  std::size_t blocksLeftOnPurpose() const override { return 2 * blocksOfInput; }

private:
  /** Blocks of memory that an input has which these settings made. */
  std::size_t blocksHeld() const
  {
    const TakenBlocks blocks;
    const Owned<Input> input = make<Input>();
    EXPECT_EQ(input->deserializeBounded(nested.data(), nested.size(), false),
              static_cast<int>(nested.size()));
    return blocks.left();
  }

  void load(TovAudioResampler& resampler)
  {
    length = -99;
    length = resampler.deserializeBounded(settings.data(), settings.size(), false);
  }

  const Inputs inputs = {};
  std::vector<std::uint8_t> nested;
  std::vector<std::uint8_t> settings;
  std::size_t blocksOfInput = 0;
  int length = 0;
};

using enum FaultKind;

INSTANTIATE_TEST_SUITE_P(
    Resamplers, FaultLoop,
    testing::ValuesIn(joined(
        {faultCases<Serializing>("SerializeResampler", {Allocation}),
         faultCases<Loading<TovAudioFile>>("LoadResamplerOfFile",
                                           {Read, Seek, Open, Close, Allocation}),
         faultCases<Loading<TovAudioMixer>>("LoadResamplerOfMix",
                                            {Read, Seek, Open, Close, Allocation})})),
    caseName);

} // namespace
