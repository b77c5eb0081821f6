#pragma once

#include <functional>
#include <string>
#include <vector>

/** Processor time that this process has used so far, in seconds. */
double processorSeconds();

/** Processor time of one pass of @p work, in seconds: one pass warms the
 *  caches, then the mean of as many as fill a few milliseconds. */
double secondsPerPass(const std::function<void()>& work);

/** One side of a comparison. */
struct Contender {
  std::string name;
  std::function<double()> measure; ///< one repetition, in seconds
};

/** The median of each contender's repetitions.  All contenders take turns, so
 *  that whatever else the machine does meets them alike. */
std::vector<double> medianSeconds(const std::vector<Contender>& contenders, int repetitions);

/** The middle of some values; the mean of both middles where there are two. */
double medianOf(std::vector<double> values);
