#pragma once

#include <vector>

/** Up to 4096 frames of stereo audio on their way from the feeder thread to
 *  the output callback.  Owned by whichever list or thread holds it. */
struct TovAudioFIFOBlock {
  static constexpr int kFrames = 4096;

  TovAudioFIFOBlock() : left(kFrames), right(kFrames) {}

  TovAudioFIFOBlock* next = nullptr;
  int frames = 0;              ///< valid frames
  int readPos = 0;             ///< frames already played
  bool silent = false;         ///< all zeros, whatever the buffers hold
  std::vector<float> left;     ///< kFrames
  std::vector<float> right;    ///< kFrames
  bool lastOfCmd = false;      ///< the last one of a span that does not loop
  unsigned int flushEpoch = 0; ///< the feeder's when the block was made
};
