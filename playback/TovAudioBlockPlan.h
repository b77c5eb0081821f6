#pragma once

#include "core/TovExport.h"

class TovAudioContext;
class TovAudioProvider;
struct TovAudioFIFOCmd;

/** What the next block of a span is to hold. */
struct TovAudioBlockPlan {
  double t0 = 0.0; ///< seconds; what the provider is asked for is [t0, t1)
  double t1 = 0.0;
  double next = 0.0; ///< where the block after it begins
  int frames = 0;    ///< 0 to TovAudioFIFOBlock::kFrames
  bool isBackward = false;
  bool reachesEnd = true; ///< the span is done with it

  /** False: there are no times or no rate to play by, or times lie so far
   *  apart there that the provider would deliver more than a block holds.  The
   *  span then ends at once, looping or not. */
  bool isPlayable = false;
};

/** Cuts the next block, up to 4096 frames, off a span:
 *
 *      forward    |-- played --|== block ==|- - - - -|
 *                          curTime        next     endTime
 *
 *      backward   |- - - - -|== block ==|-- played --|
 *              endTime     next      curTime
 *
 *  A pure function of the span and of the provider's arithmetic of times, which
 *  it asks for nothing else.  A block that would neither reach the end nor move
 *  on, where times are too large to tell frames apart, ends its span. */
TOV_API TovAudioBlockPlan tovPlanAudioBlock(const TovAudioProvider& provider,
                                            const TovAudioContext& context,
                                            const TovAudioFIFOCmd& cmd);

/** Whether a span has no frame at all.  One that loops would otherwise keep its
 *  feeder busy for nothing. */
TOV_API bool tovIsEmptySpan(const TovAudioProvider& provider, const TovAudioContext& context,
                            const TovAudioFIFOCmd& cmd);
