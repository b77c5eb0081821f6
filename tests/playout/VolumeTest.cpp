#include <algorithm>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "tests/playout/SteppedEngine.h"

namespace {

using support::PlayingEngine;

constexpr long kMove = 441; ///< 10 ms

/** An engine that plays the same sample for ever, on one channel. */
class SteadyEngine : public PlayingEngine {
public:
  explicit SteadyEngine(float sample = 1.0f, double sampleRate = kRate)
      : PlayingEngine(1, sampleRate)
  {
    supplier.instead = [sample](double, unsigned long frames, float** buffers, unsigned char*) {
      std::fill_n(buffers[0], frames, sample);
      return 0;
    };
    start(0);
  }
};

/** The definition, in double precision. */
std::vector<double> line(double from, double to, long frames)
{
  std::vector<double> factors;
  for (long i = 1; i <= frames; ++i)
    factors.push_back(from + (to - from) * static_cast<double>(i) / static_cast<double>(frames));
  return factors;
}

void expectFactors(const std::vector<float>& heard, std::size_t first,
                   const std::vector<double>& factors)
{
  ASSERT_GE(heard.size(), first + factors.size());
  for (std::size_t i = 0; i < factors.size(); ++i)
    ASSERT_NEAR(heard[first + i], factors[i], 2.0e-7) << i;
}

TEST(Volume, MovesInAStraightLineOfTenMilliseconds)
{
  SteadyEngine engine;
  EXPECT_EQ(engine.device().pull(100), std::vector<float>(100, 1.0f));
  engine.setVolume(0.25f);
  const std::vector<float> heard = engine.device().pull(1000);
  expectFactors(heard, 0, line(1.0, 0.25, kMove));
  for (std::size_t i = kMove - 1; i < heard.size(); ++i)
    ASSERT_EQ(heard[i], 0.25f) << i;
  EXPECT_EQ(engine.device().pull(100), std::vector<float>(100, 0.25f));
}

TEST(Volume, MovesTheSameHoweverTheDevicePulls)
{
  SteadyEngine whole;
  SteadyEngine pieces;
  for (SteadyEngine* const engine : {&whole, &pieces}) {
    engine->device().pull(1);
    engine->setVolume(0.1f);
  }
  whole.device().pull(9000);
  pieces.device().pullAll(9000, 7);
  EXPECT_EQ(whole.device().written, pieces.device().written);
}

TEST(Volume, ATurnOnTheWayBeginsWhereTheMoveStands)
{
  SteadyEngine engine;
  engine.device().pull(1);
  engine.setVolume(0.0f);
  engine.device().pull(100);
  engine.setVolume(0.5f);
  const double reached = 1.0 - 100.0 / kMove;
  EXPECT_NEAR(engine.device().written.back(), reached, 2.0e-7);
  const std::vector<float> heard = engine.device().pull(1000);
  expectFactors(heard, 0, line(reached, 0.5, kMove));
  EXPECT_EQ(heard[kMove - 1], 0.5f);
  EXPECT_EQ(heard.back(), 0.5f);
}

TEST(Volume, SettingTheSameAgainDoesNotProlongTheMove)
{
  SteadyEngine engine;
  engine.device().pull(1);
  engine.setVolume(0.5f);
  engine.device().pull(440);
  engine.setVolume(0.5f);
  EXPECT_EQ(engine.device().pull(1)[0], 0.5f);
}

TEST(Volume, NeverLeavesTheSpanOfItsMove)
{
  for (const float from : {0.0f, 0.1f, 1.0f / 3.0f, 0.7f, 1.0f})
    for (const float to : {0.0f, 0.3f, 0.9999999f, 1.0f}) {
      SteadyEngine engine;
      engine.stop();
      engine.setVolume(from);
      engine.start(0);
      engine.device().pull(1);
      engine.setVolume(to);
      float before = from;
      for (const float factor : engine.device().pull(500)) {
        ASSERT_LE(std::min(before, to), factor);
        ASSERT_GE(std::max(before, to), factor);
        before = factor;
      }
      ASSERT_EQ(before, to);
    }
}

TEST(Volume, AStartBeginsAtItWithoutAMove)
{
  SteadyEngine engine;
  engine.device().pull(1);
  engine.stop();
  engine.setVolume(0.125f);
  engine.start(0);
  EXPECT_EQ(engine.device().pull(1000), std::vector<float>(1000, 0.125f));
  engine.setVolume(1.0f);
  engine.device().pull(10);
  engine.stop();
  engine.start(0);
  EXPECT_EQ(engine.device().pull(1000), std::vector<float>(1000, 1.0f));
}

TEST(Volume, AStartEndsAMoveThatWasUnderWay)
{
  SteadyEngine engine(HUGE_VALF);
  engine.device().pull(1);
  engine.setVolume(0.5f);
  engine.device().pull(10);
  engine.stop();
  engine.setVolume(0.0f);
  engine.start(0);
  EXPECT_EQ(engine.device().pull(1000), std::vector<float>(1000, 0.0f)); // no infinity times 0
}

TEST(Volume, BeforeTheTrackItHoldsForTheTrack)
{
  support::SteppedEngine engine(1);
  engine.setVolume(0.5f);
  ASSERT_EQ(engine.createTrack(), 0);
  engine.start(0);
  EXPECT_EQ(engine.device().pull(1)[0], 0.5f * engine.supplier.heard(0, 1)[0]);
}

TEST(Volume, IsTheSameForAllChannels)
{
  PlayingEngine engine(3);
  engine.start(0);
  engine.device().pull(10);
  engine.setVolume(0.75f);
  const std::vector<float> heard = engine.device().pull(600);
  const std::vector<float> supplied = engine.supplier.heard(10, 600);
  const std::vector<double> factors = line(1.0, 0.75, kMove);
  for (std::size_t i = 0; i < heard.size(); ++i) {
    const double factor = i / 3 < factors.size() ? factors[i / 3] : 0.75;
    ASSERT_NEAR(heard[i], supplied[i] * factor, 1.0e-4) << i;
  }
}

TEST(Volume, TakesTenMillisecondsAtEveryRate)
{
  for (const double rate : {1000.0, 48000.0, 192000.0}) {
    SteadyEngine engine(1.0f, rate);
    engine.device().pull(1);
    engine.setVolume(0.5f);
    const std::vector<float> heard = engine.device().pull(4000);
    const std::size_t move = static_cast<std::size_t>(rate / 100.0);
    EXPECT_GT(heard[move - 2], 0.5f);
    EXPECT_EQ(heard[move - 1], 0.5f);
  }
}

TEST(Volume, AtZeroEverythingIsSilence)
{
  for (const float sample : {1.0f, HUGE_VALF, std::nanf("")}) {
    SteadyEngine engine(sample);
    engine.stop();
    engine.setVolume(0.0f);
    engine.start(0);
    for (const float heard : engine.device().pull(100))
      ASSERT_EQ(heard, 0.0f);
  }
}

TEST(Volume, BackAtOneTheSamplesAreWhatTheyWere)
{
  PlayingEngine engine;
  engine.start(0);
  engine.setVolume(0.3f);
  engine.device().pull(500);
  engine.setVolume(1.0f);
  engine.device().pull(kMove);
  EXPECT_EQ(engine.device().pull(500), engine.supplier.heard(500 + kMove, 500));
}

TEST(Volume, MovesOnWhileTheSupplierFails)
{
  SteadyEngine engine;
  engine.device().pull(1);
  const auto steady = engine.supplier.instead;
  engine.setVolume(0.5f);
  engine.supplier.instead = [](double, unsigned long, float**, unsigned char*) { return 1; };
  engine.device().pull(kMove - 1);
  engine.supplier.instead = steady;
  EXPECT_EQ(engine.device().pull(1)[0], 0.5f);
}

} // namespace
