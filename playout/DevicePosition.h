#pragma once

#include <cstdint>
#include <optional>

#include "playout/PlayoutClock.h"
#include "playout/PlayoutDevice.h"

/** How far a device has played, asked of it as seldom as it wants to be asked:
 *  60 times a second at the most.  In between the clock carries the answer on.
 *  Host's side, one thread at a time.
 */
class DevicePosition {
public:
  DevicePosition(const PlayoutClock& clock, double rate);

  /** Forgets the device: another one was opened. */
  void reset();

  /** Frames since the device's opening, carried on to now; none where the
   *  device cannot tell. */
  std::optional<long long> ask(PlayoutDevice& device);

private:
  const PlayoutClock& clock;
  const double rate;
  std::optional<std::int64_t> askedAt;
  long long answer = -1; ///< negative: the device could not tell
};
