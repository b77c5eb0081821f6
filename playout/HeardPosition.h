#pragma once

#include <optional>

/** Which sample of a run is heard.
 *
 *      device    |--- silence ---|--- run ------------|
 *                0           firstFrame     firstFrame + pulled
 *                                     ^ device's position
 *
 *  Counted from the run's start, between 0 and what was pulled, never less
 *  than before.  Host's side, one thread at a time.
 */
class HeardPosition {
public:
  /** Another run begins. */
  void reset() { heard = 0; }

  /** @p devicePosition none: the device cannot tell, the position stays. */
  void update(std::optional<long long> devicePosition, long long firstFrame, long long pulled);

  long long frames() const { return heard; }

private:
  long long heard = 0;
};
