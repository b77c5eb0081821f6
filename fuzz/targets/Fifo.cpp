#include "fuzz/FifoMachine.h"
#include "fuzz/Seeds.h"

// The FIFO on a feeder thread that is stepped, against a model.

namespace fuzz {

namespace {

void run(Input& input)
{
  constexpr int kMostSteps = 100; // keeps an input short in time
  FifoMachine machine(input);
  for (int left = kMostSteps; left > 0 && !input.isEmpty(); --left)
    machine.step();
}

} // namespace

extern const Target fifoTarget;
const Target fifoTarget = {"fifo", run, fifoSeeds,
                           "playback/TovAudioFIFO.cpp playback/TovAudioBlockPlan.cpp "
                           "playback/TovAudioBlockLists.h playback/TovHandOver.h"};

} // namespace fuzz
