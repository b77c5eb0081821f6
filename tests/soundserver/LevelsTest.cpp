// The volume and the meters, compared with what a real sound server recorded.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

#include "pcm/TovPcm.h"
#include "playback/TovAudioPlayerOSX.h"
#include "tests/soundserver/HeardPlayer.h"
#include "tests/soundserver/NoiseMix.h"
#include "tests/soundserver/Recording.h"
#include "tests/soundserver/SoundServer.h"

namespace {

using support::Signal;

constexpr int kRate = SoundServer::kRate;

class HeardLevelsTest : public ::testing::Test {
protected:
  HeardLevelsTest() { server.start(); }

  SoundServer server;
  NoiseMix mix{server.environment().folder()};
};

TEST_F(HeardLevelsTest, HalfTheVolumeIsHalfOfEverySample)
{
  Recording recording(server.environment());
  TovAudioPlayerOSX driven;
  HeardPlayer player(driven);
  ASSERT_EQ(player->setVolume(0.5f), 0);
  ASSERT_EQ(player->play(0.3, 0.9, false), 0);
  const Signal recorded = recording.soundWhen([&] { return player.ended() == 1; });
  EXPECT_TRUE(isHeard(recorded, amplified(mix.span(0.3, 0.9), 0.5f)));
}

TEST_F(HeardLevelsTest, TheVolumeMovesWithinTenMillisecondsAndStaysThere)
{
  constexpr long long kRampFrames = kRate / 100;
  Recording recording(server.environment());
  TovAudioPlayerOSX driven;
  HeardPlayer player(driven);
  ASSERT_EQ(player->play(0.3, 1.45, false), 0);
  ASSERT_TRUE(player.passes(0.5));
  ASSERT_EQ(player->setVolume(0.5f), 0);
  const Signal heard = sounding(recording.soundWhen([&] { return player.ended() == 1; }));

  const Signal loud = mix.span(0.3, 1.45);
  const Signal quiet = amplified(loud, 0.5f);
  const long long rampBegin = framesInCommon(heard, loud);
  ASSERT_EQ(frameCount(heard), frameCount(loud)) << "they part at frame " << rampBegin;
  ASSERT_GT(rampBegin, kRate / 10);
  ASSERT_LT(rampBegin, frameCount(loud) - kRampFrames);
  const long long rampEnd = rampBegin + kRampFrames;
  const long long rest = frameCount(loud) - rampEnd;
  EXPECT_TRUE(isHeard(support::slice(heard, rampEnd, rest), support::slice(quiet, rampEnd, rest)));
  for (std::size_t channel = 0; channel < 2; ++channel) {
    double factorBefore = 1.0;
    for (auto i = static_cast<std::size_t>(rampBegin); i < static_cast<std::size_t>(rampEnd); ++i) {
      if (std::abs(loud[channel][i]) < 0.01f)
        continue;
      const double factor = static_cast<double>(heard[channel][i]) / loud[channel][i];
      ASSERT_LE(factor, factorBefore + 1e-6) << "at frame " << i;
      ASSERT_GE(factor, 0.5 - 1e-6) << "at frame " << i;
      // A straight line takes no more than its share at once: no click.
      ASSERT_LT(factorBefore - factor, 0.02) << "at frame " << i;
      factorBefore = factor;
    }
  }
}

/** What a peak meter (instant attack, 20 dB per second fall) shows that was at
 *  0 at frame @p from, for every frame behind it. */
std::vector<double> meter(const std::vector<float>& sound, long long from)
{
  const double fall = std::pow(10.0, -1.0 / kRate);
  std::vector<double> shown(sound.size(), 0.0);
  double level = 0.0;
  for (auto i = static_cast<std::size_t>(std::max(0LL, from)); i < sound.size(); ++i) {
    level = std::max(static_cast<double>(std::abs(sound[i])), level * fall);
    shown[i] = level;
  }
  return shown;
}

struct Reading {
  double before; ///< the position before the meters were read, and behind it
  double after;
  float levels[2];
};

Reading read(HeardPlayer& player, void* key)
{
  Reading reading{};
  reading.before = player.time();
  EXPECT_EQ(player->getLevels(reading.levels, key), 0);
  reading.after = player.time();
  return reading;
}

// Positions of meters are kept in steps of 1024 frames; a reading is right when
// it lies between what the reference shows from two steps before to two steps
// behind the positions at which it was taken.
TEST_F(HeardLevelsTest, MetersShowWhatWasRecorded)
{
  constexpr double kEnd = 2.5;     // with silence behind the mix, into which they fall
  constexpr double kLastRead = 2.0; // the player stops when the last sample is pulled, not heard
  constexpr long long kTolerance = 2048;
  Recording recording(server.environment());
  TovAudioPlayerOSX driven;
  HeardPlayer player(driven);
  ASSERT_EQ(player->setVolume(0.75f), 0);
  ASSERT_EQ(player->play(0.0, kEnd, false), 0);
  ASSERT_TRUE(player.passes(0.1));

  int key = 0;
  const Reading first = read(player, &key);
  const float silence = TovPcm::dBToFactor(TovPcm::kSilenceDB);
  EXPECT_EQ(first.levels[0], silence);
  EXPECT_EQ(first.levels[1], silence);
  std::vector<Reading> readings;
  for (double next = first.after; next < kLastRead; next += 0.05) {
    ASSERT_TRUE(player.passes(next));
    readings.push_back(read(player, &key));
    next = std::max(next, readings.back().after);
  }
  const Signal recorded = recording.soundWhen([&] { return player.ended() == 1; });
  ASSERT_GE(readings.size(), 15u);

  const long long start = firstSounding(recorded) - firstSounding(mix.span(0.0, kEnd));
  const auto frameAt = [](double seconds) { return std::llround(seconds * kRate); };
  for (std::size_t channel = 0; channel < 2; ++channel) {
    const Signal heard =
        support::slice(recorded, start, std::min(frameAt(kEnd), frameCount(recorded) - start));
    const std::vector<double> atLeast = meter(heard[channel], frameAt(first.after) + kTolerance);
    const std::vector<double> atMost = meter(heard[channel], frameAt(first.before) - kTolerance);
    for (const Reading& reading : readings) {
      const long long from = frameAt(reading.before) - kTolerance;
      const long long to =
          std::min(frameAt(reading.after) + kTolerance, frameCount(heard)) - from;
      ASSERT_GT(to, 0);
      const double low = *std::min_element(atLeast.begin() + from, atLeast.begin() + from + to);
      const double high = *std::max_element(atMost.begin() + from, atMost.begin() + from + to);
      EXPECT_GE(reading.levels[channel], low * 0.9999) << "at " << reading.before;
      EXPECT_LE(reading.levels[channel], high * 1.0001) << "at " << reading.before;
    }
  }
  EXPECT_LT(readings.back().levels[0], 0.5f * readings.front().levels[0]);
}

} // namespace
