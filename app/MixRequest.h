#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/OptionValues.h"
#include "app/Progress.h"
#include "app/SessionNames.h"
#include "app/TimeText.h"

/** One file of a mix and what the user wants of it; or a session, which has
 *  all that in itself. */
struct TrackRequest {
  std::string file;
  float gain = 0.0f; ///< decibels
  float pan = 0.0f;
  float width = 1.0f;
  WrittenTime start;              ///< on the timeline
  std::optional<WrittenTime> end; ///< on the timeline
  WrittenTime in;                 ///< in the file
  std::optional<WrittenTime> out; ///< in the file
  std::optional<int> playRate;
  std::optional<std::pair<int, int>> channels; ///< left and right, counted from 1
  bool mute = false;
  bool solo = false;
  bool hasOptions = false; ///< any of the above was asked for
};

/** A whole mix. */
struct MixRequest {
  std::vector<TrackRequest> tracks;
  std::string output;      ///< empty: nothing is rendered
  std::string formatName;  ///< "wav" or "aiff"; empty: what the output's suffix says
  std::string script;      ///< to keep the mix in; empty: it is not kept
  std::optional<int> rate; ///< without: the highest of the files'
  int bits = 24;
  int quality = kHighestQuality;
  std::optional<float> master; ///< decibels; without: the first session's, else 0
  float gain = 0.0f;           ///< decibels, applied to the finished mix
  std::optional<WrittenTime> from;
  std::optional<WrittenTime> to;
  std::optional<double> framesPerSecond;
  std::vector<NameMapping> mappings;
  bool isAppended = false; ///< what the script holds comes first
  bool isMissingAllowed = false;
  bool isDithered = false;
  bool isForced = false;
  bool isQuiet = false;
  bool isJson = false; ///< the result is told as one object
  ProgressStyle progress = ProgressStyle::automatic;
};
