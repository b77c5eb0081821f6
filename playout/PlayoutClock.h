#pragma once

#include <cstdint>

/** A clock that never goes back.  Tests bring their own.  Any thread. */
class PlayoutClock {
public:
  /** Nanoseconds since some moment. */
  virtual std::int64_t now() const = 0;

  /** The computer's. */
  static const PlayoutClock& steady();

protected:
  ~PlayoutClock() = default;
};

constexpr double kNanosecondsPerSecond = 1.0e9;
