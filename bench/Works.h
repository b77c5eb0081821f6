#pragma once

#include <functional>
#include <istream>
#include <string>

#include "bench/RateConverter.h"

/** A piece of our own work by the words that describe it: its kind, and what
 *  the maker of that kind reads. */
std::function<void()> makeWork(std::istream& words);

/** The words of a resampling of 2^18 input frames (kResampledFrames) of noise. */
std::string resamplingWork(int quality, RatePair rates, int channels, int block);
constexpr int kResampledFrames = 1 << 18;

// The makers, each beside its bench.
std::function<void()> makeDecoding(std::istream& words);   ///< path
std::function<void()> makeEncoding(std::istream& words);   ///< path, bits, frames
std::function<void()> makeResampling(std::istream& words); ///< see resamplingWork()
