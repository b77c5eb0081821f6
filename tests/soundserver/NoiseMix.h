#pragma once

#include <vector>

#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "tests/support/FileFormats.h"
#include "tests/support/Owned.h"
#include "tests/support/TempFolder.h"

/** The master mixer with three tracks of noise, of which no two places sound
 *  alike: a stereo file, one at another rate, and a mono one that begins
 *  later, with gains, pan and fades.  Empty again at the end. */
class NoiseMix {
public:
  static constexpr int kRate = 44100;
  static constexpr double kSeconds = 1.5; ///< from 0 to its last sample

  explicit NoiseMix(const support::TempFolder& folder);
  ~NoiseMix();
  NoiseMix(const NoiseMix&) = delete;
  NoiseMix& operator=(const NoiseMix&) = delete;

  /** What a player should make of a span: rendered in its blocks, reversed
   *  where the end lies before the start; through the filter at a source rate
   *  that resamples. */
  support::Signal span(double start, double end, int sourceRate = 0) const;

private:
  void add(const std::string& path, double startTime, double endTime, float gain, float pan);

  support::Owned<TovAudioMixer> mixer;
  std::vector<support::Owned<TovAudioFile>> files;
};

/** One behind the other, @p rounds times. */
support::Signal repeated(const support::Signal& sound, int rounds);

/** The samples times a factor. */
support::Signal amplified(const support::Signal& sound, float factor);
