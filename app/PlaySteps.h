#pragma once

// The values that single keys step through.

/** The volume, 0 to 1, one decibel up or down from here, to the nearest whole
 *  one; below -60 dB there is only 0. */
float volumeStepFrom(float volume, bool isLouder);

/** The next low-pass frequency: lower and lower ones, then none, which is 0. */
int filterStepFrom(int frequency);

/** The track that is selected when @p digit is typed: a digit that @p isSoon
 *  after another goes on with its number where there is such a track, 0 alone
 *  is 10.  0 where there is no such track. */
int trackStepFrom(int selected, int digit, bool isSoon, int trackCount);
