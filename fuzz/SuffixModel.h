#pragma once

#include <string>

namespace fuzz {

/** The suffixes of every brace group of a format string, joined by '|'. */
std::string suffixesOf(const std::string& formats);

/** Whether a list holds a name, without regard to case: lists are separated by
 *  '|'; a group is passed over where a name stands before it, otherwise its
 *  contents are read as names. */
bool holds(const std::string& list, const std::string& name);

/** What stands behind the last separator; nothing where there is none. */
std::string lastPart(const std::string& name, char separator);

} // namespace fuzz
