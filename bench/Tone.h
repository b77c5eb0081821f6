#pragma once

#include <vector>

/** A sine of half scale. */
std::vector<float> tone(double frequency, double rate, long long frames);

/** What a signal holds of one frequency, by the sine that fits best in the
 *  sense of least squares (with a constant beside it), over the steady part:
 *  without the first and the last @p edge samples. */
struct ToneFit {
  double amplitude;
  double residue; ///< effective value of everything else
};
ToneFit fitTone(const std::vector<float>& signal, double frequency, double rate, std::size_t edge);

/** A ratio of amplitudes in decibels. */
double decibels(double ratio);
