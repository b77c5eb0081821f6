#include "tests/playback/IndexedProvider.h"

#include <utility>

namespace support {

namespace {

constexpr unsigned long long kLow = (1ULL << 23) - 1;

} // namespace

float IndexedProvider::left(long long index)
{
  return static_cast<float>((static_cast<unsigned long long>(index) & kLow) + 1);
}

float IndexedProvider::right(long long index)
{
  return -static_cast<float>(((static_cast<unsigned long long>(index) >> 23) & kLow) + 1);
}

long long IndexedProvider::index(float leftSample, float rightSample)
{
  if (leftSample == 0.0f && rightSample == 0.0f)
    return kSilence;
  const float limit = static_cast<float>(kLow + 1);
  if (!(leftSample >= 1.0f && leftSample <= limit && rightSample <= -1.0f && rightSample >= -limit))
    return kStranger;
  const unsigned long long low = static_cast<unsigned long long>(leftSample) - 1;
  const unsigned long long high = static_cast<unsigned long long>(-rightSample) - 1;
  const unsigned long long bits = (high << 23) | low;
  // 46 bits, the highest of which is the sign.
  const long long found = static_cast<long long>(bits << 18) >> 18;
  return left(found) == leftSample && right(found) == rightSample ? found : kStranger;
}

std::vector<IndexedProvider::Request> IndexedProvider::takeRequests()
{
  return std::exchange(requests, {});
}

TovAudioProvider* IndexedProvider::clone() const
{
  return new IndexedProvider;
}

int IndexedProvider::activate(const TovAudioContext&)
{
  ++activationsSeen;
  return activation ? activation() : 0;
}

int IndexedProvider::deactivate()
{
  ++deactivationsSeen;
  return 0;
}

int IndexedProvider::getAudio(const TovNLPArray<float>& buffers,
                              const TovNLArray<int>& channelMap, const TovAudioContext& context,
                              double t0, double t1)
{
  ++requestsSeen;
  const long long first = getSampleIndex(context, t0);
  const long long frames = getNumSampleFrames(context, t0, t1);
  if (isKeeping) {
    Request request{t0,
                    t1,
                    first,
                    frames,
                    context.quality,
                    context.sampleRate,
                    context.frameRate,
                    context.timeOffset,
                    buffers.getCount(),
                    {}};
    for (int i = 0; i < channelMap.getCount(); ++i)
      request.channelMap.push_back(channelMap[i]);
    requests.push_back(request);
  }
  if (answer) {
    if (const int status = answer(context, t0, t1))
      return status;
  }
  float* const leftOut = buffers[0];
  float* const rightOut = buffers[1];
  for (long long i = 0; i < frames; ++i) {
    leftOut[i] = left(first + i);
    rightOut[i] = right(first + i);
  }
  return 0;
}

int IndexedProvider::serialize(void** out)
{
  *out = nullptr;
  return 0;
}

int IndexedProvider::deserialize(const void*, bool)
{
  return -1;
}

IndexedProvider::~IndexedProvider()
{
  if (gone)
    *gone = true;
}

} // namespace support
