#include "playback/TovAudioPlayer.h"

TovAudioPlayer::TovAudioPlayer() : filterFreq(0) {}

TovAudioPlayer::~TovAudioPlayer() = default;

void TovAudioPlayer::addPlaybackCallback(PlaybackCallback function, void* data)
{
  callbacks.add(function, data);
}

void TovAudioPlayer::removePlaybackCallback(PlaybackCallback function)
{
  callbacks.removeFirst(function);
}

int TovAudioPlayer::getFilterFreq() const
{
  return filterFreq;
}

int TovAudioPlayer::setFilterFreq(int frequency)
{
  filterFreq = frequency;
  return 0;
}

void TovAudioPlayer::callPlaybackCallbacks(Status status, float a, float b)
{
  TovCallbackList<PlaybackCallback>::Run run(callbacks);
  PlaybackCallback function = nullptr;
  void* data = nullptr;
  while (run.take(function, data))
    function(data, this, status, a, b);
}
