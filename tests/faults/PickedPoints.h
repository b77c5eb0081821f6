#pragma once

#include <string>
#include <vector>

namespace support {

/** The numbers from 1 to @p all, or, of a long loop, a tenth of them (one of
 *  TOV_FAULT_SHARE, where that is set), at least ten, in rising order, which
 *  @p name and the environment variable TOV_TEST_PICK choose: the same text gives
 *  the same ones.  All of them where TOV_TEST_LONG is set. */
std::vector<long> pickedPoints(long all, const std::string& name, bool isLong);

} // namespace support
