#include "playback/TovPlaybackSettings.h"

#include "core/TovGlobals.h"

const TovPlaybackSettings& TovPlaybackSettings::instance()
{
  static const TovPlaybackSettings settings = {TovGlobals::def(
      TovName::getString("sys.defaultAudioPlaybackQuality"), TovName::getString(1), kTovIdInteger)};
  return settings;
}

extern "C" {
/** Named by the static library's link options, see cmake/TovTarget.cmake. */
extern const char tovPlaybackSettings;
const char tovPlaybackSettings = 0;
}

namespace {

// Declared when the library is loaded, whether or not anything is ever played.
[[maybe_unused]] const TovPlaybackSettings& settingsAtLoad = TovPlaybackSettings::instance();

} // namespace
