#include "app/PlotSpectrogram.h"

#include <bit>

#include "app/PlotTicks.h"

static constexpr float kSilence = -1000.0f; // decibels

double FrequencyScale::placeOf(double frequency) const
{
  return isLogarithmic ? std::log(frequency / from) / std::log(to / from)
                       : (frequency - from) / (to - from);
}

double FrequencyScale::frequencyAt(double place) const
{
  return isLogarithmic ? from * std::pow(to / from, place) : from + (to - from) * place;
}

FrequencyScale frequencyScaleFor(int rate, bool isLogarithmic)
{
  const double highest = rate / 2.0;
  constexpr double kLowestHeard = 20.0;
  return {isLogarithmic ? std::min(kLowestHeard, highest / 100.0) : 0.0, highest, isLogarithmic};
}

SpectrogramPanel::SpectrogramPanel(int columnCount, int rowCount, const FrequencyScale& scale,
                                   int rate, int window)
    : columns(static_cast<std::size_t>(columnCount)),
      pixels(columns * static_cast<std::size_t>(rowCount), std::bit_cast<std::uint32_t>(kSilence)),
      highest(kSilence)
{
  const double perHertz = static_cast<double>(window) / rate;
  const double lastBin = window / 2.0;
  for (int row = 0; row < rowCount; ++row) {
    const double from = scale.frequencyAt(1.0 - (row + 1.0) / rowCount) * perHertz;
    const double to = scale.frequencyAt(1.0 - static_cast<double>(row) / rowCount) * perHertz;
    const double first = std::ceil(from);
    if (first < to) {
      const double last = std::min(std::max(std::ceil(to) - 1.0, first), lastBin);
      rows.push_back({static_cast<std::size_t>(first), static_cast<std::size_t>(last), -1.0f});
    } else {
      const double middle = std::min((from + to) / 2.0, lastBin);
      const double below = std::min(std::floor(middle), lastBin - 1.0);
      rows.push_back({static_cast<std::size_t>(below), static_cast<std::size_t>(below) + 1,
                      static_cast<float>(middle - below)});
    }
  }
}

static float decibelsOfPower(float power)
{
  return power > 0.0f ? 10.0f * std::log10(power) : kSilence;
}

void SpectrogramPanel::takeColumn(int column, const std::vector<float>& powers)
{
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Row& row = rows[i];
    float level = 0.0f;
    if (row.part < 0.0f) {
      level = decibelsOfPower(
          *std::max_element(powers.data() + row.first, powers.data() + row.last + 1));
    } else {
      level = std::lerp(decibelsOfPower(powers[row.first]), decibelsOfPower(powers[row.last]),
                        row.part);
    }
    highest = std::max(highest, level);
    // The picture's own memory keeps the levels, so that no second one is needed.
    pixels[i * columns + static_cast<std::size_t>(column)] = std::bit_cast<std::uint32_t>(level);
  }
}

void SpectrogramPanel::colour(double lowest, double top)
{
  for (std::uint32_t& pixel : pixels) {
    const double level = static_cast<double>(std::bit_cast<float>(pixel));
    pixel = colourOfLevel((level - lowest) / (top - lowest));
  }
}

void drawFrequencyLabels(PlotCanvas& canvas, const PlotStyle& style, const Area& panel,
                         const FrequencyScale& scale)
{
  const TextStyle text = style.faint();
  const double inset = style.times(0.55);
  double highestLabel = panel.bottom();
  for (const Tick& tick :
       frequencyTicks(scale.from, scale.to, scale.isLogarithmic, panel.height, style.times(2.2))) {
    const double y = std::round(panel.bottom() - scale.placeOf(tick.value) * panel.height);
    const double labelY = std::clamp(y, panel.y + inset, panel.bottom() - inset);
    canvas.fill({panel.x - style.times(0.3), std::min(y, panel.bottom() - style.line),
                 style.times(0.3), style.line},
                style.theme.faintInk);
    canvas.text(panel.x - style.times(0.6), labelY, Align::right, tick.label, text);
    highestLabel = std::min(highestLabel, labelY);
  }
  if (highestLabel - (panel.y + inset) >= style.times(1.3)) {
    canvas.text(panel.x - style.times(0.6), panel.y + inset, Align::right, "Hz", text);
  }
}

void drawColourBar(PlotCanvas& canvas, const PlotStyle& style, const Area& bar, double lowest,
                   double highest)
{
  const int rows = static_cast<int>(bar.height);
  std::vector<std::uint32_t> pixels;
  for (int row = 0; row < rows; ++row) {
    pixels.insert(pixels.end(), static_cast<std::size_t>(bar.width),
                  colourOfLevel(1.0 - (row + 0.5) / rows));
  }
  canvas.image(bar, pixels);
  const double inset = style.times(0.55);
  for (const Tick& tick : linearTicks(lowest, highest, bar.height, style.times(1.8))) {
    const double y = bar.bottom() - (tick.value - lowest) / (highest - lowest) * bar.height;
    canvas.text(bar.right() + style.times(0.5), std::clamp(y, bar.y + inset, bar.bottom() - inset),
                Align::left, tick.label, style.faint());
  }
}
