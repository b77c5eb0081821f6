#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "playout/CallbackGate.h"
#include "playout/DeviceChoice.h"
#include "playout/DevicePosition.h"
#include "playout/HeardPosition.h"
#include "playout/PlayoutClock.h"
#include "playout/PlayoutDevice.h"
#include "playout/PlayoutTrack.h"
#include "playout/TransportState.h"

/** A mixer: the track, the device that pulls it, and the transport.
 *
 *  A run is what is pulled between a start and a stop.  After a stop the
 *  device goes on with silence, because a stopped one would play what it still
 *  holds before anything new; a start within that second goes on in it.  Then
 *  the device is told that nothing more comes, so that an idle host holds no
 *  running stream; the next start opens another.
 *
 *      written:   |-- run --|--- silence ---|-- run --|--- silence, 1 s ---| end
 *                         stop            start     stop
 *
 *  The operations mean what PlayoutEngine.h says.  Results: 0 success.  Host's
 *  side: any thread, they take controlMutex.  render() takes nothing.
 */
class PlayoutMixer final : private PlayoutSource {
public:
  explicit PlayoutMixer(DeviceMakers makers = {},
                        const PlayoutClock& clock = PlayoutClock::steady());
  ~PlayoutMixer();
  PlayoutMixer(const PlayoutMixer&) = delete;
  PlayoutMixer& operator=(const PlayoutMixer&) = delete;

  int createTrack(PeAudioSupplierProc supplier, void* refCon, int channels, double rate);
  int reset();

  int start();
  int stop();
  int setStartTime(double time);
  double currentTime();
  bool isPlaying();

  float volume() const { return targetVolume.load(); }
  int setVolume(float factor);

  void enableMetering() { isMetering = true; }
  int meterLevels(double from, double to, int* count, float* levels);

private:
  bool render(float* interleaved, long frames) noexcept override;
  bool renderSilence(float* interleaved, long frames, TransportState::Value seen) noexcept;
  void renderRun(float* interleaved, long frames, TransportState::Value seen) noexcept;

  // With controlMutex held:
  bool isRunning() const;
  bool plays() const;
  void updatePosition();
  int endRun();
  int startDevice();
  int startAnotherDevice();
  void beginRun();
  void closeDevice();

  const PlayoutClock& clock;
  std::mutex controlMutex;

  // Protected by controlMutex, but for what the callback does with the track:
  DeviceChoice choice;
  std::unique_ptr<PlayoutTrack> track;
  std::unique_ptr<DevicePosition> devicePosition; ///< made with the track
  HeardPosition heard;
  double nextStartTime = 0.0;
  bool hasRun = false; ///< there was a start

  // Shared with the output callback:
  CallbackGate gate;
  TransportState transport;
  std::atomic<double> startTime = 0.0;   ///< of the run; written before it begins
  std::atomic<long long> firstFrame = 0; ///< the device's, at which the run began
  std::atomic<float> targetVolume = 1.0f;
  std::atomic<bool> isMetering = false; ///< host's side only

  // Output callback only, but while no device runs:
  std::uint64_t presentRun = 0;
  long long written = 0;          ///< frames since the device was opened
  long long silence = 0;          ///< frames of it since the last run
  long long silenceBeforeEnd = 0; ///< immutable once there is a track

  std::unique_ptr<PlayoutDevice> device; ///< last, so that it goes first; protected by controlMutex
};
