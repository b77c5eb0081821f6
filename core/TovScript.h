#pragma once

#include "core/TovExport.h"
#include "core/TovString.h"

class TovFile;

/** The host's script hooks for audio settings.
 *
 *  A script is lines of commands `name("argument", ...);` with strings in
 *  double quotes, backslash escapes inside them, and comments as in C++.
 *  The library installs three hooks; the host calls them through the last
 *  three operations.  Any thread; the hooks run on the caller's.
 */
class TOV_HOSTCORE_API TovScript {
public:
  /** The script command that carries the audio settings, "SetAudio". */
  static const char* const _audioLoadCmd;

  /** Replaces the three hooks; null removes one. */
  static void setAudioCallbacks(void (*save)(TovFile*), void (*load)(const char*),
                                TovString (*toString)());

  /** The host's side: writes the audio command at the file's position.
   *  Non-zero without a hook. */
  static int saveAudio(TovFile* file);

  /** The host's side: finds the first audio command in the script and hands
   *  its unquoted argument to the load hook (null for an empty argument
   *  list).  Non-zero where there is no audio command or no hook. */
  static int runAudio(const char* scriptText);

  /** The host's side: the audio command's line; empty without a hook. */
  static TovString audioToString();
};
