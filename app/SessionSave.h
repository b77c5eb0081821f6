#pragma once

#include "app/MixRequest.h"
#include "app/MixTrack.h"
#include "app/Notices.h"

/** Keeps a mix in the request's script: its audio command is replaced where it
 *  stands, or added as a last line; every other byte stays.  The script appears
 *  whole or stays as it was.  Throws Failure. */
void saveSession(const MixContents& contents, const MixRequest& request);

/** Throws what saveSession() would throw now, so that nobody waits for a long
 *  render first. */
void checkSession(const MixContents& contents, const MixRequest& request);

/** Says on standard error which files the session will not find, unless
 *  rendering has said it already. */
void sayWhatIsMissing(const MixContents& contents, const MixRequest& request,
                      const Notices& notices);
