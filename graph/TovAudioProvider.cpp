#include "graph/TovAudioProvider.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>

#include "core/TovLockGuard.h"
#include "graph/TovSaturating.h"

namespace {

/** Kept to spare in each sample buffer, so that requests that vary slightly in
 *  length do not reallocate. */
constexpr long long kHeadRoomFrames = 10;

/** In the sample buffers of all providers. */
std::atomic<long long> samplesHeld = 0;

template <typename Unsigned>
Unsigned readBigEndian(unsigned char** cursor)
{
  std::uint64_t value = 0;
  for (unsigned int i = 0; i < sizeof(Unsigned); ++i)
    value = value << 8 | *(*cursor)++;
  return static_cast<Unsigned>(value);
}

template <typename Unsigned>
void writeBigEndian(unsigned char** cursor, Unsigned value)
{
  for (unsigned int i = sizeof(Unsigned); i > 0; --i)
    *(*cursor)++ = static_cast<unsigned char>(std::uint64_t{value} >> (8 * (i - 1)) & 0xffu);
}

} // namespace

TovAudioProvider::TovAudioProvider()
    : refCount(1), sampleBufferFrames(0), providerLock(0), bufferLock(0),
      providerLockAbandoned(false)
{
}

TovAudioProvider::TovAudioProvider(const TovAudioProvider&) : TovAudioProvider() {}

TovAudioProvider::~TovAudioProvider()
{
  clearSampleBuffers();
}

// --- Time and samples -----------------------------------------------------

long long TovAudioProvider::getSampleIndex(const TovAudioContext& context, double time) const
{
  const double index = std::floor(context.sampleRate * time);
  constexpr double kLimit = 9223372036854775808.0; // 2^63
  if (std::isnan(index))
    return 0;
  if (index >= kLimit)
    return LLONG_MAX;
  if (index < -kLimit)
    return LLONG_MIN;
  return static_cast<long long>(index);
}

long long TovAudioProvider::getNumSampleFrames(const TovAudioContext& context, double t0,
                                               double t1) const
{
  const long long end = getSampleIndex(context, t1);
  return tovSaturatingDifference(end, getSampleIndex(context, t0));
}

double TovAudioProvider::getTimeOfSample(const TovAudioContext& context, long long sample) const
{
  const int rate = context.sampleRate;
  if (rate == 0)
    return 0.0;
  const double quotient = static_cast<double>(sample) / rate;
  if (rate < 1)
    return quotient;

  double time = quotient;
  long long index = getSampleIndex(context, time);
  if (index == sample)
    return time;

  const double step = (sample > index ? 0.5 : -0.5) / rate;
  do {
    if (time + step == time) // far out, where times are further apart than samples
      return quotient;
    time += step;
    index = getSampleIndex(context, time);
  } while (sample > index);
  return time;
}

long long TovAudioProvider::lastPosition(long long outFrames, float phase, double step)
{
  constexpr long long kManyFrames = 1 << 22;
  constexpr long long kDrift = 16;
  if (outFrames <= 0)
    return 0;
  const double last = std::ceil(phase + static_cast<double>(outFrames - 1) * step);
  constexpr double kFar = 1e15; // beyond every request, and still a whole number
  if (!(last < kFar))
    return static_cast<long long>(kFar);
  return static_cast<long long>(last) + (outFrames > kManyFrames ? kDrift : 0);
}

bool TovAudioProvider::hasNullBuffer(const TovNLPArray<float>& buffers)
{
  for (int i = 0; i < buffers.getCount(); ++i)
    if (!buffers[i])
      return true;
  return false;
}

// --- Notify callbacks -----------------------------------------------------

/** Holds providerLock for a change of the callback list, unless it was left
 *  held for good. */
class TovAudioProvider::CallbackListChange {
public:
  explicit CallbackListChange(const TovAudioProvider& p)
      : provider(p), hasProviderLock(!p.providerLockAbandoned)
  {
    if (hasProviderLock)
      provider.lockAcquire();
  }
  ~CallbackListChange()
  {
    if (hasProviderLock)
      provider.lockRelease();
  }
  CallbackListChange(const CallbackListChange&) = delete;
  CallbackListChange& operator=(const CallbackListChange&) = delete;

private:
  const TovAudioProvider& provider;
  const bool hasProviderLock;
};

void TovAudioProvider::addCallback(void (*function)(void*), void* data)
{
  const CallbackListChange change(*this);
  callbacks.add(function, data);
}

void TovAudioProvider::removeCallback(void (*function)(void*), void* data)
{
  const CallbackListChange change(*this);
  callbacks.removeEvery(function, data);
}

void TovAudioProvider::callNotifyCallbacks()
{
  TovCallbackList<void (*)(void*)>::Run run(callbacks);
  void (*function)(void*) = nullptr;
  void* data = nullptr;
  while (run.take(function, data))
    function(data);
}

// --- Sharing and locking --------------------------------------------------

int TovAudioProvider::reference()
{
  return ++refCount;
}

int TovAudioProvider::dereference()
{
  const int remaining = --refCount;
  if (remaining == 0)
    delete this;
  return remaining;
}

bool TovAudioProvider::isFedBy(const TovAudioProvider* provider) const
{
  return this == provider;
}

void TovAudioProvider::lockAcquire() const
{
  TovLock::acquire(providerLock);
}

int TovAudioProvider::lockAttempt() const
{
  return TovLock::attempt(providerLock);
}

void TovAudioProvider::lockRelease() const
{
  TovLock::release(providerLock);
}

void TovAudioProvider::LockedProvider::abandon()
{
  provider->providerLockAbandoned = true;
  provider = nullptr;
}

// --- Sample buffers -------------------------------------------------------

TovNLPArray<float>& TovAudioProvider::getSampleBuffers()
{
  return sampleBuffers;
}

long long TovAudioProvider::getSampleBufferFrames() const
{
  return sampleBufferFrames;
}

void TovAudioProvider::allocSampleBuffers(int numChannels, long long frames)
{
  constexpr long long kMostFrames = LLONG_MAX / static_cast<long long>(sizeof(float));
  if (frames > kMostFrames - kHeadRoomFrames)
    throw std::bad_alloc();

  const TovLockGuard guard(bufferLock);
  if (sampleBufferFrames < frames) {
    clearSampleBuffers();
    sampleBufferFrames = frames + kHeadRoomFrames;
  }
  while (sampleBuffers.getCount() < numChannels) {
    std::unique_ptr<float[]> block(new float[static_cast<std::size_t>(sampleBufferFrames)]);
    sampleBuffers.append(block.get());
    block.release();
    samplesHeld += sampleBufferFrames;
  }
}

void TovAudioProvider::clearSampleBuffers()
{
  for (int i = 0; i < sampleBuffers.getCount(); ++i)
    delete[] sampleBuffers[i];
  samplesHeld -= sampleBuffers.getCount() * sampleBufferFrames;
  sampleBuffers.clear();
  sampleBufferFrames = 0;
}

void TovAudioProvider::releaseSampleBuffersInExcess()
{
  constexpr long long kMostSamplesHeld = 1LL << 22;
  if (samplesHeld > kMostSamplesHeld) {
    const TovLockGuard guard(bufferLock);
    clearSampleBuffers();
  }
}

// --- Blob primitives ------------------------------------------------------

unsigned short TovAudioProvider::readUShort(unsigned char** cursor)
{
  return readBigEndian<unsigned short>(cursor);
}

unsigned int TovAudioProvider::readUInt(unsigned char** cursor)
{
  return readBigEndian<unsigned int>(cursor);
}

float TovAudioProvider::readFloat(unsigned char** cursor)
{
  return std::bit_cast<float>(readBigEndian<std::uint32_t>(cursor));
}

double TovAudioProvider::readDouble(unsigned char** cursor)
{
  return std::bit_cast<double>(readBigEndian<std::uint64_t>(cursor));
}

void TovAudioProvider::writeVal(unsigned char** cursor, unsigned short value)
{
  writeBigEndian(cursor, value);
}

void TovAudioProvider::writeVal(unsigned char** cursor, unsigned int value)
{
  writeBigEndian(cursor, value);
}

void TovAudioProvider::writeVal(unsigned char** cursor, float value)
{
  writeBigEndian(cursor, std::bit_cast<std::uint32_t>(value));
}

void TovAudioProvider::writeVal(unsigned char** cursor, double value)
{
  writeBigEndian(cursor, std::bit_cast<std::uint64_t>(value));
}

double TovSwab(double value)
{
  auto bytes = std::bit_cast<std::array<unsigned char, sizeof(double)>>(value);
  std::reverse(bytes.begin(), bytes.end());
  return std::bit_cast<double>(bytes);
}
