#pragma once

#include "playback/TovAudioPlayer.h"

/** A player that plays nothing and sends no notifications.  What it cannot do
 *  returns 1 and leaves its outputs as they are. */
class TOV_API TovAudioPlayerNull : public TovAudioPlayer {
public:
  int play(double start, double end, bool loop) override;
  int stop() override;
  int isPlaying() override;
  int getCurrentTime(double* time) override;
  int getLevels(float* levels, void* key) override;
  int getVolume(float* volume) override;
  int setVolume(float volume) override;
  void setStopRequestCallback(void (*function)(void*), void* data) override;
  ~TovAudioPlayerNull() override;
};
