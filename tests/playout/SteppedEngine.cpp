#include "tests/playout/SteppedEngine.h"

#include <cstdlib>
#include <stdexcept>

#include "playout/PlayoutHandles.h"

namespace support {

namespace {

void require(int status)
{
  if (status != 0)
    throw std::runtime_error("the engine refused");
}

} // namespace

DeviceVariable::DeviceVariable(const char* value)
{
  if (value)
    setenv("PLAYOUT_DEVICE", value, 1);
  else
    unsetenv("PLAYOUT_DEVICE");
}

DeviceVariable::~DeviceVariable()
{
  unsetenv("PLAYOUT_DEVICE");
}

SteppedEngine::SteppedEngine(int channels, double sampleRate) : supplier(channels), rate(sampleRate)
{
  DeviceMakers makers;
  makers.output = [this] {
    made.push_back("output");
    return outputIsBuilt ? make(outputOpens, outputStarts) : nullptr;
  };
  makers.silence = [this] {
    made.push_back("silence");
    return make(silenceOpens, true);
  };
  mixer = new PeMixerObject(makers, clock);
  require(PeMixerGetTransport(mixer, &transport));
  require(PeMixerGetOverallLevelModule(mixer, &level));
  require(PeModuleGetIndexedParameter(level, 0, &volume));
}

SteppedEngine::~SteppedEngine()
{
  destroy();
}

int SteppedEngine::createTrack()
{
  return PeMixerCreateTrack(mixer, RecordingSupplier::upp(), &supplier, supplier.channels, rate, 0,
                            0, 0, &track);
}

void SteppedEngine::start(double time)
{
  require(PeTransportSetStartTime(transport, time));
  require(PeTransportStart(transport));
}

void SteppedEngine::stop()
{
  require(PeTransportStop(transport));
}

double SteppedEngine::time() const
{
  double result = 0.0;
  require(PeTransportGetCurrentTime(transport, &result));
  return result;
}

bool SteppedEngine::isPlaying() const
{
  unsigned char playing = 7;
  require(PeTransportIsPlaying(transport, &playing));
  if (playing > 1)
    throw std::runtime_error("neither 0 nor 1");
  return playing == 1;
}

void SteppedEngine::setVolume(float factor)
{
  require(PeParameterSetCurrentValue(volume, factor));
}

std::vector<float> SteppedEngine::levels(double from, double to) const
{
  std::vector<float> values(static_cast<std::size_t>(supplier.channels), -1.0f);
  int count = supplier.channels;
  require(PeModuleGetPastMeterValues(level, from, to, &count, values.data()));
  values.resize(static_cast<std::size_t>(count));
  return values;
}

void SteppedEngine::destroy()
{
  if (mixer)
    require(PeMixerDestroy(mixer));
  mixer = nullptr;
}

std::unique_ptr<PlayoutDevice> SteppedEngine::make(bool opens, bool starts)
{
  devices.push_back(std::make_shared<SteppedDevice>());
  devices.back()->openFails = !opens;
  devices.back()->startFails = !starts;
  devices.back()->pulledByFailedStart = pulledByFailedStart;
  return steppedDevice(devices.back());
}

PlayingEngine::PlayingEngine(int channels, double sampleRate) : SteppedEngine(channels, sampleRate)
{
  require(createTrack());
}

} // namespace support
