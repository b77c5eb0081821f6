#pragma once

#include "core/TovExport.h"

class TovPlug;

/** The natural logarithm of 0.5 in single precision.  Kept for hosts; the
 *  mixer does not use it. */
TOV_API extern const float TovCLog05;

/** The host settings that the mixer module declares and reads.  Any thread,
 *  at any time, static constructors included; the plugs are read at each use,
 *  so that a change counts at once. */
struct TovMixerSettings {
  TovPlug* soloOverridesMute; ///< "sys.audioSoloOverridesMute"
  TovPlug* framesPerSecond;   ///< "script.framesPerSecond"
  TovPlug* addScriptFlag;     ///< "gui.addScriptFlag"

  static const TovMixerSettings& instance();
};
