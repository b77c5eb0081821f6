#pragma once

#include <memory>

/** What a device plays. */
class PlayoutSource {
public:
  /** Writes the next @p frames frames, channels interleaved, all of them.
   *  False: nothing is coming any more, the device may end after these.
   *  Device's callback thread; real-time safe. */
  virtual bool render(float* interleaved, long frames) noexcept = 0;

protected:
  ~PlayoutSource() = default;
};

/** An audio output that pulls from a source on a thread of its own.
 *
 *  One thread at a time, but state(), which any thread may ask.  Results: 0
 *  success, anything else is a failure.  Everything here may block and
 *  allocate, up to a second where a server has gone.
 */
class PlayoutDevice {
public:
  enum class State {
    closed,  ///< before open() and after close()
    stopped, ///< open, not pulling
    running, ///< pulling
    ended,   ///< the source had nothing more; what it delivered has been or will be heard
    lost     ///< gone; only close() is left
  };

  virtual ~PlayoutDevice() = default;

  /** Opens the output for @p channels floats a frame, @p rate frames per
   *  second.  The source outlives the opening. */
  virtual int open(PlayoutSource& source, double rate, int channels) = 0;

  /** Begins to pull; only when stopped. */
  virtual int start() = 0;

  /** Ends the pulling: no call of the source is under way or arrives after it
   *  returns.  What the device still holds may be heard now, or first after
   *  the next start; only close() drops it. */
  virtual int stop() = 0;

  /** Frames since open() that have been heard; may run ahead of what was
   *  pulled.  Negative where it cannot be told.  May take a lock that the
   *  callback thread takes as well: not to be asked more than 60 times a
   *  second. */
  virtual long long position() = 0;

  /** Frames between a pull and its being heard, as far as is known. */
  virtual long latency() = 0;

  virtual State state() const = 0;

  /** Closes the output at once and drops what it holds.  No call of the
   *  source is under way or arrives after it returns. */
  virtual void close() = 0;
};

/** The computer's audio output, through whatever sound server or driver the
 *  device library finds when it is opened; null where the engine was built
 *  without one. */
std::unique_ptr<PlayoutDevice> makeCubebDevice();

/** Silence against the clock: pulls at the rate of a sound card. */
std::unique_ptr<PlayoutDevice> makeNullDevice();
