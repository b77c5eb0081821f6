#pragma once

#include "core/TovGlobals.h"

namespace support {

/** Gives a host setting another value for a scope. */
class Setting {
public:
  Setting(const char* name, TovId type, const char* valueAfterwards);
  ~Setting();
  Setting(const Setting&) = delete;
  Setting& operator=(const Setting&) = delete;

  void set(const char* value);

private:
  TovPlug* plug;
  const char* restored;
};

/** "script.framesPerSecond", 24 afterwards. */
class FramesPerSecond : public Setting {
public:
  explicit FramesPerSecond(const char* value);
};

/** "sys.audioSoloOverridesMute", 0 afterwards. */
class SoloOverridesMute : public Setting {
public:
  explicit SoloOverridesMute(const char* value);
};

} // namespace support
