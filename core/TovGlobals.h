#pragma once

#include "core/TovExport.h"
#include "core/TovName.h"
#include "core/TovPlug.h"

/** The kind of a setting's value. */
typedef int TovId;
inline constexpr TovId kTovIdInteger = 6;
inline constexpr TovId kTovIdFloat = 10;

/** The host's registry of named settings.
 *
 *  Any thread; may be used by static constructors and after exit begins.
 *  Plugs are never null and live as long as the process.
 */
class TOV_HOSTCORE_API TovGlobals {
public:
  /** Declares a setting with a default (null: no value, which reads as 0) and
   *  returns its plug.  The first declaration's default holds; a value that
   *  the host has set is kept. */
  static TovPlug* def(const TovName& name, const char* defaultValue, TovId type);
  static TovPlug* def(const TovName& name, const TovName& defaultValue, TovId type);

  /** The plug of a setting; a setting that nobody has declared is made, with
   *  the host core's own default where it has one ("script.framesPerSecond"
   *  24, "gui.addScriptFlag" 0). */
  static TovPlug* ref(const TovName& name, TovId type, int);
};
