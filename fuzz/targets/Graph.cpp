#include "fuzz/GraphMachine.h"
#include "fuzz/Seeds.h"

// Providers in any arrangement, any settings, requests at any times.

namespace fuzz {

namespace {

void run(Input& input)
{
  constexpr int kMostSteps = 64; // keeps an input short in time
  GraphMachine machine(input);
  for (int left = kMostSteps; left > 0 && !input.isEmpty(); --left)
    machine.step();
}

} // namespace

extern const Target graphTarget;
const Target graphTarget = {
    "graph", run, graphSeeds,
    "graph/TovAudioMixer.cpp graph/TovAudioFile.cpp graph/TovAudioTrack.cpp "
    "graph/TovAudioResampler.cpp graph/TovAudioProvider.cpp",
    64LL << 20};

} // namespace fuzz
