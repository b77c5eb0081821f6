#pragma once

#include <string>

#include <CLI/CLI.hpp>

/** The manual page tov(1), in the form that man reads: all that the help texts
 *  of the program and its commands say.  The same at every run. */
std::string manualPageOf(const CLI::App& program);
