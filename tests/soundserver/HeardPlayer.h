#pragma once

#include <atomic>

#include "playback/TovAudioPlayer.h"

/** Drives a player as a host does: stops it when it asks for that. */
class HeardPlayer {
public:
  explicit HeardPlayer(TovAudioPlayer& driven);
  ~HeardPlayer();
  HeardPlayer(const HeardPlayer&) = delete;
  HeardPlayer& operator=(const HeardPlayer&) = delete;

  TovAudioPlayer* operator->() const { return &player; }

  /** How many spans have come to their end and were stopped then. */
  int ended() const { return endedSpans; }

  /** The position, or -1 where there is none. */
  double time() const;

  /** Waits until the position has passed @p seconds; false where it does not. */
  bool passes(double seconds) const;

private:
  static void stopRequested(void* self);

  TovAudioPlayer& player;
  std::atomic<int> endedSpans{0};
};
