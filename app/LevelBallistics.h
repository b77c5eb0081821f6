#pragma once

/** What a level meter shows of one channel: the level, a peak that stays for a
 *  while, and how often the level rose above full scale. */
class LevelBallistics {
public:
  static constexpr double kLowest = -90.0; ///< dBFS

  /** Takes the level, linear, that the player gives at @p now, in seconds. */
  void show(float level, double now);

  double getLevel() const { return level; } ///< dBFS, not below kLowest
  double getPeak() const { return peak; }   ///< dBFS, not below the level
  long long getClips() const { return clips; }

private:
  float last = 0.0f; ///< linear
  double level = kLowest;
  double peak = kLowest;
  double heldSince = 0.0; ///< seconds
  double shownAt = 0.0;   ///< seconds
  long long clips = 0;
};
