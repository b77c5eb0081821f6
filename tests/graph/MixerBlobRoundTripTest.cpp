// Saving, loading and saving again gives the same bytes.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/TovScript.h"
#include "graph/TovAudioMixer.h"
#include "tests/graph/GeneratedFile.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/SettingsBlobs.h"

namespace {

using support::Bytes;
using support::Owned;
using support::serialized;
using support::TrackSettings;

unsigned int below(std::mt19937& random, unsigned int limit)
{
  return static_cast<unsigned int>(random() % limit);
}

/** Any bits, or a number near the ranges that count. */
float randomFloat(std::mt19937& random)
{
  if (random() % 3 == 0)
    return std::bit_cast<float>(static_cast<std::uint32_t>(random()));
  return static_cast<float>(random() % 2000) / 100.0f - 5.0f;
}

double randomDouble(std::mt19937& random)
{
  const std::uint64_t high = random();
  if (random() % 3 == 0)
    return std::bit_cast<double>(high << 32 | random());
  return static_cast<double>(high) / 1e5 - 2e4;
}

float clamped(float value, float low, float high)
{
  return value < low ? low : value > high ? high : value;
}

struct RandomMix {
  Bytes loaded;  ///< of any version, with numbers out of range
  Bytes written; ///< what a mixer must make of it
};

RandomMix randomMix(std::mt19937& random, const std::vector<std::string>& names)
{
  const std::uint32_t version = below(random, 3);
  const float gain = randomFloat(random);
  std::vector<TrackSettings> given;
  std::vector<TrackSettings> kept;
  for (unsigned int count = below(random, 7); count > 0; --count) {
    TrackSettings track = {
        .mute = below(random, 3),
        .solo = below(random, 3),
        .gain = randomFloat(random),
        .pan = randomFloat(random),
        .wide = randomFloat(random),
        .startTime = randomDouble(random),
        .endTime = randomDouble(random),
        .timeShift = randomDouble(random),
        .provider =
            support::fileBlob({names[random() % names.size()], static_cast<std::uint32_t>(random()),
                               randomDouble(random), randomDouble(random)})};
    given.push_back(track);
    track.mute = version == 2 && track.mute ? 1 : 0;
    track.solo = version == 2 && track.solo ? 1 : 0;
    track.gain = clamped(track.gain, 0.0f, 8.0f);
    track.pan = clamped(track.pan, -1.0f, 1.0f);
    track.wide = clamped(track.wide, -1.0f, 1.0f);
    if (version == 0)
      track.timeShift = 0.0;
    kept.push_back(track);
  }
  return {support::mixerBlob(version, gain, given), support::mixerBlob(2, gain, kept)};
}

class MixerBlobRoundTripTest : public ::testing::Test {
protected:
  ~MixerBlobRoundTripTest() override
  {
    master->clear();
    master->setMasterGain(1.0f);
  }

  support::TempFolder folder;
  support::Messages messages; // the names are mostly those of no file
  const std::vector<std::string> names = {"",
                                          "x",
                                          "/no/such/folder/voice.wav",
                                          "./relative take 3.aif",
                                          "$TOV_TEST_UNSET/a.wav",
                                          "\xe2\x99\xab \"quoted\" \\ %s\n.wav",
                                          std::string(700, 'l') + ".aiff",
                                          writeRamp(folder, "there", Container::Wav, 2, 8000, 10)};
  Owned<TovAudioMixer> master = Owned<TovAudioMixer>(TovAudioMixer::getMasterMixer());
};

TEST_F(MixerBlobRoundTripTest, RandomMixesAreFixedPoints)
{
  const int mixes = std::getenv("TOV_TEST_LONG") ? 10000 : 2000;
  std::mt19937 random(4503);
  for (int i = 0; i < mixes; ++i) {
    const RandomMix mix = randomMix(random, names);
    const Owned<TovAudioMixer> first = support::make<TovAudioMixer>();
    ASSERT_EQ(static_cast<int>(mix.loaded.size()),
              first->deserialize(mix.loaded.data().data(), false));
    const std::vector<std::uint8_t> saved = serialized(*first);
    ASSERT_EQ(mix.written.data(), saved) << i;

    // Once more, as the one line of a script.
    const std::string text = support::scriptText(saved);
    TovAudioMixer::loadAudioStatic(text.c_str());
    ASSERT_EQ(saved, serialized(*master)) << i;
    ASSERT_EQ("SetAudio(\"" + text + "\");\n",
              std::string(TovAudioMixer::saveAudioStringStatic().c_str()))
        << i;
    ASSERT_EQ(0, support::badDataMessages(messages.take())) << i;
  }
}

TEST_F(MixerBlobRoundTripTest, AppendingIsJoining)
{
  std::mt19937 random(4504);
  for (int i = 0; i < 200; ++i) {
    const RandomMix one = randomMix(random, names);
    const RandomMix two = randomMix(random, names);
    const Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
    mixer->deserialize(one.loaded.data().data(), false);
    mixer->deserialize(two.loaded.data().data(), true);
    std::vector<std::uint8_t> expected = one.written.data();
    const std::vector<std::uint8_t>& behind = two.written.data();
    expected[13] = static_cast<std::uint8_t>(expected[13] + behind[13]); // the counts are small
    expected.insert(expected.end(), behind.begin() + 14, behind.end());
    ASSERT_EQ(expected, serialized(*mixer)) << i;
  }
}

TEST_F(MixerBlobRoundTripTest, CopySavesTheSame)
{
  std::mt19937 random(4505);
  for (int i = 0; i < 100; ++i) {
    const Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
    const RandomMix mix = randomMix(random, names);
    mixer->deserialize(mix.loaded.data().data(), false);
    const Owned<TovAudioProvider> copy(mixer->clone());
    ASSERT_EQ(serialized(*mixer), serialized(*copy)) << i;
  }
}

} // namespace
