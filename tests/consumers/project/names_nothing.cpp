// Names neither a translator nor the mixer nor a player: what the library declares when it
// is loaded must be there all the same, also when it is linked statically.
#include <cstdio>
#include <cstdlib>

#include "core/TovGlobals.h"
#include "pcm/TovPcm.h"

static int setting(const char* name)
{
  return TovGlobals::ref(TovName::getString(name), kTovIdInteger, 1)->asInt();
}

int main()
{
  const float factor = TovPcm::dBToFactor(0.0f); // the library itself is used
  const int rate = setting("sys.quicktimeAudioRate");
  const int quality = setting("sys.defaultAudioPlaybackQuality");
  std::printf("factor %g, rate %d, quality %d\n", static_cast<double>(factor), rate, quality);
  return factor == 1.0f && rate == 44100 && quality == 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}
