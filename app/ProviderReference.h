#pragma once

#include <memory>

#include "graph/TovAudioProvider.h"

struct DropReference {
  void operator()(TovAudioProvider* provider) const { provider->dereference(); }
};

/** Holds the creator's reference to a provider. */
template <typename Provider>
using ProviderReference = std::unique_ptr<Provider, DropReference>;
