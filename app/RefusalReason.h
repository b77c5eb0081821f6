#pragma once

#include <string>

/** Why the library does not read the file at @p path, found in the file itself
 *  and phrased to follow the file's name and a colon: "32-bit float WAV is not
 *  supported".  Never empty. */
std::string refusalReason(const std::string& path);
