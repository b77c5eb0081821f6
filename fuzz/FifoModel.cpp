#include "fuzz/FifoModel.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "tests/playback/IndexedProvider.h"
#include "tests/reference/FileSpan.h"

namespace fuzz {

namespace {

constexpr double kIdle = 0.01;
constexpr double kBlocked = 0.005;
constexpr double kWentOn = -1.0;
constexpr long long kBlockFrames = 4096;
constexpr long long kSilence = support::IndexedProvider::kSilence;

/** Between the ends of 64 bits. */
long long sum(long long a, long long b)
{
  long long result = 0;
  if (__builtin_add_overflow(a, b, &result))
    return a < 0 ? INT64_MIN : INT64_MAX;
  return result;
}

long long difference(long long a, long long b)
{
  long long result = 0;
  if (__builtin_sub_overflow(a, b, &result))
    return a < 0 ? INT64_MIN : INT64_MAX;
  return result;
}

} // namespace

// --- Output -----------------------------------------------------------------

void FifoModel::play(Filled& filled, std::size_t frames)
{
  if (std::exchange(isFlushPending, false))
    while (!ready.empty() && ready.front().epoch != epoch)
      ready.pop_front();
  while (!ready.empty() && filled.frames.size() < frames) {
    Block& block = ready.front();
    while (block.played < block.frames.size() && filled.frames.size() < frames)
      filled.frames.push_back(block.frames[block.played++]);
    if (block.played < block.frames.size())
      return;
    if (block.isLast)
      stopRequest = block.epoch;
    ready.pop_front();
  }
}

FifoModel::Filled FifoModel::fill(int frames)
{
  const std::size_t wanted = static_cast<std::size_t>(std::max(frames, 0));
  Filled filled;
  play(filled, wanted);
  if (ready.empty())
    ready.swap(finished);
  play(filled, wanted);
  filled.status = filled.frames.size() < wanted ? 1 : 0;
  filled.frames.resize(wanted, kSilence);
  return filled;
}

// --- Feeder -----------------------------------------------------------------

bool FifoModel::hasFlush() const
{
  return std::any_of(pending.begin(), pending.end(), [](const Command& c) { return c.isFlush; });
}

void FifoModel::takeQueued()
{
  pending.insert(pending.end(), queued.begin(), queued.end());
  queued.clear();
}

/** A request that a flush has overtaken is dropped. */
void FifoModel::answerStopRequest(const std::function<void()>& stopped)
{
  if (std::exchange(stopRequest, 0) != epoch)
    return;
  takeQueued();
  if (hasFlush() || !hasStopCallback)
    return;
  stopped();
  queued.push_back({{}, 0.0, true, true, flushesOfOthers});
}

void FifoModel::carryOutFlushes()
{
  while (hasFlush()) {
    const auto flush =
        std::find_if(pending.begin(), pending.end(), [](const Command& c) { return c.isFlush; });
    if (flush->afterFlush != kAlways && flush->afterFlush != flushesOfOthers) {
      pending.erase(flush);
      continue;
    }
    flushesOfOthers += flush->isFeeders ? 0 : 1;
    pending.erase(pending.begin(), flush + 1);
    finished.clear();
    ++epoch;
    isFlushPending = true;
  }
}

/** One block of the oldest command; the pause that it leads to. */
double FifoModel::render(Answer answer)
{
  Command& command = pending.front();
  Span& span = command.span;
  const auto index = [&](double time) { return reference::sampleIndex(span.rate, time); };
  const bool isPlayable = span.rate >= 1 && std::isfinite(span.start) && std::isfinite(span.end);
  span.loop = span.loop && isPlayable;
  if (span.loop && index(span.start) == index(span.end))
    return kIdle;
  if (finished.size() + ready.size() == kBlocks)
    return kBlocked;

  Block block{{}, 0, !span.loop, epoch};
  bool isDone = true;
  if (isPlayable) {
    const bool isBackward = span.start > span.end;
    const long long here = index(command.position);
    const long long end = index(span.end);
    const long long far = isBackward ? std::max(sum(here, -kBlockFrames), end)
                                     : std::min(sum(here, kBlockFrames), end);
    const double next = reference::timeOfSample(span.rate, far);
    const double from = isBackward ? next : command.position;
    const double to = isBackward ? reference::timeOfSample(span.rate, here) : next;
    const long long first = index(from);
    const long long asked = difference(index(to), first);
    // Where times are further apart than frames, more may come than a block
    // holds: there a span ends.
    const bool isTooCoarse = asked > kBlockFrames;
    const long long frames = isTooCoarse ? 0 : std::max(asked, 0LL);
    span.loop = span.loop && !isTooCoarse;
    if (!isTooCoarse && answer == Answer::Failure)
      return kBlocked;
    for (long long i = 0; i < frames; ++i)
      block.frames.push_back(answer == Answer::Silence ? kSilence : first + i);
    if (isBackward)
      std::reverse(block.frames.begin(), block.frames.end());
    isDone = isTooCoarse || next == command.position || index(next) == end;
    command.position = next;
  }
  block.isLast = isDone && !span.loop;
  finished.push_back(block);
  if (isDone && span.loop)
    command.position = span.start;
  else if (isDone)
    pending.pop_front();
  return pending.empty() ? kIdle : kWentOn;
}

double FifoModel::turn(Answer answer, const std::function<void()>& stopped)
{
  for (;;) {
    answerStopRequest(stopped);
    takeQueued();
    carryOutFlushes();
    const double pause = pending.empty() ? kIdle : render(answer);
    if (pause != kWentOn)
      return pause;
  }
}

} // namespace fuzz
