#pragma once

#include <nlohmann/json.hpp>

#include "app/MixRender.h"

/** Prints what a mix came to: its tracks with their settings, its length, its
 *  levels and the speed. */
void printMixSummary(const MixRequest& request, const MixResult& result);

/** The same as an object. */
nlohmann::ordered_json jsonOfMix(const MixRequest& request, const MixResult& result);

/** Tells what was rendered and saved in the way that the request wants: as
 *  text, as lines of JSON, as one object, or not at all.  Where the sound
 *  itself goes to standard output nothing else does. */
class MixReport {
public:
  /** The request must live as long. */
  explicit MixReport(const MixRequest& request);

  void tellOfMix(const MixResult& result);
  void tellOfSession(const MixContents& contents);

  /** Prints the one object, if one is wanted.  Throws Failure. */
  void finish() const;

private:
  void takeJson(const nlohmann::ordered_json& part);

  const MixRequest& request;
  bool isQuiet;
  nlohmann::ordered_json object;
};
