#pragma once

#include <string>

/** How much sound a file says it holds, and how much it holds, by its chunks:
 *  WAV, RF64, W64, AIFF, AIFC, CAF and AU. */
struct SoundExtent {
  enum Verdict {
    unknown,   ///< no such file, or its sound is not found
    whole,     ///< what is stated is there
    wrongSize, ///< the size is 0 or beyond the end, as of a writer that could not go back
    cutShort   ///< the header is consistent, and the file ends before
  };

  Verdict verdict = unknown;
  long long stated = 0;     ///< bytes of sound, as the header says
  long long held = 0;       ///< bytes between the sound's beginning and the file's end
  long long sizeAt = 0;     ///< position of the size
  bool isBigEndian = false; ///< the size
  int sizeBytes = 0;        ///< of the size itself
};

/** Never reads the sound itself. */
SoundExtent soundExtentOf(const std::string& path);

/** Why the file does not hold all its sound, phrased to follow its name and a
 *  colon: for the containers above, and Ogg and MP3; empty where it does, or
 *  where it cannot be told without decoding. */
std::string whyCutShort(const std::string& path);
