#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/LevelMeter.h"
#include "app/Notices.h"
#include "app/OptionValues.h"
#include "app/Progress.h"
#include "app/SessionNames.h"
#include "app/SourceFile.h"
#include "app/TimeText.h"

/** One file to be written anew in another form. */
struct ConversionRequest {
  std::string input;
  std::string output;
  std::string formatName;  ///< "wav" or "aiff"; empty: what the output's suffix says
  std::optional<int> rate; ///< without: the file's
  std::optional<int> bits; ///< without: the file's
  int quality = kHighestQuality;
  float gain = 0.0f;               ///< decibels
  std::optional<WrittenTime> from; ///< of a session: on its timeline
  std::optional<WrittenTime> to;
  std::optional<double> framesPerSecond; ///< of a session's timeline
  std::vector<NameMapping> mappings;     ///< of a session's files
  bool isMissingAllowed = false;         ///< of a session's files
  bool isDithered = false;
  bool isForced = false;
  bool isQuiet = false;
  bool isJson = false; ///< the result is told as one object
  ProgressStyle progress = ProgressStyle::automatic;
};

/** What was written. */
struct ConversionResult {
  SourceFile source;
  int rate;
  int bits;
  long long frames;
  LevelMeter levels;
  double timesRealTime; ///< seconds of sound per second of work

  double seconds() const { return static_cast<double>(frames) / rate; }
};

/** Converts all channels of a file.  Throws UsageError, Failure and
 *  Interrupted; then the file of the output's name is as it was. */
ConversionResult convertFile(const ConversionRequest& request, const Notices& notices);
