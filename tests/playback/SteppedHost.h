#pragma once

#include <functional>
#include <vector>

namespace support {

/** The threads and the clock of this program's host, in place of the default
 *  ones: the program defines TovThread and TovSys itself.
 *
 *  A thread of TovThread is a real one that stops in TovSys::sleep() until it
 *  is stepped or the time it asked for has passed.  Time passes only while some
 *  other thread, "the host", sleeps: that returns as soon as every stepped
 *  thread that is due in it has had its turns.  So nothing ever really sleeps,
 *  and a test sees the stepped threads move only when it lets them.
 */
class SteppedHost {
public:
  /** Lets the one thread there is run to its next pause, and returns for how
   *  long that is to be; kEnded where the thread has ended instead. */
  static double step();
  static constexpr double kEnded = -1.0;

  /** step() again and again; returns the last pause. */
  static double steps(int count);

  /** Waits until no stepped thread runs. */
  static void settle();

  /** The pause that the one thread is in. */
  static double pause();

  /** The host's pauses since the last call. */
  static std::vector<double> takeHostPauses();

  /** Is called with every pause of the host, before its time passes. */
  static void setPauseListener(std::function<void(double)> listener);

  static int threadsAlive();
  static long long threadsStarted();

  /** The next thread cannot be had. */
  static void refuseNextThread();

  /** The next thread does not begin before it is let go. */
  static void holdNextThread();
  static void letGo();

  /** Whether this is called on a stepped thread. */
  static bool isStepped();

  /** Seconds that have passed. */
  static double now();
};

} // namespace support
