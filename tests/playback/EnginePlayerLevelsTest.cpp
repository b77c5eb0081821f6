// Volume, meters and the filter of the engine-backed player.

#include <cmath>
#include <limits>
#include <utility>

#include "pcm/TovPcm.h"
#include "tests/playback/EnginePlayerTest.h"

namespace {

using support::EnginePlayerTest;
using support::IndexedProvider;
using support::RecordingEngine;
using support::SteppedHost;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

class EnginePlayerVolumeTest : public EnginePlayerTest {
protected:
  EnginePlayerVolumeTest() { make(); }

  /** What a volume sets the parameter to. */
  std::string setBy(float volume)
  {
    engine.take();
    EXPECT_EQ(0, player->setVolume(volume));
    return engine.take().back();
  }

  static std::string set(float value)
  {
    return "PeParameterSetCurrentValue(parameter, " + RecordingEngine::number(value) + ")";
  }
};

TEST_F(EnginePlayerVolumeTest, TheVolumeIsTheFirstParameterInItsRange)
{
  engine.minimum = -10.0f;
  engine.maximum = 30.0f;
  engine.value = 0.0f;
  float volume = 0.0f;
  EXPECT_EQ(0, player->getVolume(&volume));
  EXPECT_EQ(0.25f, volume);
  EXPECT_EQ((Calls{"PeModuleCountParameters(module)", "PeModuleGetIndexedParameter(module, 0)",
                   "PeParameterGetRangeInfo(parameter)", "PeParameterGetCurrentValue(parameter)"}),
            engine.take());
}

TEST_F(EnginePlayerVolumeTest, SettingTheVolumeSetsTheParameterInItsRange)
{
  engine.minimum = -10.0f;
  engine.maximum = 30.0f;
  EXPECT_EQ(set(0.0f), setBy(0.25f));
  EXPECT_EQ(set(-10.0f), setBy(0.0f));
  EXPECT_EQ(set(30.0f), setBy(1.0f));
  EXPECT_EQ(set(10.0f), setBy(0.5f));
}

TEST_F(EnginePlayerVolumeTest, VolumesAreHeldToZeroAndOne)
{
  engine.minimum = 2.0f;
  engine.maximum = 6.0f;
  EXPECT_EQ(set(6.0f), setBy(1.5f));
  EXPECT_EQ(set(2.0f), setBy(-1.0f));
  EXPECT_EQ(set(6.0f), setBy(kInfinity));
  EXPECT_EQ(set(2.0f), setBy(-kInfinity));
  EXPECT_EQ(set(2.0f), setBy(-0.0f));
}

TEST_F(EnginePlayerVolumeTest, WhatIsSetIsRead)
{
  engine.minimum = 0.0f;
  engine.maximum = 4.0f;
  for (const float set : {0.0f, 0.25f, 0.5f, 0.75f, 1.0f}) {
    float volume = -1.0f;
    EXPECT_EQ(0, player->setVolume(set));
    EXPECT_EQ(0, player->getVolume(&volume));
    EXPECT_EQ(set, volume);
  }
}

TEST_F(EnginePlayerVolumeTest, EveryRefusalOfTheEngineIsAFailure)
{
  for (const char* const function :
       {"PeModuleGetIndexedParameter", "PeParameterGetRangeInfo", "PeModuleCountParameters"}) {
    engine.fail(function, 1);
    float volume = 7.0f;
    EXPECT_EQ(1, player->getVolume(&volume)) << function;
    EXPECT_EQ(7.0f, volume) << function;
    engine.fail(function, 0);
  }
  for (const char* const function : {"PeModuleGetIndexedParameter", "PeParameterGetRangeInfo"}) {
    engine.fail(function, 1);
    engine.take();
    EXPECT_EQ(1, player->setVolume(0.5f)) << function;
    EXPECT_EQ(0, engine.count("PeParameterSetCurrentValue")) << function;
    engine.fail(function, 0);
  }
  float volume = 7.0f;
  engine.fail("PeParameterGetCurrentValue", 1);
  EXPECT_EQ(1, player->getVolume(&volume));
  EXPECT_EQ(7.0f, volume);
  EXPECT_EQ(0, player->setVolume(0.5f)) << "setting does not read the value";
  engine.fail("PeParameterSetCurrentValue", 1);
  EXPECT_EQ(1, player->setVolume(0.5f));
}

TEST_F(EnginePlayerVolumeTest, ThereIsNothingToReadIntoNull)
{
  EXPECT_EQ(1, player->getVolume(nullptr));
}

TEST_F(EnginePlayerVolumeTest, NotANumberIsRefusedAndNothingIsSet)
{
  EXPECT_EQ(1, player->setVolume(kNaN));
  EXPECT_EQ(0, engine.count("PeParameterSetCurrentValue"));
}

TEST_F(EnginePlayerVolumeTest, ARangeWithoutWidthHasNoVolume)
{
  engine.minimum = engine.maximum = engine.value = 3.0f;
  float volume = 7.0f;
  EXPECT_EQ(1, player->getVolume(&volume));
  EXPECT_EQ(7.0f, volume);
}

// --- Meters -------------------------------------------------------------------------------

class EnginePlayerLevelsTest : public EnginePlayerTest {
protected:
  EnginePlayerLevelsTest() { make(); }

  /** Asks at an engine time; the status, and the levels and calls kept. */
  int ask(void* key, double time)
  {
    engine.time = time;
    engine.take();
    levels[0] = levels[1] = -5.0f;
    const int status = player->getLevels(levels, key);
    calls = engine.take();
    return status;
  }

  std::vector<float> heard() const { return {levels[0], levels[1]}; }

  static std::string meters(double from, double to)
  {
    return "PeModuleGetPastMeterValues(module, " + RecordingEngine::number(from) + ", " +
           RecordingEngine::number(to) + ", 2)";
  }

  std::vector<float> silence = std::vector<float>(2, TovPcm::dBToFactor(TovPcm::kSilenceDB));
  std::vector<float> untouched = {-5.0f, -5.0f};
  int keys[12] = {};
  float levels[2] = {};
  Calls calls;
};

TEST_F(EnginePlayerLevelsTest, WithoutAKeyThereAreNoLevels)
{
  engine.playing = true;
  EXPECT_EQ(1, ask(nullptr, 100.0));
  EXPECT_EQ(untouched, heard());
}

TEST_F(EnginePlayerLevelsTest, NothingPlayingIsSilence)
{
  EXPECT_EQ(0, ask(&keys[0], 100.0));
  EXPECT_EQ(silence, heard());
  EXPECT_EQ((Calls{"PeTransportIsPlaying(transport)"}), calls);
  engine.playing = true;
  engine.fail("PeTransportIsPlaying", 1);
  EXPECT_EQ(0, ask(&keys[0], 100.0));
  EXPECT_EQ(silence, heard());
}

TEST_F(EnginePlayerLevelsTest, AKeysFirstCallIsSilenceAndTheNextCoverEverythingSince)
{
  engine.playing = true;
  EXPECT_EQ(0, ask(&keys[0], 100.0));
  EXPECT_EQ(silence, heard());
  EXPECT_EQ((Calls{"PeTransportIsPlaying(transport)", "PeTransportGetCurrentTime(transport)"}),
            calls);
  for (const double now : {200.0, 300.5, 50.0}) {
    EXPECT_EQ(0, ask(&keys[0], now));
    EXPECT_EQ((std::vector<float>{0.25f, 0.75f}), heard());
    EXPECT_EQ((Calls{"PeTransportIsPlaying(transport)", "PeTransportGetCurrentTime(transport)",
                     meters(100.0, now)}),
              calls);
  }
}

TEST_F(EnginePlayerLevelsTest, AKeyThatAskedWhileNothingPlayedIsNotKnownByIt)
{
  ask(&keys[0], 100.0);
  engine.playing = true;
  EXPECT_EQ(0, ask(&keys[0], 200.0));
  EXPECT_EQ(silence, heard());
  EXPECT_EQ(0, ask(&keys[0], 300.0));
  EXPECT_EQ(meters(200.0, 300.0), calls.back());
}

TEST_F(EnginePlayerLevelsTest, TenKeysHaveASpanOfTheirOwnAndAnEleventhIsRefused)
{
  engine.playing = true;
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(0, ask(&keys[i], 100.0 * i)) << i;
    EXPECT_EQ(silence, heard()) << i;
  }
  for (const int stranger : {10, 11, 10}) {
    EXPECT_EQ(1, ask(&keys[stranger], 5000.0));
    EXPECT_EQ(untouched, heard());
  }
  for (int i = 9; i >= 0; --i) {
    EXPECT_EQ(0, ask(&keys[i], 6000.0)) << i;
    EXPECT_EQ(meters(100.0 * i, 6000.0), calls.back()) << i;
  }
}

TEST_F(EnginePlayerLevelsTest, KeysOutliveStopAndPlay)
{
  engine.playing = true;
  ask(&keys[0], 100.0);
  player->stop();
  EXPECT_EQ(0, ask(&keys[0], 150.0));
  EXPECT_EQ(silence, heard());
  player->play(0.0, 100.0, false);
  EXPECT_EQ(0, ask(&keys[0], 20.0));
  EXPECT_EQ(meters(100.0, 20.0), calls.back());
}

TEST_F(EnginePlayerLevelsTest, RefusalsOfTheEngineAreFailures)
{
  engine.playing = true;
  engine.fail("PeTransportGetCurrentTime", 1);
  EXPECT_EQ(1, ask(&keys[0], 100.0));
  EXPECT_EQ(untouched, heard());
  engine.fail("PeTransportGetCurrentTime", 0);
  EXPECT_EQ(0, ask(&keys[0], 200.0)) << "it was not known yet";
  EXPECT_EQ(silence, heard());
  engine.fail("PeModuleGetPastMeterValues", 1);
  EXPECT_EQ(1, ask(&keys[0], 300.0));
  engine.fail("PeModuleGetPastMeterValues", 0);
  EXPECT_EQ(0, ask(&keys[0], 400.0));
  EXPECT_EQ(meters(200.0, 400.0), calls.back());
}

// --- Filter ---------------------------------------------------------------------------------

class EnginePlayerFilterTest : public EnginePlayerTest {
protected:
  EnginePlayerFilterTest() { make(); }

  /** The rate at which the mix is asked for at a filter frequency. */
  int renderRate(int frequency)
  {
    EXPECT_EQ(0, player->setFilterFreq(frequency));
    EXPECT_EQ(frequency, player->getFilterFreq());
    provider->keepRequests(true);
    provider->takeRequests();
    player->play(10.0, 11.0, false);
    const std::vector<IndexedProvider::Request> requests = provider->takeRequests();
    provider->keepRequests(false);
    player->stop();
    SteppedHost::steps(2);
    pull(10);
    return requests.empty() ? 0 : requests.front().sampleRate;
  }
};

TEST_F(EnginePlayerFilterTest, WithoutAFilterTheMixIsRenderedAtTheOutputsRate)
{
  EXPECT_EQ(0, player->getFilterFreq());
  EXPECT_EQ(44100, renderRate(0));
}

TEST_F(EnginePlayerFilterTest, TheMixIsRenderedAtTwiceTheFrequency)
{
  EXPECT_EQ(16000, renderRate(8000));
  EXPECT_EQ(200, renderRate(100));
  EXPECT_EQ(40000, renderRate(20000));
  EXPECT_EQ(2002, renderRate(1001));
}

TEST_F(EnginePlayerFilterTest, FrequenciesOutsideTheResamplersRangePassEverything)
{
  const int largest = std::numeric_limits<int>::max();
  const int smallest = std::numeric_limits<int>::min();
  for (const int frequency : {99, 20001, -1, -8000, largest, smallest, largest / 2 + 1,
                              smallest / 2 - 1,
                              1073741824 + 8000, // whose double would wrap round to 16000
                              -1073741824 - 1073741824 + 8000})
    EXPECT_EQ(44100, renderRate(frequency)) << frequency;
}

TEST_F(EnginePlayerFilterTest, TheFilterCanBeTakenAwayAgain)
{
  EXPECT_EQ(16000, renderRate(8000));
  EXPECT_EQ(44100, renderRate(0));
  player->play(1.0, 2.0, false);
  EXPECT_EQ(frames(kRate, kRate + 1000), pull(1000));
}

/** Noise: at every rate as much of every tone up to half of it. */
class NoiseProvider : public IndexedProvider {
public:
  int getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>&,
               const TovAudioContext& context, double t0, double t1) override
  {
    const long long first = getSampleIndex(context, t0);
    const long long count = getNumSampleFrames(context, t0, t1);
    for (long long i = 0; i < count; ++i) {
      unsigned long long bits = static_cast<unsigned long long>(first + i) * 0x9E3779B97F4A7C15ULL;
      bits = (bits ^ (bits >> 31)) * 0xD6E8FEB86659FD93ULL;
      buffers[0][i] = buffers[1][i] = static_cast<float>(static_cast<double>(bits >> 40) / 8388608.0 - 1.0);
    }
    return 0;
  }

protected:
  ~NoiseProvider() override = default;
};

TEST_F(EnginePlayerFilterTest, ALowFrequencyTakesTheHighTonesAway)
{
  const support::Owned<NoiseProvider> noise = support::make<NoiseProvider>();
  playAlone(*noise);
  // How much the sound changes from sample to sample, against how loud it is:
  // 2 for what has all tones, near 0 for what has low ones only.
  const auto roughness = [this](int frequency) {
    player->setFilterFreq(frequency);
    player->play(10.0, 11.0, false);
    std::vector<float> left(8192);
    std::vector<float> right(8192);
    unsigned char flag = 0;
    engine.pull(8192, left.data(), right.data(), &flag);
    double power = 0.0;
    double change = 0.0;
    for (std::size_t i = 1; i < left.size(); ++i) {
      power += std::pow(left[i], 2.0);
      change += std::pow(left[i] - left[i - 1], 2.0);
    }
    EXPECT_LT(100.0, power);
    return change / power;
  };
  EXPECT_NEAR(2.0, roughness(0), 0.1);
  EXPECT_GT(0.5, roughness(4000));
  EXPECT_GT(0.05, roughness(1000));
  EXPECT_NEAR(2.0, roughness(99), 0.1);
  mixer->clear();
}

} // namespace
