#include "io/TovAudioIOObject.h"

#include <climits>
#include <new>

#include "core/TovLockGuard.h"

TovAudioIOObject::TovAudioIOObject() : buffer(nullptr), bufferSize(0), lock(0) {}

TovAudioIOObject::~TovAudioIOObject()
{
  delete[] buffer;
}

void TovAudioIOObject::allocBuffer(long long size)
{
  constexpr long long kSpare = 16;
  constexpr long long kSmallest = 1024;

  if (size > LLONG_MAX - kSpare)
    throw std::bad_alloc();

  const TovLockGuard guard(lock);
  // A fresh object gets its smallest buffer even when asked for none.
  if (buffer && bufferSize >= size)
    return;

  const long long capacity = size + kSpare <= kSmallest ? kSmallest : size + kSpare;
  unsigned char* const fresh = new unsigned char[static_cast<unsigned long>(capacity)];
  delete[] buffer;
  buffer = fresh;
  bufferSize = capacity;
}

long long TovAudioIOObject::framesPerPass(const TovAudioIOFormat& format)
{
  const long long channels = format.channels;
  const long long group = 12 * channels;
  if (bufferSize < group)
    allocBuffer(group);
  return bufferSize / group * group / format.bytesPerSample / channels;
}
