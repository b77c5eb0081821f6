#include "bench/Tone.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

namespace {

constexpr std::size_t kTerms = 3; // sine, cosine, constant

/** Solves a small linear system by elimination with pivots. */
std::array<double, kTerms> solve(std::array<std::array<double, kTerms + 1>, kTerms> rows)
{
  for (std::size_t column = 0; column < kTerms; ++column) {
    std::size_t pivot = column;
    for (std::size_t i = column + 1; i < kTerms; ++i)
      if (std::fabs(rows[i][column]) > std::fabs(rows[pivot][column]))
        pivot = i;
    std::swap(rows[column], rows[pivot]);
    for (std::size_t i = 0; i < kTerms; ++i) {
      const double factor = i == column ? 0.0 : rows[i][column] / rows[column][column];
      for (std::size_t k = column; k <= kTerms; ++k)
        rows[i][k] -= factor * rows[column][k];
    }
  }
  std::array<double, kTerms> solution{};
  for (std::size_t i = 0; i < kTerms; ++i)
    solution[i] = rows[i][kTerms] / rows[i][i];
  return solution;
}

std::array<double, kTerms> termsAt(double angle)
{
  return {std::sin(angle), std::cos(angle), 1.0};
}

} // namespace

std::vector<float> tone(double frequency, double rate, long long frames)
{
  std::vector<float> samples(static_cast<std::size_t>(frames));
  const double step = 2.0 * std::numbers::pi * frequency / rate;
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = static_cast<float>(0.5 * std::sin(step * static_cast<double>(i)));
  return samples;
}

ToneFit fitTone(const std::vector<float>& signal, double frequency, double rate, std::size_t edge)
{
  const std::size_t begin = std::min(edge, signal.size() / 4);
  const std::size_t end = signal.size() - begin;
  const double step = 2.0 * std::numbers::pi * frequency / rate;

  std::array<std::array<double, kTerms + 1>, kTerms> rows{};
  for (std::size_t i = begin; i < end; ++i) {
    const std::array<double, kTerms> terms = termsAt(step * static_cast<double>(i));
    for (std::size_t row = 0; row < kTerms; ++row) {
      for (std::size_t column = 0; column < kTerms; ++column)
        rows[row][column] += terms[row] * terms[column];
      rows[row][kTerms] += terms[row] * static_cast<double>(signal[i]);
    }
  }
  const std::array<double, kTerms> fit = solve(rows);

  double energy = 0.0;
  for (std::size_t i = begin; i < end; ++i) {
    const std::array<double, kTerms> terms = termsAt(step * static_cast<double>(i));
    const double rest =
        static_cast<double>(signal[i]) - fit[0] * terms[0] - fit[1] * terms[1] - fit[2] * terms[2];
    energy += rest * rest;
  }
  return {std::hypot(fit[0], fit[1]), std::sqrt(energy / static_cast<double>(end - begin))};
}

double decibels(double ratio)
{
  constexpr double kSilence = 1e-12;
  return 20.0 * std::log10(std::max(ratio, kSilence));
}
