#include "bench/ConverterQuality.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "bench/Tone.h"

namespace {

constexpr double kLowTone = 997.0;
constexpr double kHighTone = 15000.0;
constexpr double kToneAmplitude = 0.5;
constexpr std::size_t kEdge = 4096; // longer than any filter here, in output frames

std::vector<float> converted(const ConverterSetting& setting, RatePair rates, double frequency,
                             long long frames)
{
  const std::unique_ptr<RateConverter> converter = setting.make(rates, 1);
  converter->setInput({tone(frequency, rates.from, frames)});
  converter->convert();
  return converter->output(0);
}

ToneFit fitOf(const ConverterSetting& setting, RatePair rates, double frequency, long long frames)
{
  return fitTone(converted(setting, rates, frequency, frames), frequency, rates.to, kEdge);
}

double snrOf(const ConverterSetting& setting, RatePair rates, double frequency)
{
  const ToneFit fit = fitOf(setting, rates, frequency, 1 << 16);
  return decibels(fit.amplitude / std::numbers::sqrt2 / std::max(fit.residue, 1e-12));
}

double levelOf(const ConverterSetting& setting, RatePair rates, double frequency)
{
  return decibels(fitOf(setting, rates, frequency, 16384).amplitude / kToneAmplitude);
}

/** The lowest frequency at which the level is below @p level: looked for in
 *  steps, then by halving. */
double edgeOf(const ConverterSetting& setting, RatePair rates, double level)
{
  const double nyquist = 0.5 * std::min(rates.from, rates.to);
  constexpr int kSteps = 24;
  double inside = 0.0;
  double outside = nyquist;
  for (int i = 1; i < kSteps; ++i) {
    const double frequency = nyquist * i / kSteps;
    if (levelOf(setting, rates, frequency) < level) {
      outside = frequency;
      break;
    }
    inside = frequency;
  }
  while (outside - inside > 20.0) {
    const double middle = 0.5 * (inside + outside);
    (levelOf(setting, rates, middle) < level ? outside : inside) = middle;
  }
  return 0.5 * (inside + outside);
}

double rejectionOf(const ConverterSetting& setting, RatePair rates)
{
  const ToneFit fit = fitOf(setting, rates, rejectedTone(rates), 1 << 15);
  // What a falling rate lets through of the tone is all alias, and of the same
  // samples as the tone itself would be.
  const double passed = rates.to < rates.from ? fit.amplitude / std::numbers::sqrt2 : 0.0;
  return -decibels(std::hypot(fit.residue, passed) * std::numbers::sqrt2 / kToneAmplitude);
}

} // namespace

double rejectedTone(RatePair rates)
{
  const double halfway = 0.25 * (rates.from + rates.to);
  return rates.to < rates.from ? halfway : rates.from - halfway;
}

ConverterQuality qualityOf(const ConverterSetting& setting, RatePair rates)
{
  return {snrOf(setting, rates, kLowTone), snrOf(setting, rates, kHighTone),
          edgeOf(setting, rates, -0.1), edgeOf(setting, rates, -3.0), rejectionOf(setting, rates)};
}

double distanceOf(const ConverterQuality& a, const ConverterQuality& b)
{
  static constexpr double kFloatRounding = 120.0; // what lies above is the samples' own
  constexpr double kDecibelsPerHertz = 0.005;
  const auto apart = [](double one, double other) {
    return std::fabs(std::min(one, kFloatRounding) - std::min(other, kFloatRounding));
  };
  return apart(a.snrLow, b.snrLow) + apart(a.snrHigh, b.snrHigh) +
         kDecibelsPerHertz * std::fabs(a.edgeTenth - b.edgeTenth);
}

bool isLower(const ConverterQuality& ours, const ConverterQuality& theirs)
{
  return ours.snrLow < theirs.snrLow - 0.5 || ours.snrHigh < theirs.snrHigh - 0.5;
}
