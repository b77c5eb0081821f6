// A host with a playout engine of its own: the player must play through it,
// whatever the library brings.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "core/TovSys.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "io/TovAudioTranslator.h"
#include "io/TovAudioWriter.h"
#include "playback/TovAudioPlayer.h"
#include "playback/TovAudioPlayerFactory.h"
#include "playout/PlayoutEngine.h"

// --- The engine: pulls what it is asked for by hand -----------------------

struct PeMixerObject {};
struct PeTrackObject {};
struct PeTransportObject {};
struct PeModuleObject {};
struct PeParameterObject {};
struct PeAudioSupplierObject {
  PeAudioSupplierProc function;
};

namespace {

PeMixerObject mixerObject;
PeTrackObject trackObject;
PeTransportObject transportObject;
PeModuleObject moduleObject;
PeParameterObject parameterObject;
PeAudioSupplierObject supplierObject;
void* supplierData = nullptr;
bool isRunning = false;

} // namespace

int PeMixerCreate(int, PeMixer* mixer)
{
  *mixer = &mixerObject;
  return 0;
}
int PeMixerDestroy(PeMixer) { return 0; }
int PeMixerReset(PeMixer) { return 0; }
int NewPeAudioSupplierUPP(PeAudioSupplierProc function, PeAudioSupplierUPP* supplier)
{
  supplierObject.function = function;
  *supplier = &supplierObject;
  return 0;
}
int PeMixerCreateTrack(PeMixer, PeAudioSupplierUPP, void* refCon, int, double, int, int, int,
                       PeTrack* track)
{
  supplierData = refCon;
  *track = &trackObject;
  return 0;
}
int PeMixerGetTransport(PeMixer, PeTransport* transport)
{
  *transport = &transportObject;
  return 0;
}
int PeTransportStart(PeTransport)
{
  isRunning = true;
  return 0;
}
int PeTransportStop(PeTransport)
{
  isRunning = false;
  return 0;
}
int PeTransportSetStartTime(PeTransport, double) { return 0; }
int PeTransportGetCurrentTime(PeTransport, double* time)
{
  *time = 0.0;
  return 0;
}
int PeTransportIsPlaying(PeTransport, unsigned char* playing)
{
  *playing = isRunning ? 1 : 0;
  return 0;
}
int PeMixerGetOverallLevelModule(PeMixer, PeModule* module)
{
  *module = &moduleObject;
  return 0;
}
int PeModuleCountParameters(PeModule, int* count)
{
  *count = 1;
  return 0;
}
int PeModuleGetIndexedParameter(PeModule, int, PeParameter* parameter)
{
  *parameter = &parameterObject;
  return 0;
}
int PeParameterGetRangeInfo(PeParameter, float* minimum, float* maximum, float*, float*)
{
  *minimum = 2.0f;
  *maximum = 6.0f;
  return 0;
}
int PeParameterGetCurrentValue(PeParameter, float* value)
{
  *value = 5.0f;
  return 0;
}
int PeParameterSetCurrentValue(PeParameter, float) { return 0; }
int PeModuleEnableMetering(PeModule) { return 0; }
int PeModuleGetPastMeterValues(PeModule, double, double, int*, float*) { return 0; }

// --- The host -------------------------------------------------------------

namespace {

void writeTone(const char* path)
{
  std::vector<float> samples(44100, 0.25f);
  TovAudioWriter* const writer =
      TovAudioTranslator::findWriter(TovName::getString(path), 1)->createWriter();
  TovAudioIOFormat format{};
  format.bytesPerSample = 2;
  format.sampleRate = 44100;
  format.channels = 1;
  TovNLPArray<float> input;
  input.append(samples.data());
  writer->initialize(path, format);
  writer->writeChannels(input, 0, 44100);
  writer->close();
  delete writer;
}

float pulledSample()
{
  std::vector<float> left(512), right(512);
  float* buffers[] = {left.data(), right.data()};
  unsigned char flag = 1;
  supplierObject.function(supplierData, 0.0, 0, 512, buffers, &flag);
  return left[256];
}

} // namespace

int main()
{
  const char* const path = "replaces_engine.aif";
  writeTone(path);
  TovAudioMixer* const mixer = TovAudioMixer::getMasterMixer();
  TovAudioFile* const file = new TovAudioFile;
  file->initialize(path);
  mixer->addProvider(file);
  mixer->setEndTime(file, 0.0);
  file->dereference();

  TovAudioPlayer* const player = TovAudioPlayerFactory::getAudioPlayer();
  const int status = player->play(0.5, 1.0, true);
  float sample = pulledSample();
  for (int attempt = 0; attempt < 5000 && sample == 0.0f; ++attempt) {
    TovSys::sleep(0.001); // the feeder thread may be late
    sample = pulledSample();
  }
  float volume = 0.0f;
  player->getVolume(&volume);
  std::printf("status %d, playing %d, sample %g, volume %g\n", status, isRunning,
              static_cast<double>(sample), static_cast<double>(volume));
  const bool isRight =
      status == 0 && isRunning && std::fabs(sample - 0.25f) < 1e-4f && volume == 0.75f;
  player->stop();
  mixer->dereference();
  std::remove(path);
  return isRight ? EXIT_SUCCESS : EXIT_FAILURE;
}
