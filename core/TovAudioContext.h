#pragma once

#include "core/TovExport.h"

/** The render context: at which rate and timing audio is asked for.
 *
 *  A plain value.  Any thread, each its own object; real-time safe.
 */
class TOV_API TovAudioContext {
public:
  TovAudioContext(int sampleRate, int quality, double frameRate, double timeOffset);
  TovAudioContext(const TovAudioContext& other);
  TovAudioContext& operator=(const TovAudioContext& other);
  ~TovAudioContext();

  /** Takes over all four fields; copying onto itself does nothing. */
  void copy(const TovAudioContext& other);

  /** Releases nothing: the context owns nothing. */
  void destroy();

  int sampleRate;    ///< output sample frames per second
  int quality;       ///< resampling quality, 0 ("Proxy") to 3 ("Highest")
  double frameRate;  ///< frames per second of the host's timeline
  double timeOffset; ///< seconds of request time at which the source's time 0 falls
};
