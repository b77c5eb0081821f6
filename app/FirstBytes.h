#pragma once

#include <string>

/** What a file is by its first bytes: "FLAC", "Ogg", "WAV"; empty for none of
 *  the formats known.  Looks at regular files only. */
std::string soundFormatByFirstBytes(const std::string& path);
