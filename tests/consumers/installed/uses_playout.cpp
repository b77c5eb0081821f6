// Uses the playout engine by itself.
#include <tov/playout/PlayoutEngine.h>

int main()
{
  PeMixer mixer = nullptr;
  return PeMixerCreate(1, &mixer) == 0 && PeMixerDestroy(mixer) == 0 ? 0 : 1;
}
