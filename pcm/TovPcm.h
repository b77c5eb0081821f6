#pragma once

#include "core/TovExport.h"
#include "core/TovNLVArray.h"
#include "io/TovAudioIOFormat.h"

/** The library's sample arithmetic: static functions only.
 *
 *  Inside the library audio is single-precision float, one buffer per channel,
 *  full scale -1.0 to 1.0.  All arithmetic is single precision where nothing
 *  else is said, in the stated order, never contracted: the same input gives
 *  the same bits everywhere.  Any thread; but createFilterTable() not while
 *  another thread resamples at that quality.
 */
class TOV_API TovPcm {
public:
  // --- File samples to float and back -----------------------------------

  /** Interleaved file samples into one buffer per channel: output i receives
   *  channel channelMap[i] of every frame (the nearest valid channel where
   *  there is none such).  @p data is the first byte of the block's first
   *  frame and needs no alignment.
   *
   *  0; 1 no outputs, not as many as the map's entries, no data, or a format
   *  that is not #FormatValid; 2 a null first output.  An encoding above 9
   *  writes nothing and returns 0. */
  static int toFloat(const TovNLPArray<float>& outputs, const TovNLArray<int>& channelMap,
                     const void* data, const TovAudioIOFormat& format, long long frames);

  /** The same for channel 0 alone. */
  static int toFloat(float* output, const void* data, const TovAudioIOFormat& format,
                     long long frames);

  /** One buffer per channel into interleaved file samples; input i becomes
   *  channel i.  Of the map only the count is used.  Integers are truncated
   *  toward zero, never rounded.
   *
   *  0; 1 a format that is not #FormatValid; 2 an empty map, or one whose
   *  count is not that of the inputs and of the format's channels.  An
   *  encoding above 9 writes nothing and returns 0. */
  static int fromFloat(void* data, const TovNLArray<int>& channelMap,
                       const TovNLPArray<float>& inputs, const TovAudioIOFormat& format,
                       long long frames);

  /** The same for a mono format; 2 for any other. */
  static int fromFloat(void* data, const float* input, const TovAudioIOFormat& format,
                       long long frames);

  // --- Sample rates ------------------------------------------------------

  /** "Proxy", "Medium", "High" and "Highest"; qualities are taken as the
   *  nearest of 0 to 3, here and below. */
  static const char* getFilterQualityString(int quality);

  /** Modified Bessel function of the first kind, order 0: 29 terms of its
   *  power series behind the constant. */
  static double filterI0(double x);

  /** Builds the tables of a quality anew; quality 0 has none.  resample()
   *  builds them by itself, once.  Allocates. */
  static void createFilterTable(int quality);

  /** Input frames that resample() may read beyond each end of the span that
   *  it interpolates.  Rates in frames per second; 1 where one is below 1;
   *  at most INT_MAX. */
  static int resamplerHandles(int quality, int outRate, int inRate);

  /** Writes @p outFrames frames of one channel at @p outRate, made from
   *  @p in at @p inRate.  @p in points at input frame 0; with h handles the
   *  frames -h to inFrames - 1 - h must be readable.  @p phase is the position
   *  of the first output frame in input frames, 0 <= phase < 1; quality 0
   *  ignores it.  @p inFrames is not used.  A rate below 1 writes zeros.  The
   *  first call of a quality allocates its table; then real-time safe.  Takes
   *  up to 400 KiB of stack. */
  static void resample(int quality, float* out, const float* in, int outRate, int inRate,
                       long long outFrames, long long inFrames, float phase);

  /** The same for several channels, input i to output i: the bits of one after
   *  the other, sooner. */
  static void resample(int quality, const TovNLPArray<float>& outputs,
                       const TovNLPArray<float>& inputs, int outRate, int inRate,
                       long long outFrames, long long inFrames, float phase);

  /** Quality 0 by itself: sample and hold, in steps of 1/65536 frame. */
  static void resampleLowQuality(float* out, const float* in, int outRate, int inRate,
                                 long long outFrames, long long inFrames);

  /** Changes the pitch (2 is an octave up) and keeps the duration: linear
   *  interpolation at a drifting position that jumps back at quiet samples.
   *  @p in holds @p inFrames frames, and nothing else is read.  Returns the
   *  frames written, at most @p outFrames, and prints one line of statistics,
   *  "Hits: %d/%d (%5.2f%%)\n", on standard output.  Nothing is written for
   *  frames of 0 or less, a rate below 1 or a pitch that is not finite. */
  static long long resampleWithPitchShift(float* out, const float* in, int outRate, int inRate,
                                          long long outFrames, long long inFrames, float pitch);

  /** One wing of each quality's filter: entry i stands for the distance of
   *  i / (samples per zero crossing) input frames.  Null until built. */
  static float* filterTable[4];

  /** The difference of each entry to the next; the block goes on with what the
   *  fast kernels use.  Deliberate: the last is counted from the entry before
   *  the last. */
  static float* filterTableDelta[4];

  /** Entries of both; 0 until built. */
  static int filterTableLength[4];

  // --- Levels ------------------------------------------------------------

  /** The level in decibels below which a gain counts as silent. */
  static constexpr float kSilenceDB = -90.0f;

  /** Amplitude factor of a level: 10 to the power dB / 20, in double
   *  precision, as float. */
  static float dBToFactor(float dB);

  /** out[i] = factor * in[i], never clipped; @p out may be @p in.  Deliberate:
   *  only the low 32 bits of @p frames count, here and below. */
  static void amplifyDB(float* out, const float* in, long long frames, float dB);

  /** Both outputs receive left minus right; they may be the inputs. */
  static void removeCenterChannel(float* outLeft, float* outRight, const float* inLeft,
                                  const float* inRight, long long frames);

  /** The gains that place a stereo track: @p pan from -1 (left) to 1 (right),
   *  @p wide 1 for the full width and 0 for one point.  The law is linear:
   *  the two gains of one channel add up to @p gain.  Returns 2 when the left
   *  output receives something audible, plus 1 when the right one does. */
  static int getContribution(float* leftToLeft, float* leftToRight, float* rightToLeft,
                             float* rightToRight, float gain, float pan, float wide);
};
