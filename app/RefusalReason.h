#pragma once

#include <string>

/** Why the library does not read the file at @p path, found in the file itself
 *  and phrased to follow the file's name and a colon: "32-bit float WAV is not
 *  supported".  Never empty. */
std::string refusalReason(const std::string& path);

/** How many files the system lets the program have open at once, phrased to
 *  follow what that was too few for and a colon. */
std::string openFilesForPeople();
