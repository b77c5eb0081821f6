#pragma once

#include <functional>
#include <vector>

namespace support {

/** Runs @p body in a forked child whose files may not grow beyond @p bytes
 *  bytes, as on a full disk, and returns what the body returned.  Throws where
 *  the child ended by a signal. */
std::vector<int> withFileSizeLimit(unsigned long bytes,
                                   const std::function<std::vector<int>()>& body);

/** The number of descriptors that this process holds. */
int openDescriptors();

} // namespace support
