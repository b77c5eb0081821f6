#pragma once

#include <optional>

#include "app/FrameSpan.h"
#include "app/PlaySegment.h"
#include "app/TimelineGrid.h"

/** Where playback stands and what it plays next.  Arithmetic only.
 *
 *      |------------- range -------------|
 *              [---- loop ----]
 *                    ^ position ->
 *
 *  The range is all there is to play; the position never leaves it.  With a
 *  loop, playing runs up to the loop's end and then goes round; from beyond it
 *  at once.  At a speed above 1 playing goes by short pieces, of which each
 *  begins so much further than it is long.
 */
class PlayHead {
public:
  static constexpr int kHighestSpeed = 8;

  /** Stands at the beginning of the range, or at its end to go backwards. */
  PlayHead(FrameSpan range, const TimelineGrid& grid, bool isBackwards);

  const TimelineGrid& getGrid() const { return grid; }
  long long getPosition() const { return position; }
  bool isBackwards() const { return backwards; }
  int getSpeed() const { return speed; }
  const std::optional<FrameSpan>& getLoop() const { return loop; }

  /** Frames up to the end of the range or of the loop, in the direction. */
  long long remaining() const;

  /** Nothing is left to play in the direction. */
  bool isAtEnd() const { return !loop && remaining() == 0; }

  // --- Changes -----------------------------------------------------------

  /** To the nearest frame of the range. */
  void moveTo(long long frame);
  void moveBySeconds(double seconds);

  /** To the beginning of a frame of the timeline, so many from this one. */
  void stepBy(int timelineFrames);

  /** To where playing in the direction begins. */
  void rewind() { position = backwards ? range.to : range.from; }

  /** Plays on at speed 1. */
  void face(bool isBackwards);

  /** As face(); at twice the speed where it goes that way already. */
  void shuttle(bool isBackwards);

  /** These return false, and change nothing, where the loop would become
   *  shorter than can be played without a gap. */
  bool loopAll() { return setLoop(range); }
  bool beginLoopHere();
  bool endLoopHere();

  void dropLoop() { loop.reset(); }

  // --- Playing -----------------------------------------------------------

  /** What is to be played from here. */
  PlaySegment segment() const;

  /** The frame of the timeline that begins here. */
  PlaySegment frameSegment(bool isBackwards) const;

  /** To where playing goes on when a segment() has been heard. */
  void arriveBehind(const PlaySegment& segment);

private:
  bool setLoop(FrameSpan span);
  FrameSpan bounds() const { return loop.value_or(range); }

  FrameSpan range;
  TimelineGrid grid;
  long long position;
  bool backwards;
  int speed = 1;
  std::optional<FrameSpan> loop;
};
