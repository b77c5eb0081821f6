#pragma once

/** From now on Ctrl-C, SIGTERM and SIGHUP are only remembered, and a closed
 *  pipe or a file size limit is an ordinary write error: the program always
 *  gets to remove its temporary file. */
void rememberInterruptions();

/** Throws Interrupted where a signal has asked the program to stop.  Long work
 *  calls it once per block. */
void throwIfInterrupted();
