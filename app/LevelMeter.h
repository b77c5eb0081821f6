#pragma once

#include <string>
#include <vector>

#include "core/TovNLVArray.h"
#include "io/TovAudioIOFormat.h"

/** What a meter has seen of one channel. */
struct ChannelLevel {
  float peak = 0.0f;         ///< largest magnitude
  double sumOfSquares = 0.0; ///< of all frames
  long long clipped = 0;     ///< samples that the file format cannot hold
};

/** Measures peak, mean power and clipping, channel by channel. */
class LevelMeter {
public:
  /** Counts as clipped what a writer clamps that stores @p bits in @p encoding. */
  LevelMeter(int channels, TovSampleEncoding encoding, int bits);

  void measure(const TovNLPArray<float>& samples, int frames);

  const std::vector<ChannelLevel>& getChannels() const { return levels; }
  float getHighestPeak() const;
  long long getClipped() const; ///< of all channels
  std::vector<long long> clippedOfChannels() const;
  std::vector<double> peaksInDecibels() const;
  std::vector<double> rmsInDecibels() const;

private:
  bool isClipped(float sample) const;

  std::vector<ChannelLevel> levels;
  bool clips = true;  ///< false: every float is stored as it is
  float above = 0.0f; ///< the first value that is too high
  float below = 0.0f; ///< the first value that is too low
  long long framesMeasured = 0;
};

/** A magnitude as level below full scale; minus infinity for 0. */
double decibelsOfFullScale(double magnitude);

/** "-3.01 dBFS", "-inf dBFS". */
std::string levelForPeople(double decibels);
