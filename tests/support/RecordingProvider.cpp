#include "tests/support/RecordingProvider.h"

#include <algorithm>

#include "tests/support/ProviderLocks.h"

namespace support {

void Recording::add(const Call& call)
{
  const std::lock_guard<std::mutex> guard(mutex);
  calls.push_back(call);
}

std::vector<Call> Recording::all() const
{
  const std::lock_guard<std::mutex> guard(mutex);
  return calls;
}

std::vector<Call> Recording::of(Operation operation) const
{
  std::vector<Call> matching;
  for (const Call& call : all()) {
    if (call.operation == operation)
      matching.push_back(call);
  }
  return matching;
}

int Recording::count(Operation operation) const
{
  return static_cast<int>(of(operation).size());
}

void Recording::clear()
{
  const std::lock_guard<std::mutex> guard(mutex);
  calls.clear();
}

void Recording::setDestroyed()
{
  const std::lock_guard<std::mutex> guard(mutex);
  destroyed = true;
}

bool Recording::isDestroyed() const
{
  const std::lock_guard<std::mutex> guard(mutex);
  return destroyed;
}

RecordingProvider::RecordingProvider()
    : record(std::make_shared<Recording>()), watched(nullptr), activateStatus(0),
      deactivateStatus(0), audioStatus(0), left(1.0f), right(1.0f)
{
}

RecordingProvider::RecordingProvider(const RecordingProvider& other)
    : TovAudioProvider(other), record(std::make_shared<Recording>()), audio(other.audio),
      watched(other.watched), activateStatus(other.activateStatus),
      deactivateStatus(other.deactivateStatus), audioStatus(other.audioStatus), left(other.left),
      right(other.right)
{
}

RecordingProvider::~RecordingProvider()
{
  record->setDestroyed();
}

void RecordingProvider::setLevels(float newLeft, float newRight)
{
  left = newLeft;
  right = newRight;
}

void RecordingProvider::setStatuses(int newActivateStatus, int newDeactivateStatus,
                                    int newAudioStatus)
{
  activateStatus = newActivateStatus;
  deactivateStatus = newDeactivateStatus;
  audioStatus = newAudioStatus;
}

Call RecordingProvider::callOf(Operation operation) const
{
  Call call;
  call.operation = operation;
  call.ownLockHeld = isLockHeld(*this);
  call.watchedLockHeld = watched && isLockHeld(*watched);
  return call;
}

TovAudioProvider* RecordingProvider::clone() const
{
  record->add(callOf(Operation::Clone));
  return new RecordingProvider(*this);
}

int RecordingProvider::activate(const TovAudioContext& context)
{
  Call call = callOf(Operation::Activate);
  call.context = context;
  record->add(call);
  return activateStatus;
}

int RecordingProvider::deactivate()
{
  record->add(callOf(Operation::Deactivate));
  return deactivateStatus;
}

int RecordingProvider::getAudio(const TovNLPArray<float>& buffers,
                                const TovNLArray<int>& channelMap, const TovAudioContext& context,
                                double t0, double t1)
{
  Call call = callOf(Operation::GetAudio);
  call.context = context;
  call.t0 = t0;
  call.t1 = t1;
  for (int i = 0; i < buffers.getCount(); ++i)
    call.buffers.push_back(buffers[i]);
  for (int i = 0; i < channelMap.getCount(); ++i)
    call.channelMap.push_back(channelMap[i]);
  record->add(call);

  const long long frames = std::max(0LL, getNumSampleFrames(context, t0, t1));
  if (audio)
    return audio(buffers, context, t0, t1, frames);
  for (int i = 0; i < buffers.getCount(); ++i)
    std::fill_n(buffers[i], frames, i == 0 ? left : i == 1 ? right : 0.0f);
  return audioStatus;
}

void RecordingProvider::addCallback(void (*function)(void*), void* data)
{
  Call call = callOf(Operation::AddCallback);
  call.function = function;
  call.data = data;
  record->add(call);
  TovAudioProvider::addCallback(function, data);
}

void RecordingProvider::removeCallback(void (*function)(void*), void* data)
{
  Call call = callOf(Operation::RemoveCallback);
  call.function = function;
  call.data = data;
  record->add(call);
  TovAudioProvider::removeCallback(function, data);
}

int RecordingProvider::serialize(void** out)
{
  record->add(callOf(Operation::Serialize));
  *out = nullptr;
  return 0;
}

int RecordingProvider::deserialize(const void*, bool)
{
  record->add(callOf(Operation::Deserialize));
  return -1;
}

} // namespace support
