#pragma once

#include <functional>

namespace support {

/** Runs @p body in a child process that is ended after 60 seconds, so that
 *  limits, signals and endless waits stay there.  Returns what body returned
 *  (0 to 255), or 1000 plus the number of the signal that ended the child. */
int runInChild(const std::function<int()>& body);

} // namespace support
