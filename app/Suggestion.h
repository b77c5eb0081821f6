#pragma once

#include <cstddef>
#include <string>
#include <vector>

/** Insertions, deletions, replacements and swaps of neighbours that turn one
 *  text into the other. */
std::size_t editDistance(const std::string& a, const std::string& b);

/** The candidate that is nearest to what the user wrote; empty where none is
 *  near enough to be what was meant.  Leading dashes do not count. */
std::string nearestOf(const std::string& written, const std::vector<std::string>& candidates);

/** " (did you mean X?)", or nothing where no candidate is near. */
std::string suggestion(const std::string& written, const std::vector<std::string>& candidates);
