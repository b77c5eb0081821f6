#pragma once

#include "app/MixTrack.h"

/** "WAV, 44100 Hz, 16 bit, 2 ch", or why the file is missing. */
std::string sourceForPeople(const MixTrack& track);

/** A track's level and the part of its file, but not its place on the
 *  timeline: "-3.0 dB, pan 0, width 1, file from 0:10.000 to 0:20.000, solo". */
std::string settingsForPeople(const MixTrack& track);
