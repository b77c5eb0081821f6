#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/LevelMeter.h"
#include "app/MixContents.h"
#include "app/MixRequest.h"
#include "app/Notices.h"
#include "app/TrackPlan.h"

/** One track of a finished mix. */
struct MixedTrack {
  MixTrack track;
  TrackPlan plan;
  bool isHeard;
};

/** What was rendered. */
struct MixResult {
  std::vector<MixedTrack> tracks;
  int rate;
  long long frames;
  LevelMeter levels;
  double timesRealTime; ///< seconds of sound per second of work

  double seconds() const { return static_cast<double>(frames) / rate; }
};

/** Renders the mix into its file.  Throws UsageError, Failure and Interrupted;
 *  then the file of that name is as it was. */
MixResult renderMix(const MixContents& contents, const MixRequest& request, const Notices& notices);
