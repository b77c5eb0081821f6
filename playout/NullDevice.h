#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "playout/ClockedPace.h"
#include "playout/PlayoutClock.h"
#include "playout/PlayoutDevice.h"

/** Plays silence at the rate of a sound card: pulls a period whenever the
 *  clock has reached it. */
class NullDevice final : public PlayoutDevice {
public:
  enum class Drive {
    thread, ///< pulls on a thread of its own
    hand    ///< pulls in pullWhatIsDue(), for tests with a clock of their own
  };

  explicit NullDevice(const PlayoutClock& clock = PlayoutClock::steady(),
                      Drive drive = Drive::thread);
  ~NullDevice() override;

  int open(PlayoutSource& source, double rate, int channels) override;
  int start() override;
  int stop() override;
  long long position() override;
  long latency() override { return ClockedPace::kPeriodFrames; }
  State state() const override { return current.load(); }
  void close() override;

  /** Calls the source for all that the clock has reached.  Thread: the
   *  device's own, or the caller's where it is driven by hand. */
  void pullWhatIsDue();

private:
  void run();
  bool isNextDue();
  void pullNext();

  const PlayoutClock& clock;
  const Drive drive;
  PlayoutSource* pulledFrom = nullptr; ///< immutable while open
  std::vector<float> heard;            ///< a period that nobody hears; device's thread only
  std::thread puller;
  std::atomic<State> current = State::closed;

  std::mutex mutex;
  std::condition_variable stopped;
  bool isStopping = false; ///< Protected by mutex
  ClockedPace pace{1.0};   ///< Protected by mutex
  long long pulled = 0;    ///< frames since open(); protected by mutex
};
