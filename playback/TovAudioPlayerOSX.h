#pragma once

#include "core/TovAudioContext.h"
#include "core/TovExport.h"
#include "core/TovNLVArray.h"
#include "playback/TovAudioPlayer.h"
#include "playout/PlayoutEngine.h"

class TovAudioFIFO;
class TovAudioMixer;
class TovAudioResampler;

/** Plays the master mixer through the playout engine:
 *
 *      master mixer -> resampler -> FIFO -> audioSupplierFunc -> engine's track
 *                      (low-pass)  (feeder     (engine's          -> overall level
 *                                   thread)     callback thread)
 *
 *  Threads: host thread, one at a time, but stop(), isPlaying() and
 *  getCurrentTime(), which the stop request callback may call as well.
 *
 *  An engine that refuses at construction gives one error message; the player
 *  then answers 1 to everything that needs it, and isPlaying() 0.
 */
class TOV_API TovAudioPlayerOSX : public TovAudioPlayer {
public:
  /** Opens the audio output and starts the feeder thread.  Blocks. */
  TovAudioPlayerOSX();

  /** Stops what plays.  Blocks until the feeder thread has ended. */
  ~TovAudioPlayerOSX() override;

  /** Takes about 0.04 s, in which the first blocks are rendered.  A failure of
   *  the engine's start is not reported: ask isPlaying().  Deliberate: with
   *  equal start and end the transport begins at 0 or, where it lies below, at
   *  the start. */
  int play(double start, double end, bool loop) override;
  int stop() override;
  int isPlaying() override;
  int getCurrentTime(double* time) override;

  /** Deliberate: every call covers the span from the key's first call to now.
   *  A key's first call, and any while nothing plays, gives -90 dB; an
   *  eleventh key is refused. */
  int getLevels(float* levels, void* key) override;

  int getVolume(float* volume) override;

  /** Clamped to 0 to 1; not a number is refused. */
  int setVolume(float volume) override;

  /** Called on the feeder thread; see TovAudioFIFO::setStopRequestCallback. */
  void setStopRequestCallback(void (*function)(void*), void* data) override;

  /** Renders the mix at twice the frequency, from where the resampler brings
   *  it back to the output's rate; a frequency of which the resampler cannot
   *  make a rate passes everything. */
  int setFilterFreq(int frequency) override;

  /** What the engine calls for audio: forwards to the player that @p refCon
   *  points to, where it is not null.  Engine's callback thread; real-time
   *  safe. */
  static int audioSupplierFuncStatic(void* refCon, double time, unsigned long n,
                                     unsigned long frames, float** buffers, unsigned char* flag);

private:
  static constexpr int kMostMeterKeys = 10;

  int audioSupplierFunc(double time, unsigned int n, unsigned int frames, float** buffers,
                        bool* flag);
  int initializeEngine();
  void release();
  int getVolumeParameter(PeParameter* parameter, float* minimum, float* maximum) const;

  PeMixer engineMixer;
  PeTrack engineTrack;
  PeTransport transport;
  PeModule levelModule;
  TovAudioMixer* masterMixer;        ///< counted reference
  TovAudioContext context;           ///< of playback; its quality is the FIFO's business
  TovAudioResampler* resampler;      ///< counted reference
  TovAudioFIFO* fifo;                ///< owned
  bool initialized;                  ///< every engine call of the constructor succeeded
  void* meterKeys[kMostMeterKeys];   ///< callers of getLevels() known so far
  double meterTimes[kMostMeterKeys]; ///< engine time at which each was first seen
  int meterKeyCount;
  double startSample; ///< of the last play(), in samples of the context's rate
  double endSample;   ///< the same, or 0.0
};
