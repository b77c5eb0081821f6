#include "tests/playback/RecordingEngine.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

#include "playback/TovAudioPlayerOSX.h"

namespace support {

namespace {

RecordingEngine* engine = nullptr;

// One address for each handle, whatever engine lives.
char handles[6];

template <typename Handle>
Handle handle(int index)
{
  return reinterpret_cast<Handle>(&handles[index]);
}

std::string name(const void* address)
{
  static const char* const kNames[] = {"mixer",  "track",     "transport",
                                       "module", "parameter", "supplier"};
  if (!address)
    return "null";
  for (std::size_t i = 0; i < std::size(handles); ++i) {
    if (address == &handles[i])
      return kNames[i];
  }
  return "stranger";
}

int record(const char* function, const std::string& arguments)
{
  return engine ? engine->called(function, arguments) : 1;
}

std::string joined(std::initializer_list<std::string> texts)
{
  std::string all;
  for (const std::string& text : texts)
    all += (all.empty() ? "" : ", ") + text;
  return all;
}

} // namespace

RecordingEngine::RecordingEngine()
{
  if (engine)
    throw std::logic_error("there is an engine already");
  engine = this;
}

RecordingEngine::~RecordingEngine()
{
  engine = nullptr;
}

RecordingEngine* RecordingEngine::current()
{
  return engine;
}

std::vector<std::string> RecordingEngine::take()
{
  const std::lock_guard<std::mutex> guard(mutex);
  return std::exchange(calls, {});
}

int RecordingEngine::count(const std::string& function) const
{
  const std::lock_guard<std::mutex> guard(mutex);
  return static_cast<int>(std::count_if(calls.begin(), calls.end(), [&](const std::string& call) {
    return call.starts_with(function + "(");
  }));
}

void RecordingEngine::note(const std::string& event)
{
  const std::lock_guard<std::mutex> guard(mutex);
  calls.push_back(event);
}

void RecordingEngine::fail(const std::string& function, int status)
{
  const std::lock_guard<std::mutex> guard(mutex);
  failures[function] = status;
}

int RecordingEngine::called(const std::string& function, const std::string& arguments)
{
  const std::lock_guard<std::mutex> guard(mutex);
  calls.push_back(function + "(" + arguments + ")");
  const auto failure = failures.find(function);
  return failure == failures.end() ? 0 : failure->second;
}

int RecordingEngine::pull(unsigned long frames, float* left, float* right,
                          unsigned char* flag) const
{
  float* buffers[] = {left, right};
  return proc(supplierRefCon, 0.0, 0, frames, buffers, flag);
}

std::string RecordingEngine::number(double value)
{
  char text[64];
  const std::to_chars_result result = std::to_chars(text, text + sizeof text, value);
  return std::string(text, result.ptr);
}

} // namespace support

using support::engine;
using support::handle;
using support::joined;
using support::name;
using support::record;

namespace {

std::string number(double value)
{
  return support::RecordingEngine::number(value);
}

} // namespace

extern "C" {

int PeMixerCreate(int outputs, PeMixer* mixer)
{
  const int status = record("PeMixerCreate", number(outputs));
  if (status == 0)
    *mixer = handle<PeMixer>(0);
  return status;
}

int NewPeAudioSupplierUPP(PeAudioSupplierProc function, PeAudioSupplierUPP* supplier)
{
  const int status =
      record("NewPeAudioSupplierUPP", function == TovAudioPlayerOSX::audioSupplierFuncStatic
                                          ? "audioSupplierFuncStatic"
                                          : "stranger");
  if (status == 0) {
    engine->setSupplier(function);
    *supplier = handle<PeAudioSupplierUPP>(5);
  }
  return status;
}

int PeMixerCreateTrack(PeMixer mixer, PeAudioSupplierUPP supplier, void* refCon, int channels,
                       double sampleRate, int reserved1, int reserved2, int reserved3,
                       PeTrack* track)
{
  const int status = record("PeMixerCreateTrack",
                            joined({name(mixer), name(supplier), number(channels),
                                    number(sampleRate), number(reserved1), number(reserved2),
                                    number(reserved3)}));
  if (status == 0) {
    engine->setRefCon(refCon);
    *track = handle<PeTrack>(1);
  }
  return status;
}

int PeMixerGetTransport(PeMixer mixer, PeTransport* transport)
{
  const int status = record("PeMixerGetTransport", name(mixer));
  if (status == 0)
    *transport = handle<PeTransport>(2);
  return status;
}

int PeMixerGetOverallLevelModule(PeMixer mixer, PeModule* module)
{
  const int status = record("PeMixerGetOverallLevelModule", name(mixer));
  if (status == 0)
    *module = handle<PeModule>(3);
  return status;
}

int PeModuleEnableMetering(PeModule module)
{
  return record("PeModuleEnableMetering", name(module));
}

int PeTransportStart(PeTransport transport)
{
  const int status = record("PeTransportStart", name(transport));
  if (status == 0)
    engine->playing = true;
  return status;
}

int PeTransportStop(PeTransport transport)
{
  const int status = record("PeTransportStop", name(transport));
  if (status == 0)
    engine->playing = false;
  return status;
}

int PeTransportSetStartTime(PeTransport transport, double time)
{
  return record("PeTransportSetStartTime", joined({name(transport), number(time)}));
}

int PeTransportGetCurrentTime(PeTransport transport, double* time)
{
  const int status = record("PeTransportGetCurrentTime", name(transport));
  if (status == 0)
    *time = engine->time;
  return status;
}

int PeTransportIsPlaying(PeTransport transport, unsigned char* playing)
{
  const int status = record("PeTransportIsPlaying", name(transport));
  if (status == 0)
    *playing = engine->playing ? 1 : 0;
  return status;
}

int PeMixerReset(PeMixer mixer)
{
  return record("PeMixerReset", name(mixer));
}

int PeMixerDestroy(PeMixer mixer)
{
  return record("PeMixerDestroy", name(mixer));
}

int PeModuleCountParameters(PeModule module, int* count)
{
  const int status = record("PeModuleCountParameters", name(module));
  if (status == 0)
    *count = engine->parameterCount;
  return status;
}

int PeModuleGetIndexedParameter(PeModule module, int index, PeParameter* parameter)
{
  const int status = record("PeModuleGetIndexedParameter", joined({name(module), number(index)}));
  if (status == 0)
    *parameter = handle<PeParameter>(4);
  return status;
}

int PeParameterGetRangeInfo(PeParameter parameter, float* minimum, float* maximum, float* third,
                            float* fourth)
{
  const int status = record("PeParameterGetRangeInfo", name(parameter));
  if (status == 0) {
    *minimum = engine->minimum;
    *maximum = engine->maximum;
    // Neither of these is what the player wants.
    if (third)
      *third = 1234.5f;
    if (fourth)
      *fourth = -1234.5f;
  }
  return status;
}

int PeParameterGetCurrentValue(PeParameter parameter, float* value)
{
  const int status = record("PeParameterGetCurrentValue", name(parameter));
  if (status == 0)
    *value = engine->value;
  return status;
}

int PeParameterSetCurrentValue(PeParameter parameter, float value)
{
  const int status =
      record("PeParameterSetCurrentValue", joined({name(parameter), number(value)}));
  if (status == 0)
    engine->value = value;
  return status;
}

int PeModuleGetPastMeterValues(PeModule module, double from, double to, int* count, float* levels)
{
  const int status =
      record("PeModuleGetPastMeterValues",
             joined({name(module), number(from), number(to), count ? number(*count) : "null"}));
  if (status == 0)
    std::copy_n(engine->levels, 2, levels);
  return status;
}

} // extern "C"
