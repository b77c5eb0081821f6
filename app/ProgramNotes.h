#pragma once

#include <string>

#include <CLI/CLI.hpp>

// What holds for every command is written once.  The help of a command and the
// manual page show it where the command's options have to do with it.

/** What the whole program is for, below its commands. */
extern const char* const kProgramNotes;

/** The forms that times have. */
extern const char* const kTimeNotes;

/** What --json prints. */
extern const char* const kJsonNotes;

/** "-" as the file to write. */
extern const char* const kStandardOutputNotes;

/** The exit statuses. */
extern const char* const kExitNotes;

/** The files that the program makes beside those it is told to. */
extern const char* const kFileNotes;

/** Those of the above that belong to the command's options, one behind the
 *  other. */
std::string sharedNotesOf(const CLI::App& command);
