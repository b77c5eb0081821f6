#pragma once

#include <string>

namespace support {

/** How many of the points where a call can fail this program has tried. */
class FaultReport {
public:
  static void add(const std::string& scenario, const std::string& kind, long exercised, long all);

  /** One line to standard output, and the same as JSON to the file that the
   *  environment variable TOV_FAULT_REPORT names; false where that cannot be
   *  written. */
  static bool tell();
};

} // namespace support
