#include "tests/support/Setting.h"

namespace support {

Setting::Setting(const char* name, TovId type, const char* valueAfterwards)
    : plug(TovGlobals::ref(TovName::getString(name), type, 1)), restored(valueAfterwards)
{
}

Setting::~Setting()
{
  plug->set(restored);
}

void Setting::set(const char* value)
{
  plug->set(value);
}

FramesPerSecond::FramesPerSecond(const char* value)
    : Setting("script.framesPerSecond", kTovIdFloat, "24")
{
  set(value);
}

SoloOverridesMute::SoloOverridesMute(const char* value)
    : Setting("sys.audioSoloOverridesMute", kTovIdInteger, "0")
{
  set(value);
}

} // namespace support
