#pragma once

/** The sample loops, as plain functions over plain buffers: one set of them per
 *  instruction set.
 *
 *  The plain set is the definition of the arithmetic and runs everywhere; the
 *  others give the same bits, sooner, and are compared with it by the tests.
 *  Lengths are frames and may be 0; nothing allocates, locks or calls the
 *  system.  Any thread.
 */
struct TovKernels {
  // --- Conversion: ConversionLoops.h ----------------------------------------

  /** One channel of interleaved samples to float: @p samples is the channel's
   *  first sample, @p stride the bytes from frame to frame. */
  typedef void (*Decode)(float* out, const unsigned char* samples, long long stride,
                         long long frames);

  /** The reverse. */
  typedef void (*Encode)(unsigned char* samples, long long stride, const float* in,
                         long long frames);

  /** Both channels of stereo samples in one pass. */
  typedef void (*DecodeStereo)(float* left, float* right, const unsigned char* samples,
                               long long frames);
  typedef void (*EncodeStereo)(unsigned char* samples, const float* left, const float* right,
                               long long frames);

  /** What one encoding needs; each for the least significant byte first, and
   *  for the most significant byte first. */
  struct Conversion {
    int bytesPerSample;
    Decode decode[2];
    Encode encode[2];
    DecodeStereo decodeStereo[2];
    EncodeStereo encodeStereo[2];
  };

  // --- Resampling: ResamplingLoops.h ----------------------------------------

  /** One wing of a quality's filter. */
  struct FilterWing {
    const float* value;
    const float* delta;
    int length;             ///< entries of both
    int samplesPerCrossing; ///< entries per input frame, a power of two

    /** The same for the fast kernels: the entries that one output uses at unit
     *  steps, side by side, and value and delta of each entry, side by side.
     *  In the tables themselves they are a power of two apart, and would push
     *  each other out of the cache. */
    const float* rows;
    int rowLength; ///< half of it values, from entry i on, half of it deltas
    const float* pairs;

    const float* row(int i) const { return rows + static_cast<long long>(i) * rowLength; }

    /** With a gap behind the entries of each input frame. */
    static int pairIndex(int i, int samplesPerCrossing) { return i + i / samplesPerCrossing * 8; }
  };

  /** The filter of a quality of 1 to 3; built, which allocates, by whoever comes
   *  first.  Defined beside the tables. */
  static FilterWing filterWing(int quality);

  /** One request: outputs at the positions phase, phase + step ... in input
   *  frames. */
  struct Resampling {
    FilterWing wing;
    int outRate;
    int inRate;
    double ratio; ///< outRate / inRate
    float ratioF;
    double step; ///< inRate / outRate
    double phase;
    long long handles; ///< the most input frames that are read on each side
  };

  /** Band-limited interpolation of all channels at the same positions. */
  typedef void (*Resample)(float* const* outputs, const float* const* inputs, int channels,
                           const Resampling& resampling, long long frames);

  /** Sample and hold: out[n] = in[(n * step) >> 16], step in 1/65536 frame. */
  typedef void (*Hold)(float* out, const float* in, long long step, long long frames);

  // --- Blocks: BlockLoops.h -------------------------------------------------

  /** out[i] = factor * in[i]; @p out may be @p in. */
  typedef void (*Amplify)(float* out, const float* in, float factor, long long frames);

  /** Both outputs receive left - right; they may be the inputs. */
  typedef void (*Subtract)(float* outLeft, float* outRight, const float* inLeft,
                           const float* inRight, long long frames);

  /** Multiplies both channels by a factor that begins at @p factor and grows
   *  by @p step a frame, by repeated addition. */
  typedef void (*Ramp)(float* left, float* right, float factor, float step, long long frames);

  /** What a channel of a mix receives of a track's left and right; a gain of
   *  exactly 0 leaves its term out. */
  struct MixGains {
    float fromLeft;
    float fromRight;
  };
  typedef void (*Mix)(float* out, const float* left, const float* right, MixGains gains,
                      long long frames);

  // --- One set ---------------------------------------------------------------

  const char* name;          ///< "plain", "avx2" or "avx512"
  Conversion conversion[10]; ///< by encoding
  Resample resampleUp;       ///< for an output rate not below the input rate
  Resample resampleDown;     ///< below it: the filter is stretched by 1 / ratio
  Hold resampleByHold;
  Amplify amplify;
  Subtract subtractRightFromLeft;
  Ramp applyRamp;
  Mix storeMix; ///< out[i] = fromLeft * left[i] + fromRight * right[i]; zeros without a term
  Mix addMix;   ///< out[i] += the same, the sum first; nothing without a term

  /** The set that the library uses, chosen once: the fastest that this
   *  processor has, or, for tests and comparisons, the one that the environment
   *  variable TOV_KERNELS names. */
  static const TovKernels& chosen();

  /** A set by its name; null where it was not compiled, or where this
   *  processor lacks the instructions. */
  static const TovKernels* find(const char* name);

  /** Each set's own definition. */
  static const TovKernels plain;
  static const TovKernels avx2;
  static const TovKernels avx512;

  static void fillSilence(float* out, long long frames);
};
