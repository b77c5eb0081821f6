#include "app/PlayHead.h"

#include <algorithm>
#include <cmath>

// Shorter loops go round faster than blocks of them are rendered.
static constexpr double kShortestLoopSeconds = 0.1;

static constexpr double kPieceSeconds = 0.2;

PlayHead::PlayHead(FrameSpan whole, const TimelineGrid& timeline, bool isBackwards)
    : range(whole), grid(timeline), position(isBackwards ? whole.to : whole.from),
      backwards(isBackwards)
{
}

long long PlayHead::remaining() const
{
  const long long left = backwards ? position - bounds().from : bounds().to - position;
  return std::max(left, 0LL);
}

void PlayHead::moveTo(long long frame)
{
  position = std::clamp(frame, range.from, range.to);
}

void PlayHead::moveBySeconds(double seconds)
{
  moveTo(position + std::llround(seconds * grid.rate));
}

void PlayHead::stepBy(int timelineFrames)
{
  moveTo(grid.soundFrameOf(grid.frameAt(position) + timelineFrames));
}

void PlayHead::face(bool isBackwards)
{
  backwards = isBackwards;
  speed = 1;
}

void PlayHead::shuttle(bool isBackwards)
{
  speed = backwards == isBackwards ? std::min(2 * speed, kHighestSpeed) : 1;
  backwards = isBackwards;
}

bool PlayHead::setLoop(FrameSpan span)
{
  if (static_cast<double>(span.length()) < kShortestLoopSeconds * grid.rate) {
    return false;
  }
  loop = span;
  return true;
}

bool PlayHead::beginLoopHere()
{
  return setLoop({position, bounds().to}) || setLoop({position, range.to});
}

bool PlayHead::endLoopHere()
{
  return setLoop({bounds().from, position}) || setLoop({range.from, position});
}

PlaySegment PlayHead::segment() const
{
  const FrameSpan to = bounds();
  const long long end = backwards ? to.from : to.to;
  long long start = position;
  if (loop && (backwards ? start <= end : start >= end)) {
    start = backwards ? to.to : to.from;
  }
  if (speed > 1) {
    const long long piece = std::llround(kPieceSeconds * grid.rate);
    return {start, backwards ? std::max(start - piece, end) : std::min(start + piece, end), false};
  }
  return {start, end, loop && start == (backwards ? to.to : to.from)};
}

PlaySegment PlayHead::frameSegment(bool isBackwards) const
{
  const long long behind = grid.soundFrameOf(grid.frameAt(position) + 1);
  const long long end = std::clamp(behind, position, range.to);
  return isBackwards ? PlaySegment{end, position, false} : PlaySegment{position, end, false};
}

void PlayHead::arriveBehind(const PlaySegment& segment)
{
  const FrameSpan to = bounds();
  const long long way = speed * (segment.end - segment.start);
  // Playing may have begun before the loop.
  const long long first = std::min({to.from, segment.start, segment.end});
  const long long last = std::max({to.to, segment.start, segment.end});
  moveTo(std::clamp(segment.start + way, first, last));
}
