#pragma once

#include "app/PlotHeader.h"
#include "app/PlotOutput.h"
#include "app/PlotRequest.h"
#include "app/PlotResult.h"
#include "app/PlotSound.h"

/** Draws sound as waveform, spectrogram or both.  @p header has its facts but
 *  for the levels.  Throws UsageError, Failure and Interrupted. */
PlotResult drawSoundPicture(const PlotRequest& request, PlotSound& sound, FrameSpan span,
                            PlotHeader header, double framesPerSecond, PlotOutput& output);

/** Throws UsageError where the text leaves too little of the width for what is
 *  drawn. */
void checkRoom(const PlotRequest& request, double width);

/** Throws UsageError where a picture that needs so many pixels is to have
 *  fewer, or would have too many. */
void checkHeight(const PlotRequest& request, double needed);
