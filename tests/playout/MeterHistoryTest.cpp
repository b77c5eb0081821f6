#include <algorithm>
#include <cfloat>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "playout/MeterHistory.h"
#include "tests/playout/ReferenceMeter.h"

namespace {

using support::meterLevel;

constexpr double kRate = 44100.0;
constexpr long kStep = MeterHistory::kStepFrames;

void measure(MeterHistory& history, const std::vector<float>& samples, long first = 0)
{
  const float* const buffer = samples.data() + first;
  history.measure(&buffer, static_cast<long>(samples.size()) - first);
}

/** Noise whose loudness changes, with single peaks, so that the attack and the
 *  fall both matter. */
std::vector<float> music(long frames, unsigned seed)
{
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> noise(-1.0f, 1.0f);
  std::vector<float> samples;
  float loudness = 0.0f;
  for (long frame = 0; frame < frames; ++frame) {
    if (frame % 3000 == 0)
      loudness = std::pow(10.0f, -4.0f * std::fabs(noise(random)));
    samples.push_back(noise(random) * loudness);
    if (random() % 40000 == 0)
      samples.back() = noise(random) * 2.0f;
  }
  return samples;
}

TEST(MeterHistory, IsTheMeterWhereSpansBeginAndEndAtSteps)
{
  MeterHistory history(1, kRate);
  const std::vector<float> samples = music(200 * kStep, 1);
  measure(history, samples);
  std::mt19937 random(2);
  for (int i = 0; i < 300; ++i) {
    const long from = static_cast<long>(random() % 200);
    const long to = from + 1 + static_cast<long>(random() % (200 - static_cast<unsigned>(from)));
    const double expected = meterLevel(samples, from * kStep, to * kStep, kRate);
    ASSERT_NEAR(history.level(0, double(from * kStep), double(to * kStep)), expected,
                expected * 1.0e-6);
  }
}

// The steps in which a span begins and ends count whole: the level is at least
// the meter's, but for the fall over the rest of the last step, and at most
// that of a meter over the widened span, for which what comes after `to` does
// not fall.
TEST(MeterHistory, IsTheMeterWithinAStepForAnySpan)
{
  const double slack = 1.0 + 1.0e-6;
  const double fallOfAStep = std::pow(10.0, -kStep / kRate);
  MeterHistory history(1, kRate);
  const std::vector<float> samples = music(100 * kStep + 300, 3);
  const long length = static_cast<long>(samples.size());
  measure(history, samples);
  std::mt19937 random(4);
  for (int i = 0; i < 1000; ++i) {
    const long from = static_cast<long>(random() % static_cast<unsigned>(length));
    const long to = from + 1 + static_cast<long>(random() % static_cast<unsigned>(length - from));
    const double level = history.level(0, static_cast<double>(from), static_cast<double>(to));
    ASSERT_GE(level * slack, meterLevel(samples, from, to, kRate) * fallOfAStep);

    const long first = from / kStep * kStep;
    const long end = std::min(length, (to + kStep - 1) / kStep * kStep);
    double after = 0.0;
    for (long position = to; position < end; ++position)
      after = std::fmax(after, std::fabs(samples[static_cast<std::size_t>(position)]));
    ASSERT_LE(level, slack * std::fmax(after, meterLevel(samples, first, to, kRate)));
  }
}

TEST(MeterHistory, TheStepThatIsBeingFilledCounts)
{
  MeterHistory history(1, kRate);
  std::vector<float> samples(kStep + 10, 0.0f);
  samples.back() = 0.5f;
  measure(history, samples);
  EXPECT_EQ(history.length(), kStep + 10);
  EXPECT_EQ(history.level(0, 0, kStep + 10), 0.5f);
  EXPECT_EQ(history.level(0, kStep, kStep + 10), 0.5f);
  EXPECT_EQ(history.level(0, 0, kStep), 0.0f);
}

TEST(MeterHistory, AnySplitOfTheSamplesIsTheWhole)
{
  const std::vector<float> samples = music(60 * kStep + 77, 5);
  MeterHistory whole(1, kRate);
  measure(whole, samples);
  MeterHistory pieces(1, kRate);
  std::mt19937 random(6);
  for (std::size_t done = 0; done < samples.size();) {
    const std::size_t piece = std::min(samples.size() - done, std::size_t{random() % 3000});
    const float* const buffer = samples.data() + done;
    pieces.measure(&buffer, static_cast<long>(piece));
    done += piece;
  }
  ASSERT_EQ(pieces.length(), whole.length());
  for (long to = 0; to <= whole.length(); to += 509)
    ASSERT_EQ(pieces.level(0, 100.0, double(to)), whole.level(0, 100.0, double(to))) << to;
}

TEST(MeterHistory, RisesAtOnceAndFallsToATenthInASecond)
{
  MeterHistory history(1, 1024.0 * 40); // a second is 40 steps
  std::vector<float> samples(5 * 40 * kStep, 0.0f);
  samples[kStep - 1] = -0.8f; // the last of the first step: shown in full at its end
  measure(history, samples);
  EXPECT_FLOAT_EQ(history.level(0, 0, kStep), 0.8f);
  for (int second = 1; second <= 4; ++second)
    EXPECT_NEAR(history.level(0, 0, kStep * (1.0 + 40 * second)) * std::pow(10.0, second), 0.8,
                1.0e-6);
  EXPECT_NEAR(history.level(0, 0, kStep * 1.5), 0.8 * std::pow(10.0, -0.5 / 40), 1.0e-6);
}

TEST(MeterHistory, SpansThatAreEmptyOrNotInTheRun)
{
  MeterHistory history(1, kRate);
  EXPECT_EQ(history.level(0, 0, 0), 0.0f);
  EXPECT_EQ(history.level(0, -10, 1.0e300), 0.0f);
  std::vector<float> samples(4 * kStep, 0.25f);
  samples[0] = 0.75f;
  measure(history, samples);
  const double end = 4.0 * kStep;
  const float all = history.level(0, 0, end);
  EXPECT_GT(all, 0.6f);
  EXPECT_EQ(history.level(0, -1.0e300, 1.0e300), all);
  EXPECT_EQ(history.level(0, -5, end + 1), all);
  EXPECT_EQ(history.level(0, 1000, 1000), 0.0f);
  EXPECT_EQ(history.level(0, -10, -5), 0.0f);
  EXPECT_EQ(history.level(0, -10, 0), 0.0f);
  EXPECT_EQ(history.level(0, end, end + 1000), 0.0f);
  EXPECT_EQ(history.level(0, end + 5, end + 1000), 0.0f);
  EXPECT_EQ(history.level(0, kStep, end), 0.25f);
  // The caller came before the run was begun again further back.
  EXPECT_EQ(history.level(0, 1.0e300, end), all);
  EXPECT_EQ(history.level(0, end + 1000, end + 500), all);
  EXPECT_EQ(history.level(0, 3.0 * kStep, 2.0 * kStep), history.level(0, 0, 2.0 * kStep));
  EXPECT_EQ(history.level(0, 5, -5), 0.0f);
}

TEST(MeterHistory, WhatIsNotANumberIsPassedOver)
{
  MeterHistory history(1, kRate);
  std::vector<float> samples(kStep, 0.5f);
  samples[0] = samples[500] = samples[kStep - 1] = std::nanf("");
  measure(history, samples);
  EXPECT_NEAR(history.level(0, 0, kStep), 0.5 * std::pow(10.0, -1.0 / kRate), 1.0e-7);
  measure(history, std::vector<float>(kStep, std::nanf("")));
  EXPECT_EQ(history.level(0, kStep, 2 * kStep), 0.0f);
  measure(history, std::vector<float>(kStep, 0.125f));
  EXPECT_EQ(history.level(0, 2 * kStep, 3 * kStep), 0.125f);
}

TEST(MeterHistory, InfiniteSamplesCountAsTheLargestNumberAndFallLikeIt)
{
  for (const float infinite : {HUGE_VALF, -HUGE_VALF}) {
    MeterHistory history(1, kRate);
    std::vector<float> samples(45 * 44100, 0.0f);
    samples[kStep - 1] = infinite;
    measure(history, samples);
    EXPECT_EQ(history.level(0, 0, kStep), FLT_MAX);
    const double later = kStep + 40.0 * kRate;
    EXPECT_NEAR(history.level(0, 0, later), double(FLT_MAX) * 1.0e-40, 1.0e-6);
    EXPECT_EQ(history.level(0, kStep, later), 0.0f);
  }
}

TEST(MeterHistory, ChannelsAreIndependent)
{
  MeterHistory history(3, kRate);
  const std::vector<std::vector<float>> samples{music(5000, 7), music(5000, 8), music(5000, 9)};
  const float* const buffers[] = {samples[0].data(), samples[1].data(), samples[2].data()};
  history.measure(buffers, 5000);
  for (std::size_t channel = 0; channel < 3; ++channel) {
    MeterHistory alone(1, kRate);
    measure(alone, samples[channel]);
    EXPECT_GT(alone.level(0, 0, 5000), 0.0f);
    EXPECT_EQ(history.level(static_cast<int>(channel), 0, 5000), alone.level(0, 0, 5000));
  }
}

TEST(MeterHistory, AClearedOneIsLikeNew)
{
  MeterHistory history(1, kRate);
  measure(history, std::vector<float>(5000, 1.0f));
  history.clear();
  EXPECT_EQ(history.length(), 0);
  EXPECT_EQ(history.level(0, 0, 5000), 0.0f);
  measure(history, std::vector<float>(100, 0.25f));
  EXPECT_EQ(history.level(0, 0, 5000), 0.25f);
}

// 1000 samples per second make three hours quick.
TEST(MeterHistory, ThreeHoursAreKeptAndWhatIsOlderCountsAsNothing)
{
  constexpr double kSlowRate = 1000.0;
  constexpr long kThreeHours = 3 * 3600 * 1000;
  MeterHistory history(1, kSlowRate);
  std::vector<float> hour(3600 * 1000, 0.0f);
  hour[0] = 1.0f;
  measure(history, hour);
  EXPECT_GT(history.level(0, 0, kStep), 0.09f);
  std::fill(hour.begin(), hour.end(), 0.5f);
  measure(history, hour);
  measure(history, hour);
  EXPECT_GT(history.level(0, 0, kStep), 0.09f); // three hours ago
  EXPECT_EQ(history.length(), kThreeHours);
  for (int i = 0; i < 5; ++i)
    measure(history, hour);
  const double end = 8.0 * 3600 * 1000;
  EXPECT_EQ(history.level(0, 0, kStep), 0.0f);
  EXPECT_EQ(history.level(0, 0, end), 0.5f);
  EXPECT_EQ(history.level(0, end - kThreeHours, end - kThreeHours + 4 * kStep), 0.5f);
  EXPECT_EQ(history.level(0, end - 2.0 * kThreeHours, end - 2.0 * kThreeHours + 4 * kStep), 0.0f);
}

} // namespace
