#include "core/TovAudioContext.h"

TovAudioContext::TovAudioContext(int rate, int resamplingQuality, double timelineRate,
                                 double offset)
    : sampleRate(rate), quality(resamplingQuality), frameRate(timelineRate), timeOffset(offset)
{
}

TovAudioContext::TovAudioContext(const TovAudioContext& other) = default;
TovAudioContext& TovAudioContext::operator=(const TovAudioContext& other) = default;
TovAudioContext::~TovAudioContext() = default;

void TovAudioContext::copy(const TovAudioContext& other)
{
  *this = other;
}

void TovAudioContext::destroy() {}
