#pragma once

#include <string>

/** Takes the places of standard input, output and error where they were closed,
 *  which the next file that is opened would get: what is told of it would then
 *  be written into it.  Writing there fails. */
void occupyClosedStreams();

/** Whether a file of this name to write means standard output: "-". */
bool isStandardOutput(const std::string& target);

/** The name for messages. */
std::string outputNameForPeople(const std::string& target);

/** Throws UsageError where standard output is a terminal, which sound would
 *  only confuse. */
void refuseSoundAtTerminal();

/** Throws UsageError where the sound would go to standard output as well as
 *  what is told of it. */
void refuseJsonBesideSound(const std::string& target, bool isJson);

/** Writes all that the file behind the descriptor holds to standard output.
 *  Throws Failure, also where whoever reads has gone, and Interrupted. */
void copyToStandardOutput(int descriptor);
