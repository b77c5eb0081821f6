#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "playout/PlayoutClock.h"
#include "playout/PlayoutDevice.h"

namespace support {

/** A clock that stands until it is moved. */
class HandClock final : public PlayoutClock {
public:
  std::int64_t now() const override { return time; }
  void advance(double seconds) { time += static_cast<std::int64_t>(seconds * 1.0e9 + 0.5); }

private:
  std::int64_t time = 5'000'000'000;
};

/** A device without a thread, and what happened to it: the test pulls, moves
 *  the position and lets it break.  Stays when the engine has let go of it. */
struct SteppedDevice {
  PlayoutSource* source = nullptr;
  double rate = 0.0;
  int channels = 0;
  PlayoutDevice::State state = PlayoutDevice::State::closed;
  long long position = 0;
  int positionQueries = 0;
  int closings = 0;
  int stops = 0;
  bool openFails = false;
  bool startFails = false;
  long pulledByFailedStart = 0; ///< frames, before a start that fails does so
  std::vector<float> written; ///< since it was opened

  /** Pulls as the device's callback would; what was written by it.  Throws
   *  where the engine does not let the device run, or leaves a frame out. */
  std::vector<float> pull(long frames);

  /** Pulls in callbacks of @p callback frames. */
  void pullAll(long frames, long callback);

  long long framesWritten() const { return static_cast<long long>(written.size()) / channels; }

  bool isRunning() const { return state == PlayoutDevice::State::running; }
};

/** The engine's end of it. */
std::unique_ptr<PlayoutDevice> steppedDevice(std::shared_ptr<SteppedDevice> device);

} // namespace support
