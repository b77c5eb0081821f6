#pragma once

#include "tests/faults/FaultSeam.h"

namespace support {

/** Counts a call of the kind, which is about to be made: whether it is the one
 *  that is to fail. */
bool isDue(FaultKind kind);

/** The same for a call that tells by errno, which is then set. */
bool isDue(FaultKind kind, int error);

} // namespace support
