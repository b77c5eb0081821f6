#pragma once

#include <string>

#include <CLI/CLI.hpp>

/** The help of the program or of one of its commands, in lines of at most 79
 *  characters: what it does, how it is called, examples, options, notes. */
std::string helpOf(const CLI::App& app);
