#pragma once

#include <cstddef>

#include "graph/TovAudioProvider.h"

/** Renders its input at a rate of its own and converts the result to the
 *  context's rate: a low-pass filter when the source rate is low.
 *
 *      input --(source rate)--> sample buffers --resample--> (context rate)
 *
 *  Source rates from 200 to 40000 resample; with any other the request goes to
 *  the input untouched.
 *
 *  Holds one reference to its input.  Operations take providerLock, the
 *  input's locks inside it; activate() and deactivate() take none for the
 *  call.
 */
class TOV_API TovAudioResampler : public TovAudioProvider {
public:
  explicit TovAudioResampler(TovAudioProvider* input);

  /** Shares the other's input.  Deliberate: the source rate is 0. */
  TovAudioResampler(const TovAudioResampler& other);

  TovAudioProvider* clone() const override;

  /** The input's answer; 0 without one. */
  int activate(const TovAudioContext& context) override;
  int deactivate() override;

  /** The input's status, or 0; 1 a request above 2^28 frames; 4 a context rate
   *  below 1 or a null buffer; 5 without an input. */
  int getAudio(const TovNLPArray<float>& buffers, const TovNLArray<int>& channelMap,
               const TovAudioContext& context, double t0, double t1) override;

  /** The "ARSM" blob: tag, version 0, source rate, whether there is an input,
   *  and the input's blob. */
  int serialize(void** out) override;

  /** Reads an "ARSM" blob; -1 for another tag or version.  Deliberate: another
   *  version leaves providerLock held, and the input in the blob is built but
   *  neither connected nor released. */
  int deserialize(const void* blob, bool append) override;

  /** The same for a blob of @p size bytes: nothing outside them is read, and a
   *  blob that does not lie inside them is refused (-1). */
  int deserializeBounded(const void* blob, std::size_t size, bool append);

  bool isFedBy(const TovAudioProvider* provider) const override;

  /** Replaces the input; null takes it away.  The resampler itself, or what it
   *  feeds, is refused: nothing changes. */
  void setInputProvider(TovAudioProvider* provider);
  void setInputProviderNoLock(TovAudioProvider* provider);

  /** Frames per second at which the input is asked; unchecked, no
   *  notification. */
  int getSourceRate() const;
  void setSourceRate(int rate);

protected:
  ~TovAudioResampler() override;

private:
  class HeldInput;
  void replaceInput(TovAudioProvider* provider);
  int resampleInput(TovAudioProvider& provider, const TovNLPArray<float>& buffers,
                    const TovNLArray<int>& channelMap, const TovAudioContext& context, double t0,
                    double t1);
  static int buildDetachedInput(const unsigned char* blob, std::size_t size, bool append);

  TovAudioProvider* input;        ///< counted reference; written under both locks
  int sourceRate;                 ///< protected by providerLock
  mutable unsigned int inputLock; ///< innermost, held for moments
};
