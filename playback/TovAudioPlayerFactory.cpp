#include "playback/TovAudioPlayerFactory.h"

#include <mutex>

#include "playback/TovAudioPlayerOSX.h"

constinit TovAudioPlayer* TovAudioPlayerFactory::_instance = nullptr;

namespace {

std::mutex instanceMutex;

} // namespace

int TovAudioPlayerFactory::canPlayAudio()
{
  return 1;
}

TovAudioPlayer* TovAudioPlayerFactory::getAudioPlayer()
{
  const std::lock_guard<std::mutex> guard(instanceMutex);
  if (!_instance)
    _instance = new TovAudioPlayerOSX;
  return _instance;
}
