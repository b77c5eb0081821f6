#include "pcm/TovPcm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr long long kFrames = 2000;
constexpr double kPhase = 0.25;

struct RatePair {
  int inRate, outRate;
};

const std::vector<RatePair> kPairs = {
    {44100, 48000}, {48000, 44100}, {44100, 96000}, {96000, 44100},  {48000, 96000}, {96000, 48000},
    {22050, 48000}, {48000, 8000},  {8000, 48000},  {192000, 44100}, {44100, 44100}};

double tone(double hertz, double inRate, double frame)
{
  return 0.9 * std::sin(2.0 * kPi * hertz * frame / inRate + 0.3);
}

std::vector<float> convertTone(int quality, const RatePair& rates, double hertz)
{
  const int handles = TovPcm::resamplerHandles(quality, rates.outRate, rates.inRate);
  const long long length = kFrames * rates.inRate / rates.outRate + 2 + 2LL * handles;
  std::vector<float> in;
  for (long long i = 0; i < length; ++i)
    in.push_back(static_cast<float>(tone(hertz, rates.inRate, static_cast<double>(i - handles))));
  std::vector<float> out(kFrames);
  TovPcm::resample(quality, out.data(), in.data() + handles, rates.outRate, rates.inRate, kFrames,
                   length, static_cast<float>(kPhase));
  return out;
}

/** How far what is not the tone lies below it, in decibels. */
double signalToNoise(int quality, const RatePair& rates, double hertz)
{
  const std::vector<float> out = convertTone(quality, rates, hertz);
  double signal = 0.0;
  double noise = 0.0;
  for (std::size_t n = 0; n < out.size(); ++n) {
    const double position = kPhase + static_cast<double>(n) * rates.inRate / rates.outRate;
    const double ideal = tone(hertz, rates.inRate, position);
    const double error = static_cast<double>(out[n]) - ideal;
    signal += ideal * ideal;
    noise += error * error;
  }
  return 10.0 * std::log10(signal / noise);
}

/** What is left of a tone, relative to it, in decibels. */
double leftOver(int quality, const RatePair& rates, double hertz)
{
  double power = 0.0;
  for (const float sample : convertTone(quality, rates, hertz))
    power += static_cast<double>(sample) * static_cast<double>(sample);
  return 10.0 * std::log10(power / static_cast<double>(kFrames) / (0.5 * 0.9 * 0.9));
}

} // namespace

TEST(ResampleQualityTest, TonesKeepTheirShape)
{
  struct Row {
    int quality;
    double ofLowerNyquist; ///< the tone, relative to half the lower rate
    double minimum;        ///< signal to noise in dB
  };
  const std::vector<Row> rows = {{1, 0.02, 83.0}, {1, 0.1, 65.0},  {1, 0.25, 42.5},
                                 {1, 0.5, 22.0},  {2, 0.02, 95.0}, {2, 0.1, 97.0},
                                 {2, 0.25, 93.5}, {2, 0.5, 86.0},  {3, 0.02, 100.0},
                                 {3, 0.1, 100.0}, {3, 0.25, 99.0}, {3, 0.5, 95.0}};
  for (const RatePair& rates : kPairs) {
    const double nyquist = 0.5 * std::min(rates.inRate, rates.outRate);
    for (const Row& row : rows)
      EXPECT_GT(signalToNoise(row.quality, rates, row.ofLowerNyquist * nyquist), row.minimum)
          << "quality " << row.quality << ", " << rates.inRate << " to " << rates.outRate << ", "
          << row.ofLowerNyquist;
  }
}

TEST(ResampleQualityTest, TonesThatTheOutputCannotHoldAreRemoved)
{
  struct Row {
    int quality;
    double ofOutputNyquist; ///< the tone, relative to half the output rate
    double maximum;         ///< what may be left of it, in dB
  };
  const std::vector<Row> rows = {{1, 1.3, -15.0}, {1, 1.5, -25.0}, {1, 1.8, -52.0}, {2, 1.1, -12.5},
                                 {2, 1.3, -40.5}, {2, 1.5, -90.0}, {2, 1.8, -97.0}, {3, 1.1, -21.0},
                                 {3, 1.3, -98.0}, {3, 1.5, -98.5}, {3, 1.8, -101.5}};
  for (const RatePair& rates :
       {RatePair{96000, 48000}, {96000, 44100}, {48000, 8000}, {192000, 44100}})
    for (const Row& row : rows)
      EXPECT_LT(leftOver(row.quality, rates, row.ofOutputNyquist * 0.5 * rates.outRate),
                row.maximum)
          << "quality " << row.quality << ", " << rates.inRate << " to " << rates.outRate << ", "
          << row.ofOutputNyquist;
}

TEST(ResampleQualityTest, AConstantKeepsItsLevel)
{
  const float tolerances[4] = {0.0f, 1.5e-4f, 4e-5f, 2e-5f};
  for (const RatePair& rates : kPairs) {
    for (int quality = 0; quality <= 3; ++quality) {
      const int handles = TovPcm::resamplerHandles(quality, rates.outRate, rates.inRate);
      const long long frames = 300;
      const std::vector<float> ones(
          static_cast<std::size_t>(frames * rates.inRate / rates.outRate + 2 + 2 * handles), 1.0f);
      for (const float phase : {0.0f, 0.1f, 0.25f, 0.5f, 0.7f, 0.99999994f}) {
        std::vector<float> out(static_cast<std::size_t>(frames));
        TovPcm::resample(quality, out.data(), ones.data() + handles, rates.outRate, rates.inRate,
                         frames, static_cast<long long>(ones.size()), phase);
        for (const float sample : out)
          ASSERT_NEAR(sample, 1.0f, tolerances[quality])
              << "quality " << quality << ", " << rates.inRate << " to " << rates.outRate;
      }
    }
  }
}

TEST(ResampleQualityTest, AHigherQualityIsNoWorse)
{
  for (const RatePair& rates : kPairs) {
    const double hertz = 0.25 * std::min(rates.inRate, rates.outRate);
    double previous = -std::numeric_limits<double>::infinity();
    for (int quality = 0; quality <= 3; ++quality) {
      const double current = signalToNoise(quality, rates, hertz);
      EXPECT_GT(current, previous)
          << "quality " << quality << ", " << rates.inRate << " to " << rates.outRate;
      previous = current;
    }
  }
}
