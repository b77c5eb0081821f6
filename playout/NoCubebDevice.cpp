#include "playout/PlayoutDevice.h"

std::unique_ptr<PlayoutDevice> makeCubebDevice()
{
  return nullptr;
}
