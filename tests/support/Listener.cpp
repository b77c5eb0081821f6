#include "tests/support/Listener.h"

#include "graph/TovAudioProvider.h"
#include "tests/support/ProviderLocks.h"

namespace support {

Listener::Listener(TovAudioProvider& provider) : source(provider), count(0), sawLockHeld(false)
{
  source.reference();
  source.addCallback(notified, this);
}

Listener::~Listener()
{
  source.removeCallback(notified, this);
  source.dereference();
}

void Listener::notified(void* self)
{
  Listener* const listener = static_cast<Listener*>(self);
  ++listener->count;
  if (isLockHeld(listener->source))
    listener->sawLockHeld = true;
}

} // namespace support
