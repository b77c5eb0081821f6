#pragma once

/** The sample loops, as plain functions over plain buffers.
 *
 *  Each is the definition of its arithmetic: a faster version stands beside it
 *  under its own name, gives the same bits, and is compared with it by the
 *  tests.  Lengths are frames and may be 0; nothing allocates, locks or calls
 *  the system.
 */
struct TovKernels {
  // --- ConversionKernels.cpp ----------------------------------------------

  /** One channel of interleaved samples to float: @p samples is the channel's
   *  first sample, @p stride the bytes from frame to frame. */
  typedef void (*Decode)(float* out, const unsigned char* samples, long long stride,
                         long long frames);

  /** The reverse. */
  typedef void (*Encode)(unsigned char* samples, long long stride, const float* in,
                         long long frames);

  /** What one encoding needs. */
  struct Conversion {
    int bytesPerSample;
    Decode decode[2]; ///< least significant byte first, most significant byte first
    Encode encode[2];
  };

  /** @p encoding is at most 9. */
  static const Conversion& conversion(unsigned int encoding);

  // --- ResamplingKernels.cpp ----------------------------------------------

  /** One wing of a quality's filter. */
  struct FilterWing {
    const float* value;
    const float* delta;
    int length;             ///< entries of both
    int samplesPerCrossing; ///< entries per input frame
  };

  /** Sample and hold: out[n] = in[(n * step) >> 16], step in 1/65536 frame. */
  static void resampleByHold(float* out, const float* in, long long step, long long frames);

  /** Band-limited interpolation at the positions phase, phase + step ... in
   *  input frames, for an output rate not below the input rate. */
  static void resampleUp(float* out, const float* in, const FilterWing& wing, double step,
                         double phase, long long frames);

  /** The same for an output rate below the input rate: the filter is stretched
   *  by 1 / ratio.  At most @p handles input frames are read on each side. */
  static void resampleDown(float* out, const float* in, const FilterWing& wing, double ratio,
                           float ratioF, double step, double phase, long long handles,
                           long long frames);

  // --- BlockKernels.cpp ---------------------------------------------------

  static void fillSilence(float* out, long long frames);

  /** out[i] = factor * in[i]; @p out may be @p in. */
  static void amplify(float* out, const float* in, float factor, long long frames);

  /** Both outputs receive left - right; they may be the inputs. */
  static void subtractRightFromLeft(float* outLeft, float* outRight, const float* inLeft,
                                    const float* inRight, long long frames);

  /** Multiplies both channels by a factor that begins at @p factor and grows
   *  by @p step a frame, by repeated addition. */
  static void applyRamp(float* left, float* right, float factor, float step, long long frames);

  /** What a channel of a mix receives of a track's left and right; a gain of
   *  exactly 0 leaves its term out. */
  struct MixGains {
    float fromLeft;
    float fromRight;
  };

  /** out[i] = fromLeft * left[i] + fromRight * right[i]; zeros without a term. */
  static void storeMix(float* out, const float* left, const float* right, MixGains gains,
                       long long frames);

  /** out[i] += fromLeft * left[i] + fromRight * right[i], the sum first;
   *  nothing without a term. */
  static void addMix(float* out, const float* left, const float* right, MixGains gains,
                     long long frames);
};
