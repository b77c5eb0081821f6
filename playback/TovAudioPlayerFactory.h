#pragma once

#include "core/TovExport.h"

class TovAudioPlayer;

/** Hands out the one player of the process.  Any thread. */
class TOV_API TovAudioPlayerFactory {
public:
  /** Always 1. */
  static int canPlayAudio();

  /** The player; the first call makes it, which opens the audio output.  It is
   *  never destroyed: a process may exit while it plays. */
  static TovAudioPlayer* getAudioPlayer();

  static TovAudioPlayer* _instance; ///< null before the first getAudioPlayer()
};
