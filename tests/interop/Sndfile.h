#pragma once

#include <map>
#include <string>

#include <sndfile.h>

#include "tests/support/IntegerSound.h"

namespace support {

/** What libsndfile makes of a file. */
struct SndfileReading {
  SF_INFO info = {};
  std::vector<std::int32_t> samples; ///< interleaved, moved up to 32 bits
};

SndfileReading readBySndfile(const std::string& path);

/** Writes an integer file of a major format, SF_FORMAT_WAV for instance, with
 *  texts (SF_STR_TITLE and so on) before its samples. */
void writeBySndfile(const std::string& path, int majorFormat, const IntegerSound& sound,
                    const std::map<int, std::string>& texts = {});

} // namespace support
