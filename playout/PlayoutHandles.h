#pragma once

#include <utility>

#include "playout/PlayoutEngine.h"
#include "playout/PlayoutMixer.h"

/** What the handles of PlayoutEngine.h point to: all parts of one object. */
struct PeTrackObject {};

struct PeTransportObject {
  PlayoutMixer& mixer;
};

struct PeModuleObject {
  PlayoutMixer& mixer;
  PeParameter volume;
};

struct PeParameterObject {
  PlayoutMixer& mixer;
};

struct PeMixerObject {
  explicit PeMixerObject(DeviceMakers makers = {},
                         const PlayoutClock& clock = PlayoutClock::steady())
      : mixer(std::move(makers), clock)
  {
  }

  PlayoutMixer mixer;
  PeTrackObject track{};
  PeTransportObject transport{mixer};
  PeParameterObject volume{mixer};
  PeModuleObject overallLevel{mixer, &volume};
};

struct PeAudioSupplierObject {
  PeAudioSupplierProc function;
  PeAudioSupplierObject* next;
};
