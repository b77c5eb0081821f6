#include "tests/soundserver/Waiting.h"

#include <chrono>
#include <thread>

bool holdsSoon(const std::function<bool()>& condition)
{
  using namespace std::chrono;
  const auto end = steady_clock::now() + seconds(30);
  while (!condition()) {
    if (steady_clock::now() > end)
      return false;
    std::this_thread::sleep_for(milliseconds(5));
  }
  return true;
}
