#pragma once

#include <string>
#include <vector>

/** What a finished child process took, its own children included. */
struct ChildUsage {
  double seconds; ///< processor time, user and system
  long peakKiB;   ///< resident memory at its highest, of the largest one
};

/** Runs a program to its end, silently; throws with its messages where it
 *  fails.  @p kernels, unless empty, becomes its TOV_KERNELS. */
ChildUsage runChild(const std::vector<std::string>& command, const std::string& kernels = {});
