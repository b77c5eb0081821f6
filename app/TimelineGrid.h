#pragma once

#include <string>

/** The frames of the timeline, as they lie among those of the sound. */
struct TimelineGrid {
  int rate;               ///< frames of the sound per second
  double framesPerSecond; ///< of the timeline

  /** The frame of the timeline that a frame of the sound belongs to. */
  long long frameAt(long long soundFrame) const;

  /** The first frame of the sound that belongs to a frame of the timeline. */
  long long soundFrameOf(long long frame) const;

  double secondsAt(long long soundFrame) const { return static_cast<double>(soundFrame) / rate; }

  /** Non-drop timecode, "01:02:03:12", with a minus sign before time 0.  Goes
   *  by the nearest whole rate, as times on the command line do. */
  std::string timecodeAt(long long soundFrame) const;
};
