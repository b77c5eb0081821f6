#pragma once

#include "app/MixRequest.h"
#include "app/SourceFile.h"

/** What a session keeps of a track beside its file's name, in the library's
 *  terms.  Files from the command line and from sessions are rendered by the
 *  same settings, so that a saved mix renders as the one it was saved from.
 *
 *  Times are not moved onto the frames of any output here: a session knows no
 *  rate, and one rendered at another rate than the first must still lie where
 *  the user said. */
struct TrackSettings {
  float gain = 1.0f; ///< factor
  float pan = 0.0f;
  float width = 1.0f;
  bool mute = false;
  bool solo = false;
  double start = 0.0; ///< timeline seconds
  double end = 0.0;   ///< timeline seconds; none where hasEnd() says so
  double shift = 0.0; ///< seconds; kept for the host, not used in mixing
  int playRate = 0;   ///< frames of the file per second
  double srcIn = 0.0; ///< seconds of the file
  double srcOut = 0.0;

  /** The mixer takes an end that is not behind the start for none. */
  bool hasEnd() const { return isEndBehind(start, end); }

  static bool isEndBehind(double start, double end)
  {
    constexpr double kShortestTrack = 0.0001; // the mixer's
    return end >= start + kShortestTrack;
  }

  /** Frames of the file at which its used part begins and ends. */
  double inFrame(const SourceFile& source) const;
  double outFrame(const SourceFile& source) const;

  /** When the used part has been played, in timeline seconds. */
  double runsOut(const SourceFile& source) const;
};

/** The settings that the user's wishes come to for this file.  The track ends
 *  when its used part runs out, or earlier where the user says so, so that the
 *  fade-out is always on sound.  Throws UsageError for what the file does not
 *  have.  Samples on the timeline are counted by @p countingRate. */
TrackSettings settingsOf(const TrackRequest& request, const SourceFile& source, int countingRate);

/** Decibels of a gain factor: those that give just this factor where there are
 *  such with at most three digits behind the point. */
double decibelsOfFactor(float factor);
