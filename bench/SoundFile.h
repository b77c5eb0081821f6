#pragma once

#include <string>
#include <vector>

#include "bench/RateConverter.h"
#include "io/TovAudioIOFormat.h"

/** What a sound file is to be like; its name says whether WAV or AIFF. */
struct SoundShape {
  int rate;
  int channels;
  int bits;
  double seconds;
};

/** Writes a few quiet sines below 12 kHz, other ones for every @p seed; so
 *  quiet that the sum of 64 such files stays within full scale. */
void writeSound(const std::string& path, const SoundShape& shape, unsigned seed);

/** Writes planar samples through the library, in blocks of kFileBlock frames. */
void writeSamples(const std::string& path, const Channels& samples, int rate, int bits);

/** Frames that are read or written at a time. */
constexpr long long kFileBlock = 4096;

/** White noise within 0.9 of full scale. */
Channels noiseSamples(int channels, long long frames);
