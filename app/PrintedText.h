#pragma once

#include <string>

/** Writes the text to standard output.  Throws Failure where it cannot be
 *  written. */
void printText(const std::string& text);

/** Whether all that was printed so far, also by other means, has got through. */
bool isAllPrinted();
