#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "tests/playout/SteppedEngine.h"

namespace {

using Levels = std::vector<float>;

/** An engine with meters that plays 0.5 and 0.25 for ever. */
class MeteredEngine : public support::PlayingEngine {
public:
  MeteredEngine()
  {
    EXPECT_EQ(PeModuleEnableMetering(level), 0);
    play(0.5f, 0.25f);
  }
  void play(float left, float right)
  {
    supplier.instead = [=](double, unsigned long frames, float** buffers, unsigned char*) {
      std::fill_n(buffers[0], frames, left);
      std::fill_n(buffers[1], frames, right);
      return 0;
    };
  }
};

const Levels kPlayed{0.5f, 0.25f};
const Levels kNothing{0.0f, 0.0f};

TEST(Meter, ShowsEachChannelFromTheRunsStartTimeOn)
{
  MeteredEngine engine;
  engine.start(10000);
  EXPECT_EQ(engine.levels(10000, 10000), kNothing);
  engine.device().pull(5000);
  EXPECT_EQ(engine.levels(10000, 15000), kPlayed);
  EXPECT_EQ(engine.levels(10000, 10001), kPlayed);
  EXPECT_EQ(engine.levels(9000, 12000), kPlayed);  // from the start time
  EXPECT_EQ(engine.levels(9000, 10000), kNothing); // nothing was heard yet
  EXPECT_EQ(engine.levels(0, 9000), kNothing);
  EXPECT_EQ(engine.levels(15000, 16000), kNothing); // nothing was pulled yet
  EXPECT_EQ(engine.levels(12000, 1.0e12), kPlayed);
}

TEST(Meter, ASpanFromBehindItsEndBeginsAtTheStartTime)
{
  MeteredEngine engine;
  engine.start(50000);
  engine.device().pull(5000);
  engine.stop();
  engine.start(0); // the caller came in the first run
  EXPECT_EQ(engine.levels(50000, 0), kNothing);
  engine.device().pull(5000);
  EXPECT_EQ(engine.levels(50000, 3000), kPlayed);
}

TEST(Meter, AStartForgetsTheRunBefore)
{
  MeteredEngine engine;
  engine.start(0);
  engine.device().pull(5000);
  engine.stop();
  EXPECT_EQ(engine.levels(0, 5000), kPlayed); // the last run's, after a stop
  engine.device().pull(5000);
  EXPECT_EQ(engine.levels(0, 10000), engine.levels(0, 5000)); // the silence is not of the run
  engine.start(0);
  EXPECT_EQ(engine.levels(0, 5000), kNothing);
  engine.play(0.0f, 0.125f);
  engine.device().pull(100);
  EXPECT_EQ(engine.levels(0, 5000), (Levels{0.0f, 0.125f}));
}

TEST(Meter, AResetForgetsTheLastRun)
{
  MeteredEngine engine;
  engine.start(0);
  engine.device().pull(5000);
  engine.stop();
  ASSERT_EQ(PeMixerReset(engine.mixer), 0);
  EXPECT_EQ(engine.levels(0, 5000), kNothing);
}

TEST(Meter, StandsBehindTheVolume)
{
  MeteredEngine engine;
  engine.setVolume(0.5f);
  engine.start(0);
  engine.device().pull(2048);
  EXPECT_EQ(engine.levels(0, 2048), (Levels{0.25f, 0.125f}));
  engine.setVolume(0.0f);
  engine.device().pull(2048);
  engine.device().pull(1024);
  EXPECT_EQ(engine.levels(4096, 5120), kNothing);
}

TEST(Meter, SilencedPiecesShowNothing)
{
  MeteredEngine engine;
  engine.supplier.instead = [](double, unsigned long frames, float** buffers,
                               unsigned char* flag) {
    std::fill_n(buffers[0], frames, 1.0f);
    std::fill_n(buffers[1], frames, 1.0f);
    *flag = 1;
    return 0;
  };
  engine.start(0);
  engine.device().pull(5000);
  EXPECT_EQ(engine.levels(0, 5000), kNothing);
}

TEST(Meter, ALongSpanShowsWhereTheMeterFellTo)
{
  MeteredEngine engine;
  engine.start(0);
  engine.device().pull(44100);
  engine.play(0.0f, 0.0f);
  engine.device().pull(2 * 44100);
  const Levels levels = engine.levels(0, 3 * 44100.0);
  // A step of 1024 samples of uncertainty is 2.4 % of a second, 0.5 dB.
  EXPECT_NEAR(20.0 * std::log10(levels[0] / 0.5), -40.0, 0.5);
  EXPECT_NEAR(20.0 * std::log10(levels[1] / 0.25), -40.0, 0.5);
}

TEST(Meter, GivesAsManyLevelsAsAskedForAndThereAre)
{
  MeteredEngine engine;
  engine.start(0);
  engine.device().pull(5000);
  for (const int asked : {0, 1, 2, 3, 100}) {
    std::vector<float> levels(100, -1.0f);
    int count = asked;
    ASSERT_EQ(PeModuleGetPastMeterValues(engine.level, 0, 5000, &count, levels.data()), 0);
    const int given = std::min(asked, 2);
    EXPECT_EQ(count, given);
    for (int i = 0; i < 100; ++i)
      EXPECT_EQ(levels[std::size_t(i)], i < given ? kPlayed[std::size_t(i)] : -1.0f);
  }
}

TEST(Meter, BadQuestionsAreRefusedAndChangeNothing)
{
  MeteredEngine engine;
  engine.start(0);
  engine.device().pull(5000);
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  float levels[2] = {-1.0f, -1.0f};
  int count = 2;
  for (const double bad : {std::nan(""), kInfinity, -kInfinity}) {
    EXPECT_NE(PeModuleGetPastMeterValues(engine.level, bad, 5000, &count, levels), 0);
    EXPECT_NE(PeModuleGetPastMeterValues(engine.level, 0, bad, &count, levels), 0);
  }
  int negative = -1;
  EXPECT_NE(PeModuleGetPastMeterValues(engine.level, 0, 5000, &negative, levels), 0);
  EXPECT_EQ(negative, -1);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(levels[0], -1.0f);
  EXPECT_EQ(levels[1], -1.0f);
}

TEST(Meter, BeforeTheFirstStartEverythingIsZero)
{
  MeteredEngine engine;
  EXPECT_EQ(engine.levels(-1000, 1000), kNothing);
}

TEST(Meter, SwitchedOffEverythingIsZero)
{
  support::PlayingEngine engine;
  engine.start(1);
  engine.device().pull(5000);
  EXPECT_EQ(engine.levels(0, 5000), kNothing);
  ASSERT_EQ(PeModuleEnableMetering(engine.level), 0);
  engine.device().pull(5000);
  EXPECT_GT(engine.levels(0, 10000)[0], 0.0f);
}

TEST(Meter, FarFetchedTimesDoNoHarm)
{
  MeteredEngine engine;
  engine.start(-1.0e308);
  engine.device().pull(5000);
  EXPECT_EQ(engine.levels(1.7e308, 1.7e308), kNothing);
  EXPECT_EQ(engine.levels(-1.7e308, 1.7e308), kPlayed);
  EXPECT_EQ(engine.levels(1.7e308, -1.7e308), kNothing);
}

} // namespace
