#pragma once

#include <string>

/** Why the library's own reader for the path's suffix is not to read the file,
 *  phrased as whyForeign() does; empty where it reads it, and where the file
 *  begins as no sound file that is known.  With @p areIntegersForced, 32-bit
 *  WAV is the own reader's whatever it holds. */
std::string whyNotOwnReader(const std::string& path, bool areIntegersForced);

/** What the user should know of such a file beside its reader. */
std::string noticeOnOtherReader(const std::string& path);
