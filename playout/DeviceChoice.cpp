#include "playout/DeviceChoice.h"

#include <cstdlib>
#include <string_view>
#include <utility>

#include "core/TovSys.h"

namespace {

using Begin = std::function<bool(PlayoutDevice&)>;

std::unique_ptr<PlayoutDevice> begun(std::unique_ptr<PlayoutDevice> device, const Begin& begin)
{
  return device && begin(*device) ? std::move(device) : nullptr;
}

} // namespace

DeviceChoice::DeviceChoice(DeviceMakers deviceMakers) : makers(std::move(deviceMakers)) {}

bool DeviceChoice::readEnvironment()
{
  const char* const value = std::getenv("PLAYOUT_DEVICE");
  const std::string_view name = value ? value : "";
  if (name.empty() || name == "auto")
    kind = Kind::automatic;
  else if (name == "cubeb")
    kind = Kind::output;
  else if (name == "null")
    kind = Kind::silence;
  else {
    TovSys::error("%EPlayoutEngine: PLAYOUT_DEVICE is '%s', not auto, cubeb or null\n", value);
    return false;
  }
  return true;
}

std::unique_ptr<PlayoutDevice> DeviceChoice::open(PlayoutSource& source, double rate, int channels)
{
  return choose([&](PlayoutDevice& device) { return device.open(source, rate, channels) == 0; });
}

std::unique_ptr<PlayoutDevice> DeviceChoice::openAndStart(PlayoutSource& source, double rate,
                                                          int channels,
                                                          const std::function<void()>& beforeStart)
{
  auto device = choose([&](PlayoutDevice& tried) {
    if (tried.open(source, rate, channels) != 0)
      return false;
    beforeStart();
    return tried.start() == 0;
  });
  if (device && !fellBack)
    hasWarned = false;
  return device;
}

std::unique_ptr<PlayoutDevice> DeviceChoice::choose(const Begin& begin)
{
  fellBack = false;
  if (kind == Kind::silence)
    return begun(makers.silence(), begin);
  auto output = begun(makers.output(), begin);
  if (output || kind == Kind::output)
    return output;

  auto silence = begun(makers.silence(), begin);
  fellBack = silence != nullptr;
  if (fellBack && !hasWarned) {
    hasWarned = true;
    TovSys::error("%WPlayoutEngine: No audio output could be opened, playing in silence\n");
  }
  return silence;
}
