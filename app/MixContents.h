#pragma once

#include <string>
#include <vector>

#include "app/MixRequest.h"
#include "app/MixTrack.h"
#include "app/Notices.h"

/** Opens all files and sessions that a mix is made of, in the order they were
 *  named; a session's tracks stand where its name stood.  Files missing from a
 *  session are no failure yet.  Throws Failure and UsageError. */
MixContents gatherMix(const MixRequest& request, const Notices& notices);

/** The tracks of one session, found or missing.  Throws Failure. */
MixContents contentsOfSession(const std::string& name, const std::vector<NameMapping>& mappings);

/** Throws Failure, which lists them, up to a thousand, where files are missing; says so and
 *  goes on where that is allowed. */
void refuseMissing(const MixContents& contents, bool isAllowed, const Notices& notices);
