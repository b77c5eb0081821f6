#pragma once

#include <random>
#include <vector>

#include "pcm/kernels/TovKernels.h"

namespace support {

/** The sets beside the plain one that this processor has; says which. */
const std::vector<const TovKernels*>& fastSets();

/** @p count samples: mostly noise, with full scale, whole codes, denormals,
 *  infinities and any other bits among them where @p isWild. */
std::vector<float> samples(std::mt19937& random, long long count, bool isWild);

/** How many samples a comparison covers; more with TOV_TEST_LONG. */
long long samplesWanted(long long ordinary, long long inLongRuns);

} // namespace support
