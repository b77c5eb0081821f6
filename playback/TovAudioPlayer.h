#pragma once

#include "core/TovCallbackList.h"
#include "core/TovExport.h"

/** Plays the mix: the interface that the host drives.
 *
 *  Threads: host thread, but where a line says otherwise.
 *
 *  Results: 0 success, 1 failure.  Times are seconds of the mix's timeline.
 */
class TOV_API TovAudioPlayer {
public:
  /** What playback callbacks are told. */
  enum Status {
    Stopped = 0, ///< playback has been stopped
    Playing = 1  ///< playback has begun
  };

  /** Both numbers are 0.0 in every notification that the players send. */
  typedef void (*PlaybackCallback)(void* data, TovAudioPlayer* player, Status status, float, float);

  TovAudioPlayer();
  TovAudioPlayer(const TovAudioPlayer&) = delete;
  TovAudioPlayer& operator=(const TovAudioPlayer&) = delete;

  // --- Virtual operations, in slot order ---------------------------------

  /** Plays from @p start to @p end, backwards where the end lies before the
   *  start; with @p loop over and over.  What plays is stopped first. */
  virtual int play(double start, double end, bool loop) = 0;
  virtual int stop() = 0;

  /** 1 while it plays, else 0. */
  virtual int isPlaying() = 0;

  /** The position that is heard; it starts at the smaller of start and end and
   *  runs on, whatever the direction, loops included.  1 while nothing plays. */
  virtual int getCurrentTime(double* time) = 0;

  /** The levels of both channels, linear, for the caller that @p key stands
   *  for (its own address, say). */
  virtual int getLevels(float* levels, void* key) = 0;

  /** The volume, 0 to 1. */
  virtual int getVolume(float* volume) = 0;
  virtual int setVolume(float volume) = 0;

  /** @p function(data) is called when a span that does not loop has been
   *  played, on a thread of the player's; the host then calls stop(). */
  virtual void setStopRequestCallback(void (*function)(void*), void* data) = 0;

  /** Registers a function to be told of playback's begin and end, on the
   *  thread that called play() or stop(); it may be registered more than once.
   *  Any thread. */
  virtual void addPlaybackCallback(PlaybackCallback function, void* data);

  /** Removes the first registration of the function, if there is one; a
   *  notification that is under way does not call it any more.  Any thread; a
   *  call that runs on another one may still be under way on return. */
  virtual void removePlaybackCallback(PlaybackCallback function);

  /** The low-pass filter's frequency in hertz; none at 0. */
  virtual int getFilterFreq() const;
  virtual int setFilterFreq(int frequency);

  /** Calls what is registered, in order.  Callbacks may add and remove
   *  callbacks: what is added is called from the next time on.  Any thread. */
  virtual void callPlaybackCallbacks(Status status, float a, float b);

  virtual ~TovAudioPlayer();

private:
  TovCallbackList<PlaybackCallback> callbacks;
  int filterFreq;
};
