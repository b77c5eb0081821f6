// Where ticks stand, and that their labels leave each other room.
#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "app/PlotTicks.h"

namespace {

/** As if every byte took 7 pixels, more than a letter does. */
double room(const std::string& label)
{
  return 7.0 * static_cast<double>(label.size());
}

std::vector<std::string> labels(const TimeScale& scale, double pixels)
{
  std::vector<std::string> texts;
  for (const Tick& tick : timeTicks(scale, pixels, room, 20.0))
    texts.push_back(tick.label);
  return texts;
}

using Labels = std::vector<std::string>;

TEST(PlotTicks, OfTimeStandAtRoundSeconds)
{
  EXPECT_EQ(labels({0.0, 3.0, TimeUnit::seconds, 24.0}, 200.0), (Labels{"0", "1", "2", "3"}));
  EXPECT_EQ(labels({0.95, 1.32, TimeUnit::seconds, 24.0}, 250.0),
            (Labels{"1.0", "1.1", "1.2", "1.3"}));
  EXPECT_EQ(labels({0.0, 0.01, TimeUnit::seconds, 24.0}, 200.0), (Labels{"0.000", "0.005", "0.010"}));
  EXPECT_EQ(labels({30.0, 95.0, TimeUnit::seconds, 24.0}, 200.0), (Labels{"0:30", "1:00", "1:30"}));
  EXPECT_EQ(labels({0.0, 86400.0, TimeUnit::seconds, 24.0}, 250.0),
            (Labels{"0:00:00", "12:00:00", "24:00:00"}));
  EXPECT_EQ(labels({59.995, 60.005, TimeUnit::seconds, 24.0}, 250.0),
            (Labels{"0:59.995", "1:00.000", "1:00.005"}));
  EXPECT_EQ(labels({-1.0, 1.0, TimeUnit::seconds, 24.0}, 150.0),
            (Labels{"\u22121", "0", "1"}));
}

TEST(PlotTicks, OfTimecodeStandAtFramesOfTheTimeline)
{
  EXPECT_EQ(labels({0.0, 1.0, TimeUnit::timecode, 24.0}, 380.0),
            (Labels{"00:00:00:00", "00:00:00:08", "00:00:00:16", "00:00:01:00"}));
  EXPECT_EQ(labels({0.0, 0.2, TimeUnit::frames, 25.0}, 200.0),
            (Labels{"0", "1", "2", "3", "4", "5"}));
  // 30 frames of 29.97 per second last a little longer than a second.
  const std::vector<Tick> ticks =
      timeTicks({0.0, 3.0, TimeUnit::timecode, 30000.0 / 1001.0}, 350.0, room, 20.0);
  ASSERT_EQ(ticks.size(), 3u);
  EXPECT_EQ(ticks[2].label, "00:00:02:00");
  EXPECT_NEAR(ticks[2].value, 60.0 * 1001.0 / 30000.0, 1e-12);
}

TEST(PlotTicks, OfTimeNeverTouchEachOther)
{
  for (const TimeUnit unit : {TimeUnit::seconds, TimeUnit::timecode, TimeUnit::frames}) {
    for (double length = 0.01; length < 100000.0; length *= 1.7) {
      for (const double from : {-3.0, 0.0, 1.234, 3599.99, 86399.0}) {
        for (const double pixels : {250.0, 333.0, 1000.0, 3500.0, 7900.0}) {
          const TimeScale scale = {from, from + length, unit, 23.976};
          const std::vector<Tick> ticks = timeTicks(scale, pixels, room, 20.0);
          ASSERT_LT(ticks.size(), pixels / 20.0);
          double free = -1e9;
          for (const Tick& tick : ticks) {
            const double x = (tick.value - from) / length * pixels;
            const double half = room(tick.label) / 2.0;
            ASSERT_GE(x - half, free) << tick.label << " from " << from << " over " << length;
            ASSERT_GE(x, -1e-3 * pixels);
            ASSERT_LE(x, pixels * 1.001);
            free = x + half + 19.0;
          }
          if (unit == TimeUnit::seconds && pixels >= 1000.0) {
            EXPECT_GE(ticks.size(), 3u) << "from " << from << " over " << length;
          }
        }
      }
    }
  }
}

TEST(PlotTicks, OfTwoNeighboursAreNeverLabelledAlike)
{
  for (double length = 0.001; length < 90000.0; length *= 1.3) {
    const Labels texts = labels({12.3, 12.3 + length, TimeUnit::seconds, 24.0}, 4000.0);
    for (std::size_t i = 1; i < texts.size(); ++i)
      EXPECT_NE(texts[i], texts[i - 1]);
  }
}

TEST(PlotTicks, OfLevelsAndFrequenciesStandAtMultiples)
{
  const auto texts = [](const std::vector<Tick>& ticks) {
    Labels found;
    for (const Tick& tick : ticks)
      found.push_back(tick.label);
    return found;
  };
  EXPECT_EQ(texts(linearTicks(-45.0, 5.0, 250.0, 90.0)),
            (Labels{"\u221240", "\u221220", "0"}));
  EXPECT_EQ(texts(frequencyTicks(0.0, 24000.0, false, 240.0, 40.0)),
            (Labels{"0", "5k", "10k", "15k", "20k"}));
  EXPECT_EQ(texts(frequencyTicks(20.0, 24000.0, true, 300.0, 25.0)),
            (Labels{"20", "50", "100", "200", "500", "1k", "2k", "5k", "10k", "20k"}));
  EXPECT_EQ(texts(frequencyTicks(20.0, 24000.0, true, 150.0, 25.0)),
            (Labels{"100", "1k", "10k"}));
}

} // namespace
