#pragma once

#include <string>

#include <nlohmann/json.hpp>

// Standard output for programs.  Keys are written likeThis; a file's name need
// not be valid UTF-8, what is printed is.  Both throw Failure where standard
// output cannot be written.

/** One object in one line. */
void printJsonLine(const nlohmann::ordered_json& object);

/** Indented, for results that people also read. */
void printJson(const nlohmann::ordered_json& value);

/** What --json prints where the command failed; nothing where it cannot be
 *  written. */
void printJsonError(const std::string& sentence, int exitStatus);
