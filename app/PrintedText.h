#pragma once

#include <string>

/** Writes the text to standard output.  Throws Failure where it cannot be
 *  written. */
void printText(const std::string& text);
