#pragma once

#include "bench/RateConverter.h"

/** What a setting does to the sound, between two rates; decibels and hertz. */
struct ConverterQuality {
  double snrLow;    ///< of a tone of 997 Hz
  double snrHigh;   ///< of a tone of 15 kHz
  double edgeTenth; ///< where the level has fallen by 0.1 dB
  double edgeThree; ///< where it has fallen by 3 dB
  double rejection; ///< of an alias or image: see rejectedTone()
};

ConverterQuality qualityOf(const ConverterSetting& setting, RatePair rates);

/** The tone by which the rejection is measured.  Where the rate falls, the
 *  frequency halfway between both Nyquist frequencies, all of which is alias;
 *  where it rises, the one whose image lies there. */
double rejectedTone(RatePair rates);

/** How unlike two settings are: by both SNRs, and by the edge of the pass band,
 *  of which 200 Hz weigh as much as one decibel. */
double distanceOf(const ConverterQuality& a, const ConverterQuality& b);

/** Whether @p ours is the lower one at either tone, by more than half a
 *  decibel. */
bool isLower(const ConverterQuality& ours, const ConverterQuality& theirs);
