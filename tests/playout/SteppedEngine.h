#pragma once

#include <memory>
#include <string>
#include <vector>

#include "playout/PlayoutEngine.h"
#include "tests/playout/RecordingSupplier.h"
#include "tests/playout/SteppedDevice.h"

namespace support {

/** The variable PLAYOUT_DEVICE for a scope; null: not set. */
class DeviceVariable {
public:
  explicit DeviceVariable(const char* value);
  ~DeviceVariable();
  DeviceVariable(const DeviceVariable&) = delete;
  DeviceVariable& operator=(const DeviceVariable&) = delete;
};

/** An engine on devices that the test steps, with its handles. */
class SteppedEngine {
public:
  static constexpr double kRate = 44100.0;

  /** Without the track. */
  explicit SteppedEngine(int channels = 2, double rate = kRate);
  ~SteppedEngine();
  SteppedEngine(const SteppedEngine&) = delete;
  SteppedEngine& operator=(const SteppedEngine&) = delete;

  int createTrack();

  /** The device that was made last. */
  SteppedDevice& device() { return *devices.back(); }

  void start(double time);
  void stop();
  double time() const;
  bool isPlaying() const;
  void setVolume(float factor);

  /** One level per channel. */
  std::vector<float> levels(double from, double to) const;

  void destroy();

  HandClock clock;
  RecordingSupplier supplier;
  std::vector<std::shared_ptr<SteppedDevice>> devices; ///< all that were made, in their order
  std::vector<std::string> made; ///< "output" or "silence", what was asked for, in order
  bool outputIsBuilt = true;     ///< the engine was built with an audio output
  bool outputOpens = true;       ///< there is one that can be opened
  bool outputStarts = true;      ///< it can be started as well
  long pulledByFailedStart = 0;
  bool silenceOpens = true;

  PeMixer mixer = nullptr;
  PeTrack track = nullptr;
  PeTransport transport = nullptr;
  PeModule level = nullptr;
  PeParameter volume = nullptr;

private:
  std::unique_ptr<PlayoutDevice> make(bool opens, bool starts);
  const double rate;
};

/** The same with a track on an audio output. */
class PlayingEngine : public SteppedEngine {
public:
  explicit PlayingEngine(int channels = 2, double rate = kRate);
};

} // namespace support
