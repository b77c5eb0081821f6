#include "playback/TovAudioPlayerNull.h"

TovAudioPlayerNull::~TovAudioPlayerNull() = default;

int TovAudioPlayerNull::play(double, double, bool)
{
  return 1;
}

int TovAudioPlayerNull::stop()
{
  return 1;
}

int TovAudioPlayerNull::isPlaying()
{
  return 0;
}

int TovAudioPlayerNull::getCurrentTime(double*)
{
  return 1;
}

int TovAudioPlayerNull::getLevels(float*, void*)
{
  return 1;
}

int TovAudioPlayerNull::getVolume(float*)
{
  return 1;
}

int TovAudioPlayerNull::setVolume(float)
{
  return 1;
}

void TovAudioPlayerNull::setStopRequestCallback(void (*)(void*), void*) {}
