#include "app/TimelineGrid.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

/** Half a frame of the sound later, so that the first one of a frame, which
 *  lies up to half of one before it, belongs to it. */
long long TimelineGrid::frameAt(long long soundFrame) const
{
  constexpr double kRounding = 1e-9;
  const double frames = (static_cast<double>(soundFrame) + 0.5) * framesPerSecond / rate;
  return static_cast<long long>(std::floor(frames + kRounding));
}

/** The nearest one, and of two as near the first. */
long long TimelineGrid::soundFrameOf(long long frame) const
{
  constexpr double kRounding = 1e-6;
  const double nearest = static_cast<double>(frame) * rate / framesPerSecond - 0.5;
  return static_cast<long long>(std::ceil(nearest - kRounding));
}

std::string TimelineGrid::timecodeAt(long long soundFrame) const
{
  const long long frame = frameAt(soundFrame);
  const long long perSecond = std::max(1LL, std::llround(framesPerSecond));
  const long long count = frame < 0 ? -frame : frame;
  const long long seconds = count / perSecond;
  char text[80];
  (void)std::snprintf(text, sizeof text, "%s%02lld:%02lld:%02lld:%02lld", frame < 0 ? "-" : "",
                      seconds / 3600, seconds / 60 % 60, seconds % 60, count % perSecond);
  return text;
}
