#include "graph/TovAudioTrack.h"

#include <algorithm>

#include "core/TovPlug.h"
#include "graph/TovAudioProvider.h"
#include "graph/TovMixerSettings.h"

namespace {

/** Seconds of one frame of the host's timeline. */
double timelineFrame()
{
  const float rate = TovMixerSettings::instance().framesPerSecond->asFloat();
  return 1.0 / std::clamp(rate, 0.1f, 200000.0f);
}

} // namespace

TovAudioTrack::TovAudioTrack(TovAudioProvider* input)
    : provider(input), mute(false), solo(false), gain(1.0f), pan(0.0f), wide(1.0f),
      startTime(timelineFrame()), endTime(startTime), timeShift(0.0)
{
  if (provider)
    provider->reference();
}

TovAudioTrack::TovAudioTrack(const TovAudioTrack& other)
    : provider(other.provider ? other.provider->clone() : nullptr), mute(other.mute),
      solo(other.solo), gain(other.gain), pan(other.pan), wide(other.wide),
      startTime(other.startTime), endTime(other.endTime), timeShift(other.timeShift)
{
}

TovAudioTrack::~TovAudioTrack()
{
  if (provider)
    provider->dereference();
}

TovAudioProvider* TovAudioTrack::getProvider() const
{
  return provider;
}

bool TovAudioTrack::getMute() const
{
  return mute;
}
bool TovAudioTrack::getSolo() const
{
  return solo;
}
float TovAudioTrack::getGain() const
{
  return gain;
}
float TovAudioTrack::getPan() const
{
  return pan;
}
float TovAudioTrack::getWide() const
{
  return wide;
}
double TovAudioTrack::getStartTime() const
{
  return startTime;
}
double TovAudioTrack::getEndTime() const
{
  return endTime;
}
double TovAudioTrack::getTimeShift() const
{
  return timeShift;
}

void TovAudioTrack::setMute(bool value)
{
  mute = value;
}
void TovAudioTrack::setSolo(bool value)
{
  solo = value;
}
void TovAudioTrack::setGain(float value)
{
  gain = std::clamp(value, 0.0f, 8.0f);
}
void TovAudioTrack::setPan(float value)
{
  pan = std::clamp(value, -1.0f, 1.0f);
}
void TovAudioTrack::setWide(float value)
{
  wide = std::clamp(value, -1.0f, 1.0f);
}
void TovAudioTrack::setStartTime(double seconds)
{
  startTime = seconds;
}
void TovAudioTrack::setEndTime(double seconds)
{
  endTime = seconds;
}
void TovAudioTrack::setTimeShift(double seconds)
{
  timeShift = seconds;
}
