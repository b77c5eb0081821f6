#pragma once

class TovPlug;

/** The host setting that playback declares and reads.  Any thread, at any
 *  time, static constructors included; read at each use, so that a change
 *  counts with the next block. */
struct TovPlaybackSettings {
  TovPlug* quality; ///< "sys.defaultAudioPlaybackQuality"

  static const TovPlaybackSettings& instance();
};
