#pragma once

#include <string>

namespace fuzz {

/** Puts variables into the environment, one whose value refers to itself and
 *  one longer than any path among them. */
void setVariables();

/** The text with its references to variables replaced: $NAME and ${NAME}. What
 *  is none, or names no variable, stays as it is. */
std::string replaced(const std::string& text);

} // namespace fuzz
