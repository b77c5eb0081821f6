#pragma once

#include <memory>

#include "playout/PlayoutDevice.h"

/** A device whose callbacks are watched: from the first one on, everything the
 *  engine does in them is counted by CallbackWatch. */
class WatchedDevice : public PlayoutDevice, private PlayoutSource {
public:
  explicit WatchedDevice(std::unique_ptr<PlayoutDevice> device);

  int open(PlayoutSource& source, double rate, int channels) override;
  int start() override;
  int stop() override;
  long long position() override;
  long latency() override;
  State state() const override;
  void close() override;

private:
  bool render(float* interleaved, long frames) noexcept override;

  std::unique_ptr<PlayoutDevice> device;
  PlayoutSource* source = nullptr; ///< the engine
};

/** Calls back as fast as it can, on a thread of its own, with sizes that
 *  change; what it pulled counts as heard. */
std::unique_ptr<PlayoutDevice> makeHastyDevice();

/** The device library's own one. */
std::unique_ptr<PlayoutDevice> makeRealCubebDevice();

/** Which of them the engine gets when it asks for the computer's output. */
enum class DeviceKind { hasty, real };
void useDevice(DeviceKind kind);
