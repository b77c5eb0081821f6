// The envelope of a waveform against a plain computation.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "app/PlotEnvelope.h"

namespace {

std::vector<float> noise(std::size_t frames, unsigned int seed)
{
  std::mt19937 random(seed);
  std::vector<float> samples(frames);
  for (float& sample : samples)
    sample = static_cast<float>(random() % 2001) / 1000.0f - 1.0f;
  return samples;
}

/** Hands the samples over in blocks of random lengths. */
PlotEnvelope envelopeOf(std::vector<float> left, std::vector<float> right, FrameSpan span,
                        int columns, float fullScale, unsigned int seed)
{
  PlotEnvelope envelope(2, span, columns, fullScale);
  std::mt19937 random(seed);
  const long long frames = static_cast<long long>(left.size());
  for (long long frame = 0; frame < frames;) {
    const long long count = std::min(1 + static_cast<long long>(random() % 509), frames - frame);
    TovNLPArray<float> block;
    block.append(left.data() + frame);
    block.append(right.data() + frame);
    envelope.take(block, static_cast<int>(count), frame);
    frame += count;
  }
  return envelope;
}

TEST(PlotEnvelope, HoldsExtremesAndRmsOfEveryColumnsFrames)
{
  for (const auto& [from, to, columns] :
       {std::array<long long, 3>{0, 5000, 7}, {0, 5000, 1160}, {17, 4983, 640}, {3, 103, 100},
        {0, 1, 1}, {4000, 5000, 999}}) {
    SCOPED_TRACE(columns);
    const std::vector<float> sides[] = {noise(5000, 1), noise(5000, 2)};
    const PlotEnvelope envelope =
        envelopeOf(sides[0], sides[1], {from, to}, static_cast<int>(columns), 0.999f, 3);
    ASSERT_EQ(envelope.getColumns(), columns);
    for (int channel = 0; channel < 2; ++channel) {
      for (long long c = 0; c < columns; ++c) {
        const long long first = from + c * (to - from) / columns;
        const long long last = from + (c + 1) * (to - from) / columns;
        float lowest = 9.0f, highest = -9.0f;
        double squares = 0.0;
        bool isClipped = false;
        for (long long i = first; i < last; ++i) {
          const float sample = sides[channel][static_cast<std::size_t>(i)];
          lowest = std::min(lowest, sample);
          highest = std::max(highest, sample);
          squares += static_cast<double>(sample) * static_cast<double>(sample);
          isClipped = isClipped || std::fabs(sample) >= 0.999f;
        }
        const EnvelopeColumn& column = envelope.at(channel, static_cast<int>(c));
        ASSERT_EQ(column.lowest, lowest) << c;
        ASSERT_EQ(column.highest, highest) << c;
        ASSERT_NEAR(column.rms, std::sqrt(squares / static_cast<double>(last - first)), 1e-6) << c;
        ASSERT_EQ(column.isClipped, isClipped) << c;
      }
    }
  }
}

TEST(PlotEnvelope, DoesNotDependOnHowTheFramesAreCut)
{
  const std::vector<float> left = noise(4099, 4), right = noise(4099, 5);
  const PlotEnvelope first = envelopeOf(left, right, {0, 4099}, 333, 0.9f, 6);
  const PlotEnvelope second = envelopeOf(left, right, {0, 4099}, 333, 0.9f, 7);
  EXPECT_EQ(first.getClipped(), second.getClipped());
  for (int c = 0; c < 333; ++c) {
    EXPECT_EQ(first.at(1, c).lowest, second.at(1, c).lowest);
    EXPECT_NEAR(first.at(1, c).rms, second.at(1, c).rms, 1e-7);
  }
}

TEST(PlotEnvelope, CountsSamplesAtFullScaleOnce)
{
  std::vector<float> samples(1000, 0.5f);
  for (const std::size_t i : {0u, 1u, 499u, 500u, 999u})
    samples[i] = i % 2 == 0 ? 1.0f : -1.0f;
  const PlotEnvelope envelope = envelopeOf(samples, samples, {0, 1000}, 10, 1.0f, 8);
  EXPECT_EQ(envelope.getClipped(), 10);
  for (int c = 0; c < 10; ++c)
    EXPECT_EQ(envelope.at(0, c).isClipped, c == 0 || c == 4 || c == 5 || c == 9) << c;
}

TEST(PlotEnvelope, HasOneColumnPerFrameWhereColumnsAreMore)
{
  const std::vector<float> samples = {0.1f, -0.2f, 0.3f};
  const PlotEnvelope envelope = envelopeOf(samples, samples, {0, 3}, 1000, 1.0f, 9);
  ASSERT_EQ(envelope.getColumns(), 3);
  for (int c = 0; c < 3; ++c) {
    EXPECT_EQ(envelope.at(0, c).lowest, samples[static_cast<std::size_t>(c)]);
    EXPECT_EQ(envelope.at(0, c).highest, samples[static_cast<std::size_t>(c)]);
  }
}

TEST(PlotEnvelope, PassesOverWhatIsNoNumberAndMarksIt)
{
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const PlotEnvelope envelope = envelopeOf({0.25f, nan, nan, nan, -0.5f, 0.5f},
                                           {0, 0, 0, 0, 0, 0}, {0, 6}, 3, 1.0f, 10);
  EXPECT_EQ(envelope.at(0, 0).lowest, 0.25f);
  EXPECT_EQ(envelope.at(0, 0).highest, 0.25f);
  EXPECT_TRUE(envelope.at(0, 0).isClipped);
  EXPECT_EQ(envelope.at(0, 1).lowest, 0.0f);
  EXPECT_EQ(envelope.at(0, 1).rms, 0.0f);
  EXPECT_FALSE(envelope.at(0, 2).isClipped);
  EXPECT_EQ(envelope.getClipped(), 3);
}

} // namespace
