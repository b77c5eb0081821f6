#include "playback/TovAudioPlayerOSX.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "core/TovPlug.h"
#include "core/TovSys.h"
#include "graph/TovAudioMixer.h"
#include "graph/TovAudioResampler.h"
#include "graph/TovMixerSettings.h"
#include "pcm/TovPcm.h"
#include "playback/TovAudioFIFO.h"

namespace {

constexpr int kFailed = 1;
constexpr int kSampleRate = 44100;
constexpr int kQuality = 1;
constexpr int kChannels = 2;

/** Seconds that the feeder thread gets to carry out a flush, and to render the
 *  first blocks. */
constexpr double kPauseForFeeder = 0.02;

double hostFrameRate()
{
  return static_cast<double>(TovMixerSettings::instance().framesPerSecond->asFloat());
}

void writeSilence(float* levels)
{
  const float silence = TovPcm::dBToFactor(TovPcm::kSilenceDB);
  levels[0] = silence;
  levels[1] = silence;
}

/** Twice the frequency; what does not fit stays far outside the resampler's
 *  range. */
int sourceRateOf(int filterFrequency)
{
  return std::clamp(filterFrequency, INT_MIN / 2, INT_MAX / 2) * 2;
}

} // namespace

// --- Life -----------------------------------------------------------------

TovAudioPlayerOSX::TovAudioPlayerOSX()
    : engineMixer(nullptr), engineTrack(nullptr), transport(nullptr), levelModule(nullptr),
      masterMixer(TovAudioMixer::getMasterMixer()),
      context(kSampleRate, kQuality, hostFrameRate(), 0.0), resampler(nullptr), fifo(nullptr),
      initialized(false), meterKeys(), meterTimes(), meterKeyCount(0), startSample(0.0),
      endSample(0.0)
{
  try {
    resampler = new TovAudioResampler(masterMixer);
    fifo = new TovAudioFIFO(resampler);
    const int status = initializeEngine();
    initialized = status == 0;
    if (!initialized)
      TovSys::error("%ETovAudioPlayerOSX: Could not initialize audio playback engine "
                    "(status = %d), audio playback disabled.\n",
                    status);
  } catch (...) {
    release();
    throw;
  }
}

/** Everything that the constructor took, as far as it came. */
void TovAudioPlayerOSX::release()
{
  if (engineMixer)
    PeMixerDestroy(engineMixer);
  masterMixer->dereference();
  if (resampler)
    resampler->dereference();
  delete fifo;
}

/** The first status that is not 0; nothing is tried after it.  What there is
 *  by then stays until the player goes. */
int TovAudioPlayerOSX::initializeEngine()
{
  PeAudioSupplierUPP supplier = nullptr;
  int status = PeMixerCreate(1, &engineMixer);
  if (status == 0)
    status = NewPeAudioSupplierUPP(audioSupplierFuncStatic, &supplier);
  if (status == 0)
    status = PeMixerCreateTrack(engineMixer, supplier, this, kChannels, context.sampleRate, 0, 0, 0,
                                &engineTrack);
  if (status == 0)
    status = PeMixerGetTransport(engineMixer, &transport);
  if (status == 0)
    status = PeMixerGetOverallLevelModule(engineMixer, &levelModule);
  if (status == 0)
    status = PeModuleEnableMetering(levelModule);
  return status;
}

TovAudioPlayerOSX::~TovAudioPlayerOSX()
{
  // A stop request callback that is under way may use the engine.
  fifo->setStopRequestCallback(nullptr, nullptr);
  if (initialized)
    TovAudioPlayerOSX::stop();
  release();
}

// --- Transport ------------------------------------------------------------

int TovAudioPlayerOSX::play(double start, double end, bool loop)
{
  if (!initialized)
    return kFailed;
  const double rate = context.sampleRate;
  stop();
  startSample = start * rate;
  endSample = end != start ? end * rate : 0.0;
  TovSys::sleep(kPauseForFeeder);
  fifo->addBlock(context, start, end, loop);
  TovSys::sleep(kPauseForFeeder);
  callPlaybackCallbacks(Playing, 0.0f, 0.0f);
  // Deliberate: a start that fails is not reported.
  PeTransportSetStartTime(transport, std::min(endSample, startSample));
  PeTransportStart(transport);
  return 0;
}

int TovAudioPlayerOSX::stop()
{
  if (!initialized)
    return kFailed;
  PeTransportStop(transport);
  PeMixerReset(engineMixer);
  callPlaybackCallbacks(Stopped, 0.0f, 0.0f);
  fifo->flush();
  return 0;
}

int TovAudioPlayerOSX::isPlaying()
{
  unsigned char playing = 0;
  return transport && PeTransportIsPlaying(transport, &playing) == 0 && playing ? 1 : 0;
}

int TovAudioPlayerOSX::getCurrentTime(double* time)
{
  double position = 0.0;
  if (!initialized || !isPlaying() || PeTransportGetCurrentTime(transport, &position) != 0)
    return kFailed;
  if (time)
    *time = position / context.sampleRate;
  return 0;
}

void TovAudioPlayerOSX::setStopRequestCallback(void (*function)(void*), void* data)
{
  fifo->setStopRequestCallback(function, data);
}

// --- Level ----------------------------------------------------------------

int TovAudioPlayerOSX::getLevels(float* levels, void* key)
{
  if (!initialized || !key || !levels)
    return kFailed;
  if (!isPlaying()) {
    writeSilence(levels);
    return 0;
  }
  double now = 0.0;
  if (PeTransportGetCurrentTime(transport, &now) != 0)
    return kFailed;
  void** const end = meterKeys + meterKeyCount;
  void** const found = std::find(meterKeys, end, key);
  if (found != end) {
    int count = kChannels;
    const double first = meterTimes[found - meterKeys];
    return PeModuleGetPastMeterValues(levelModule, first, now, &count, levels) == 0 ? 0 : kFailed;
  }
  if (meterKeyCount == kMostMeterKeys)
    return kFailed;
  meterKeys[meterKeyCount] = key;
  meterTimes[meterKeyCount] = now;
  ++meterKeyCount;
  writeSilence(levels);
  return 0;
}

/** Non-zero where the engine has no such parameter. */
int TovAudioPlayerOSX::getVolumeParameter(PeParameter* parameter, float* minimum,
                                          float* maximum) const
{
  float defaultValue = 0.0f;
  float step = 0.0f;
  if (!levelModule)
    return kFailed;
  const int status = PeModuleGetIndexedParameter(levelModule, 0, parameter);
  return status != 0 ? status
                     : PeParameterGetRangeInfo(*parameter, minimum, maximum, &defaultValue, &step);
}

int TovAudioPlayerOSX::getVolume(float* volume)
{
  int count = 0;
  PeParameter parameter = nullptr;
  float minimum = 0.0f;
  float maximum = 0.0f;
  float value = 0.0f;
  if (!volume || !levelModule || PeModuleCountParameters(levelModule, &count) != 0 ||
      getVolumeParameter(&parameter, &minimum, &maximum) != 0 || minimum == maximum ||
      PeParameterGetCurrentValue(parameter, &value) != 0)
    return kFailed;
  *volume = (value - minimum) / (maximum - minimum);
  return 0;
}

int TovAudioPlayerOSX::setVolume(float volume)
{
  PeParameter parameter = nullptr;
  float minimum = 0.0f;
  float maximum = 0.0f;
  if (std::isnan(volume) || getVolumeParameter(&parameter, &minimum, &maximum) != 0 ||
      minimum == maximum)
    return kFailed;
  const float clamped = std::clamp(volume, 0.0f, 1.0f);
  const float value = minimum + (maximum - minimum) * clamped;
  return PeParameterSetCurrentValue(parameter, value) == 0 ? 0 : kFailed;
}

int TovAudioPlayerOSX::setFilterFreq(int frequency)
{
  const int status = TovAudioPlayer::setFilterFreq(frequency);
  resampler->setSourceRate(sourceRateOf(getFilterFreq()));
  return status;
}

// --- Engine's callback thread ---------------------------------------------

int TovAudioPlayerOSX::audioSupplierFuncStatic(void* refCon, double time, unsigned long n,
                                               unsigned long frames, float** buffers,
                                               unsigned char* flag)
{
  if (!refCon)
    return 0;
  bool isSilent = false;
  const int status = static_cast<TovAudioPlayerOSX*>(refCon)->audioSupplierFunc(
      time, static_cast<unsigned int>(n),
      static_cast<unsigned int>(std::min<unsigned long>(frames, UINT_MAX)), buffers, &isSilent);
  if (flag)
    *flag = isSilent ? 1 : 0;
  return status;
}

int TovAudioPlayerOSX::audioSupplierFunc(double, unsigned int, unsigned int frames, float** buffers,
                                         bool* flag)
{
  TovNLPArray<float> outputs;
  outputs.append(buffers[0]);
  outputs.append(buffers[1]);
  fifo->fillAudioBuffers(outputs, static_cast<int>(std::min<unsigned int>(frames, INT_MAX)));
  *flag = false;
  return 0;
}
