// The powers behind a spectrogram, and the colours before it.
#include <algorithm>
#include <cmath>
#include <set>

#include <gtest/gtest.h>

#include "app/PlotColours.h"
#include "app/PlotSpectrum.h"

namespace {

/** A sine at the middle of a bin, at full scale. */
std::vector<float> sineAtBin(int bin, int window, int frames)
{
  std::vector<float> samples;
  for (int i = 0; i < frames; ++i)
    samples.push_back(static_cast<float>(std::sin(6.283185307179586 * bin * i / window)));
  return samples;
}

struct Column {
  int panel;
  int column;
  std::vector<float> powers;
};

/** In blocks of a prime number of frames. */
std::vector<Column> columnsOf(const SpectrumPlan& plan, std::vector<std::vector<float>> channels)
{
  std::vector<Column> columns;
  PlotSpectrum spectrum(plan, [&](int panel, int column, const std::vector<float>& powers) {
    columns.push_back({panel, column, powers});
  });
  const long long frames = static_cast<long long>(channels[0].size());
  for (long long frame = 0; frame < frames; frame += 509) {
    TovNLPArray<float> block;
    for (std::vector<float>& channel : channels)
      block.append(channel.data() + frame);
    spectrum.take(block, static_cast<int>(std::min(509LL, frames - frame)), frame);
  }
  spectrum.finish();
  return columns;
}

TEST(PlotSpectrum, OfASineIsHighestInItsBinWhereItsPowerIsOne)
{
  for (const int window : {64, 256, 2048}) {
    for (const int bin : {3, window / 8, window / 2 - 5}) {
      for (const int columns : {5, 40, 1000}) {
        const std::vector<Column> found =
            columnsOf({1, 1, window, columns, {0, 10000}, {0, 10000}},
                      {sineAtBin(bin, window, 10000)});
        ASSERT_EQ(static_cast<int>(found.size()), columns);
        for (int c = 0; c < columns; ++c) {
          const Column& column = found[static_cast<std::size_t>(c)];
          ASSERT_EQ(column.column, c);
          ASSERT_EQ(column.powers.size(), static_cast<std::size_t>(window) / 2 + 1);
          const auto highest = std::max_element(column.powers.begin(), column.powers.end());
          // At the ends a window reaches beyond the sound.
          if (c * 10000 / columns > window && (c + 1) * 10000 / columns < 10000 - window) {
            EXPECT_EQ(highest - column.powers.begin(), bin);
            EXPECT_NEAR(*highest, 1.0f, 0.001f);
            // The Hann window's two neighbours have a quarter, the next nothing.
            EXPECT_NEAR(column.powers[static_cast<std::size_t>(bin) - 1], 0.25f, 0.001f);
            EXPECT_LT(column.powers[static_cast<std::size_t>(bin) - 2], 1e-6f);
          }
        }
      }
    }
  }
}

TEST(PlotSpectrum, HasAPanelPerChannelOrTheMeanPowerOfAll)
{
  const std::vector<float> tone = sineAtBin(16, 256, 4096);
  const std::vector<float> silence(4096, 0.0f);
  for (const Column& column : columnsOf({2, 2, 256, 8, {0, 4096}, {0, 4096}}, {tone, silence})) {
    if (column.column > 0 && column.column < 7) {
      EXPECT_NEAR(column.powers[16], column.panel == 0 ? 1.0f : 0.0f, 0.001f);
    }
  }
  for (const Column& column : columnsOf({2, 1, 256, 8, {0, 4096}, {0, 4096}}, {tone, silence})) {
    EXPECT_EQ(column.panel, 0);
    if (column.column > 0 && column.column < 7) {
      EXPECT_NEAR(column.powers[16], 0.5f, 0.001f);
    }
  }
}

TEST(PlotSpectrum, OfAPartSeesWhatIsKnownAroundIt)
{
  const std::vector<Column> found =
      columnsOf({1, 1, 256, 10, {2000, 2100}, {1500, 2600}}, {sineAtBin(16, 256, 4096)});
  ASSERT_EQ(found.size(), 10u);
  for (const Column& column : found)
    EXPECT_NEAR(column.powers[16], 1.0f, 0.001f);
}

TEST(PlotSpectrum, OfWhatIsNoNumberIsSilent)
{
  const std::vector<float> samples(1000, std::nanf(""));
  for (const Column& column : columnsOf({1, 1, 64, 4, {0, 1000}, {0, 1000}}, {samples})) {
    for (const float power : column.powers)
      ASSERT_EQ(power, 0.0f);
  }
}

TEST(PlotSpectrum, HasWindowsByRateAndLength)
{
  EXPECT_EQ(windowForRate(48000, {0, 480000}), 2048);
  EXPECT_EQ(windowForRate(44100, {0, 441000}), 2048);
  EXPECT_EQ(windowForRate(96000, {0, 960000}), 4096);
  EXPECT_EQ(windowForRate(8000, {0, 80000}), 256);
  EXPECT_EQ(windowForRate(48000, {0, 4800}), 512);
  EXPECT_EQ(windowForRate(48000, {0, 1}), 256);
}

// Lightness after CIE, from 0 to 100.
double lightnessOf(std::uint32_t colour)
{
  const auto linear = [](std::uint32_t byte) {
    const double part = byte / 255.0;
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  const double luminance = 0.2126 * linear(colour >> 16 & 255) +
                           0.7152 * linear(colour >> 8 & 255) + 0.0722 * linear(colour & 255);
  return luminance > 0.008856 ? 116.0 * std::cbrt(luminance) - 16.0 : 903.3 * luminance;
}

TEST(PlotColours, OfLevelsBecomeLighterInEvenSteps)
{
  EXPECT_LT(lightnessOf(colourOfLevel(0.0)), 3.0);
  EXPECT_GT(lightnessOf(colourOfLevel(1.0)), 95.0);
  double before = -1.0;
  for (int i = 0; i <= 400; ++i) {
    const double lightness = lightnessOf(colourOfLevel(i / 400.0));
    EXPECT_GE(lightness, before - 0.3) << i;
    before = lightness;
  }
  for (int i = 2; i < 10; ++i) {
    const double step =
        lightnessOf(colourOfLevel((i + 1) / 10.0)) - lightnessOf(colourOfLevel(i / 10.0));
    EXPECT_GT(step, 6.0) << i;
    EXPECT_LT(step, 16.0) << i;
  }
  EXPECT_EQ(colourOfLevel(-5.0), colourOfLevel(0.0));
  EXPECT_EQ(colourOfLevel(7.0), colourOfLevel(1.0));
}

TEST(PlotColours, OfTracksDifferFromTheirNeighboursAndAreNeverGrey)
{
  for (const bool isDark : {false, true}) {
    std::set<std::array<double, 3>> found;
    for (int track = 0; track < 8; ++track) {
      const Colour c = coloursOfTrack(track, isDark).rms;
      found.insert({c.red, c.green, c.blue});
      EXPECT_GT(std::max({c.red, c.green, c.blue}) - std::min({c.red, c.green, c.blue}), 0.2);
    }
    EXPECT_EQ(found.size(), 8u);
    const Colour grey = plotTheme(isDark).unheard.rms;
    EXPECT_NEAR(grey.red, grey.blue, 0.07);
  }
}

} // namespace
