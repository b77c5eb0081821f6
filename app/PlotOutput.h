#pragma once

#include <string>
#include <string_view>

#include "app/OutputFile.h"

/** Where a picture or data go: a file that appears complete or not at all, or
 *  standard output. */
class PlotOutput {
public:
  /** Throws Failure where the target cannot become a file. */
  explicit PlotOutput(const std::string& target);

  /** Throws Failure. */
  void write(std::string_view bytes);

  /** Puts the file in place.  Throws Failure and Interrupted. */
  void finish();

private:
  void writePending();

  OutputFile file;
  std::string pending;
};
