#include "tests/soundserver/HeardPlayer.h"

#include "tests/soundserver/Waiting.h"

HeardPlayer::HeardPlayer(TovAudioPlayer& driven) : player(driven)
{
  player.setStopRequestCallback(stopRequested, this);
}

HeardPlayer::~HeardPlayer()
{
  player.setStopRequestCallback(nullptr, nullptr);
  player.stop();
}

double HeardPlayer::time() const
{
  double seconds = -1.0;
  return player.getCurrentTime(&seconds) == 0 ? seconds : -1.0;
}

bool HeardPlayer::passes(double seconds) const
{
  return holdsSoon([this, seconds] { return time() > seconds; });
}

void HeardPlayer::stopRequested(void* self)
{
  auto& heard = *static_cast<HeardPlayer*>(self);
  heard.player.stop();
  ++heard.endedSpans;
}
