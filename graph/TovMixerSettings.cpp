#include "graph/TovMixerSettings.h"

#include <cmath>

#include "core/TovGlobals.h"

const float TovCLog05 = std::log(0.5f);

namespace {

TovPlug* declared(const char* name, const char* defaultValue)
{
  return TovGlobals::def(TovName::getString(name), defaultValue, kTovIdInteger);
}

TovPlug* declared(const char* name, int defaultValue)
{
  return TovGlobals::def(TovName::getString(name), TovName::getString(defaultValue), kTovIdInteger);
}

TovPlug* referred(const char* name, TovId type)
{
  return TovGlobals::ref(TovName::getString(name), type, 1);
}

TovMixerSettings declareAll()
{
  // These three are the host's own business; the library only declares them.
  declared("sys.quicktimeAudioDefault", nullptr);
  declared("sys.quicktimeAudioRate", 44100);
  declared("sys.quicktimeAudioBitDepth", 16);

  TovMixerSettings settings;
  settings.soloOverridesMute = declared("sys.audioSoloOverridesMute", nullptr);
  settings.framesPerSecond = referred("script.framesPerSecond", kTovIdFloat);
  settings.addScriptFlag = referred("gui.addScriptFlag", kTovIdInteger);
  return settings;
}

} // namespace

const TovMixerSettings& TovMixerSettings::instance()
{
  static const TovMixerSettings settings = declareAll();
  return settings;
}

extern "C" {
/** Named by the static library's link options, see cmake/TovTarget.cmake. */
extern const char tovMixerSettings;
const char tovMixerSettings = 0;
}

namespace {

// Declared when the library is loaded, whether or not it is ever used.
[[maybe_unused]] const TovMixerSettings& settingsAtLoad = TovMixerSettings::instance();

} // namespace
