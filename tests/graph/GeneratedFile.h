#pragma once

#include <random>
#include <string>
#include <vector>

#include "tests/reference/FileSpan.h"
#include "tests/support/TempFolder.h"

enum class Container { Wav, Aiff };

/** An audio file with random samples, and what a provider should make of it
 *  right after initialize(). */
struct GeneratedFile {
  std::string path;
  reference::Source source;
};

/** @p bits is 8, 16, 24 or 32 (32 is scaled float in WAV, integer in AIFF). */
GeneratedFile generateFile(const support::TempFolder& folder, const std::string& name,
                           Container container, int channels, int rate, int bits, int frames,
                           std::mt19937& random);

/** The suffix that belongs to the container, with its dot. */
std::string suffixOf(Container container);

/** Samples of 16 bits, all channels of a frame the same: frame i is
 *  rampSample(i). */
std::string writeRamp(const support::TempFolder& folder, const std::string& name,
                      Container container, int channels, int rate, int frames);

/** A different value for each of the first 32767 frames, none of them 0. */
float rampSample(long long frame);

/** rampSample() from frame @p first on. */
std::vector<float> ramp(long long first, long long count);

std::vector<float> silence(long long count);

/** The parts one behind the other. */
std::vector<float> joined(const std::vector<std::vector<float>>& parts);
