#include "tests/support/LoadWatcher.h"

#include <utility>

#include "graph/TovAudioMixer.h"
#include "tests/support/ProviderLocks.h"

namespace support {

LoadWatcher::LoadWatcher(TovAudioMixer& mixer) : source(mixer)
{
  source.reference();
  source.setDeserializeCallback(called, this);
  source.addCallback(notified, this);
}

LoadWatcher::~LoadWatcher()
{
  source.removeCallback(notified, this);
  source.setDeserializeCallback(nullptr, nullptr);
  source.dereference();
}

std::vector<std::string> LoadWatcher::take()
{
  return std::exchange(events, {});
}

std::vector<std::string> LoadWatcher::oneLoad(int tracks)
{
  const std::string count = std::to_string(tracks);
  return {"callback " + count, "notification " + count};
}

void LoadWatcher::called(void* self)
{
  static_cast<LoadWatcher*>(self)->record("callback");
}

void LoadWatcher::notified(void* self)
{
  static_cast<LoadWatcher*>(self)->record("notification");
}

void LoadWatcher::record(const char* event)
{
  const bool locked = isLockHeld(source);
  events.push_back(std::string(event) + (locked ? " locked" : "") + " " +
                   std::to_string(source.getNumTracksNoLock()));
}

} // namespace support
