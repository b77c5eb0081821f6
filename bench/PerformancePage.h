#pragma once

#include <string>

#include "bench/Report.h"

/** Writes the report as a page of Markdown.  @p reasons is the file that says
 *  why a row is not what we want: lines of what it is about, a colon and the
 *  reason. */
void writePage(const Report& report, const std::string& path, const std::string& reasons);
