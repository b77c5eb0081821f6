#pragma once

#include <string>

/** From now on the library's own messages are kept back: the program says in
 *  its own sentence, with the file as the user named it, what went wrong. */
void holdBackLibraryMessages();

/** The library's last error, without its line feed; empty where there was
 *  none.  For failures that the program has no better words for. */
std::string lastLibraryError();

/** The library's last warning since this was asked, in the same way. */
std::string takeLibraryWarning();
