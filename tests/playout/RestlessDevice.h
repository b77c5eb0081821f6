#pragma once

#include <atomic>
#include <thread>

#include "playout/PlayoutDevice.h"

namespace support {

/** A device that pulls on a thread of its own without ever pausing, in
 *  callbacks of 1 to 512 frames. */
class RestlessDevice final : public PlayoutDevice {
public:
  ~RestlessDevice() override { close(); }

  int open(PlayoutSource& source, double rate, int channels) override;
  int start() override;
  int stop() override;
  long long position() override { return pulled; }
  long latency() override { return 0; }
  State state() const override { return current; }
  void close() override;

private:
  void run();

  PlayoutSource* pulledFrom = nullptr;
  int channelCount = 0;
  std::thread puller;
  std::atomic<bool> isStopping = false;
  std::atomic<long long> pulled = 0;
  std::atomic<State> current = State::closed;
};

} // namespace support
