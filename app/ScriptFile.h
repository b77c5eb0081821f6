#pragma once

#include <optional>
#include <string>

/** The text of the host's script in a file; nothing where there is no file of
 *  that name.  Throws Failure where it cannot be read or is no text. */
std::optional<std::string> readScript(const std::string& name);

/** Whether the file is a session: its suffix is that of no sound format, and
 *  its text holds the audio command.  Never throws for what the file is. */
bool isSession(const std::string& name);
