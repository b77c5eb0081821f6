#pragma once

#include <array>
#include <atomic>
#include <functional>

#include "app/LevelBallistics.h"
#include "app/PlayHead.h"

class TovAudioPlayer;

/** Plays through the player what a PlayHead says, and follows what is heard.
 *
 *      play, pause, change -> head -> segment -> TovAudioPlayer
 *      update:    position, levels, end, lost output  <---'
 *
 *  The player plays one segment at a time, rendered ahead.  So every change
 *  begins another one from the position that is heard, at the next update():
 *  several changes at once cost one gap of about a twentieth of a second.
 *
 *  Main thread.  Times are seconds of a clock that only goes forward.
 */
class PlaySession {
public:
  enum State {
    paused,
    playing,
    scrubbing, ///< plays one frame of the timeline and then pauses
    lost,      ///< the output went away while playing, and is tried again
    givenUp    ///< it did not come back
  };

  PlaySession(TovAudioPlayer& player, const PlayHead& head);
  ~PlaySession(); ///< stops
  PlaySession(const PlaySession&) = delete;
  PlaySession& operator=(const PlaySession&) = delete;

  State getState() const { return state; }
  const PlayHead& getHead() const { return head; }
  const std::array<LevelBallistics, 2>& getLevels() const { return levels; }

  /** Since this was asked, all was played to its end. */
  bool takeArrival();

  /** Plays on; from where playing begins when all was played. */
  void play();

  /** Plays on in this direction, faster where it goes there already. */
  void shuttle(bool isBackwards);

  /** Stops; the position stays. */
  void pause();

  /** Makes a change of the head, with which what plays goes on. */
  void change(const std::function<void(PlayHead&)>& make);

  /** The mix has been changed: what plays goes on with it at once. */
  void refresh();

  /** Stops, moves so many frames of the timeline and plays the one arrived at,
   *  in the direction of the move. */
  void scrub(int timelineFrames);

  /** To be called some 25 times a second.  Throws Failure where the player
   *  cannot play at all. */
  void update(double now);

private:
  static void noteEndStatic(void* session);

  void takePosition();
  void begin(double now);
  void follow(double now);
  bool isHeardOut(double now);
  void arrive();
  void lose(double now);
  void tryAgain(double now);
  void showLevels(double now);

  TovAudioPlayer& player;
  PlayHead head;
  State state = paused;
  bool isChanged = false; ///< the head is ahead of the player
  bool hasArrived = false;
  bool isScrubbedBack = false;
  PlaySegment segment;    ///< what the player was told last
  long long elapsed = 0;  ///< frames of the transport's run
  double movedAt = 0.0;   ///< when the transport was last seen to move
  double nextTryAt = 0.0; ///< of a lost output
  int tries = 0;
  std::array<LevelBallistics, 2> levels;
  std::atomic<bool> hasEnded = false; ///< set by the player's thread
};
