#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/CommandLine.h"
#include "app/MixRequest.h"

/** What is to be played and how. */
struct PlayRequest {
  MixRequest mix;
  bool isLoop = false;
  bool isReverse = false;
  float volume = 1.0f;        ///< factor, 0 to 1
  int filter = 0;             ///< hertz; none at 0
  std::optional<int> quality; ///< without: the host's setting
  std::string device;         ///< "auto", "cubeb" or "null"; empty: what the environment says
  ProgressStyle report = ProgressStyle::automatic;
};

/** The options of `tov play`. */
std::vector<OptionRow> playOptions();

/** Throws UsageError. */
PlayRequest playRequestOf(const std::vector<Argument>& arguments);
