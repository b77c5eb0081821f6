#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "io/TovAudioIOFormat.h"

namespace fuzz {

// Both compare with the plain arithmetic, bit for bit.  The samples of a file
// lie @p shift bytes behind an aligned address, and nothing lies behind them.

/** Reads @p frames frames of @p stored; fewer than none are none. */
void checkDecoding(const std::vector<std::uint8_t>& stored, const TovAudioIOFormat& format,
                   std::size_t shift, const std::vector<int>& map, long long frames);

/** Writes @p frames frames of as many channels as the format has. */
void checkEncoding(const std::vector<std::vector<float>>& signal, const TovAudioIOFormat& format,
                   std::size_t shift, long long frames);

} // namespace fuzz
