#include "playout/PlayoutEngine.h"

#include <cmath>
#include <mutex>

#include "playout/PlayoutHandles.h"

// All functions of the header stand in this source: a program that defines
// them itself replaces the object as a whole, in a static archive too.

namespace {

constexpr int kFailure = 1;

constexpr int kMostChannels = 8;
constexpr double kLowestRate = 1000.0;
constexpr double kHighestRate = 192000.0;

/// No exception crosses the C interface.
template <typename Operation>
int guarded(Operation operation) noexcept
{
  try {
    return operation();
  } catch (...) {
    return kFailure;
  }
}

std::mutex suppliersMutex;
constinit PeAudioSupplierUPP suppliers = nullptr; ///< Protected by suppliersMutex

} // namespace

int PeMixerCreate(int outputs, PeMixer* mixer)
{
  if (outputs != 1 || !mixer)
    return kFailure;
  return guarded([&] {
    *mixer = new PeMixerObject;
    return 0;
  });
}

int PeMixerDestroy(PeMixer mixer)
{
  if (!mixer)
    return kFailure;
  return guarded([&] {
    delete mixer;
    return 0;
  });
}

int PeMixerReset(PeMixer mixer)
{
  if (!mixer)
    return kFailure;
  return guarded([&] { return mixer->mixer.reset(); });
}

int NewPeAudioSupplierUPP(PeAudioSupplierProc function, PeAudioSupplierUPP* supplier)
{
  if (!function || !supplier)
    return kFailure;
  return guarded([&] {
    const std::lock_guard<std::mutex> guard(suppliersMutex);
    PeAudioSupplierUPP known = suppliers;
    while (known && known->function != function)
      known = known->next;
    if (!known)
      known = suppliers = new PeAudioSupplierObject{function, suppliers};
    *supplier = known;
    return 0;
  });
}

int PeMixerCreateTrack(PeMixer mixer, PeAudioSupplierUPP supplier, void* refCon, int channels,
                       double sampleRate, int reserved1, int reserved2, int reserved3,
                       PeTrack* track)
{
  if (!mixer || !supplier || !track || channels < 1 || channels > kMostChannels)
    return kFailure;
  if (!(sampleRate >= kLowestRate && sampleRate <= kHighestRate))
    return kFailure;
  if (reserved1 != 0 || reserved2 != 0 || reserved3 != 0)
    return kFailure;
  return guarded([&] {
    const int status = mixer->mixer.createTrack(supplier->function, refCon, channels, sampleRate);
    if (status == 0)
      *track = &mixer->track;
    return status;
  });
}

int PeMixerGetTransport(PeMixer mixer, PeTransport* transport)
{
  if (!mixer || !transport)
    return kFailure;
  *transport = &mixer->transport;
  return 0;
}

int PeTransportStart(PeTransport transport)
{
  if (!transport)
    return kFailure;
  return guarded([&] { return transport->mixer.start(); });
}

int PeTransportStop(PeTransport transport)
{
  if (!transport)
    return kFailure;
  return guarded([&] { return transport->mixer.stop(); });
}

int PeTransportSetStartTime(PeTransport transport, double time)
{
  if (!transport)
    return kFailure;
  return guarded([&] { return transport->mixer.setStartTime(time); });
}

int PeTransportGetCurrentTime(PeTransport transport, double* time)
{
  if (!transport || !time)
    return kFailure;
  return guarded([&] {
    *time = transport->mixer.currentTime();
    return 0;
  });
}

int PeTransportIsPlaying(PeTransport transport, unsigned char* playing)
{
  if (!transport || !playing)
    return kFailure;
  return guarded([&] {
    *playing = transport->mixer.isPlaying() ? 1 : 0;
    return 0;
  });
}

int PeMixerGetOverallLevelModule(PeMixer mixer, PeModule* module)
{
  if (!mixer || !module)
    return kFailure;
  *module = &mixer->overallLevel;
  return 0;
}

int PeModuleCountParameters(PeModule module, int* count)
{
  if (!module || !count)
    return kFailure;
  *count = 1;
  return 0;
}

int PeModuleGetIndexedParameter(PeModule module, int index, PeParameter* parameter)
{
  if (!module || !parameter || index != 0)
    return kFailure;
  *parameter = module->volume;
  return 0;
}

int PeParameterGetRangeInfo(PeParameter parameter, float* minimum, float* maximum,
                            float* defaultValue, float* step)
{
  if (!parameter || !minimum || !maximum)
    return kFailure;
  *minimum = 0.0f;
  *maximum = 1.0f;
  if (defaultValue)
    *defaultValue = 1.0f;
  if (step)
    *step = 0.0f;
  return 0;
}

int PeParameterGetCurrentValue(PeParameter parameter, float* value)
{
  if (!parameter || !value)
    return kFailure;
  *value = parameter->mixer.volume();
  return 0;
}

int PeParameterSetCurrentValue(PeParameter parameter, float value)
{
  if (!parameter)
    return kFailure;
  return parameter->mixer.setVolume(value);
}

int PeModuleEnableMetering(PeModule module)
{
  if (!module)
    return kFailure;
  module->mixer.enableMetering();
  return 0;
}

int PeModuleGetPastMeterValues(PeModule module, double from, double to, int* count, float* levels)
{
  if (!module || !count || !levels)
    return kFailure;
  return guarded([&] { return module->mixer.meterLevels(from, to, count, levels); });
}
