#pragma once

#include <string>
#include <vector>

/** A short piece of synthesised music, one vector of samples per channel, full
 *  scale 1. */
struct DemoSound {
  std::string fileName; ///< its suffix says the format
  int rate;
  int bits;
  std::vector<std::vector<float>> channels;
};

// Four bars of A minor, F, C and G at 120 beats per minute: each bar lasts two
// seconds.

DemoSound makeDrums(); ///< 44100 Hz, 16 bit, stereo
DemoSound makeBass();  ///< 48000 Hz, 24 bit, mono
DemoSound makePad();   ///< 32000 Hz, 24 bit, four channels: front pair, back pair
DemoSound makeBells(); ///< 22050 Hz, 8 bit, mono
DemoSound makeLead();  ///< 96000 Hz, 16 bit, stereo
