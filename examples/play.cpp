// Plays sound files together through the computer's audio output, to the end
// of the longest.  PLAYOUT_DEVICE=null plays in silence, against the clock.
#include <algorithm>
#include <atomic>
#include <cstdio>

#include "core/TovSys.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "playback/TovAudioPlayer.h"
#include "playback/TovAudioPlayerFactory.h"

// Set on the feeder thread, which must not wait for anything.
static std::atomic<bool> isRenderedWhole = false;

int main(int argc, char** argv)
{
  TovAudioMixer* const mixer = TovAudioMixer::getMasterMixer(); // what the player plays
  double end = 0.0;
  for (int i = 1; i < argc; ++i) {
    TovAudioFile* const file = new TovAudioFile;
    file->initialize(argv[i]);
    mixer->addProvider(file);
    mixer->setStartTime(file, 0.0);
    mixer->setEndTime(file, file->getSrcOut());
    end = std::max(end, file->getSrcOut());
    file->dereference();
  }

  TovAudioPlayer* const player = TovAudioPlayerFactory::getAudioPlayer();
  player->setVolume(0.8f);
  player->setStopRequestCallback([](void*) { isRenderedWhole = true; }, nullptr);
  if (player->play(0.0, end, false) != 0 || !player->isPlaying()) {
    std::fprintf(stderr, "there is no audio output\n");
    return 1;
  }
  // A host would look at these from its timer.
  double position = 0.0;
  while (!isRenderedWhole || position < end) {
    TovSys::sleep(0.01);
    if (player->getCurrentTime(&position) != 0) {
      std::fprintf(stderr, "the audio output went away\n");
      return 1;
    }
  }
  player->stop();
  std::printf("played %.2f s of %d tracks\n", end, mixer->getNumTracks());
  mixer->clear();
  mixer->dereference();
  return 0;
}
