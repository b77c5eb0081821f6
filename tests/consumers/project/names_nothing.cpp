// Names neither a translator nor the mixer: what the library declares when it
// is loaded must be there all the same, also when it is linked statically.
#include <cstdio>
#include <cstdlib>

#include "core/TovGlobals.h"
#include "pcm/TovPcm.h"

int main()
{
  const float factor = TovPcm::dBToFactor(0.0f); // the library itself is used
  const int rate =
      TovGlobals::ref(TovName::getString("sys.quicktimeAudioRate"), kTovIdInteger, 1)->asInt();
  std::printf("factor %g, rate %d\n", static_cast<double>(factor), rate);
  return factor == 1.0f && rate == 44100 ? EXIT_SUCCESS : EXIT_FAILURE;
}
