#pragma once

#include <mutex>
#include <vector>

#include "tests/playback/IndexedProvider.h"

namespace support {

/** What host threads have queued, in order, and whether what the output hears
 *  fits to it.  Every span has sample indices of its own, so that every sample
 *  tells to which span it belongs.  Any thread. */
class SpanLog {
public:
  static constexpr int kRate = 44100;
  static constexpr int kMostFrames = 1 << 17;

  /** Seconds within a frame, clear of its borders. */
  static double at(long long frame) { return (static_cast<double>(frame) + 0.5) / kRate; }

  /** One span that was queued: its first and last frame border. */
  struct Span {
    long long first;
    long long last;
    int era; ///< flushes before it
    bool loop;
  };

  void addFlush() { ++eras; }

  Span add(int frames, bool isBackward, bool isLoop)
  {
    const long long base = static_cast<long long>(spans.size()) * kMostFrames;
    const Span span = {isBackward ? base + frames : base, isBackward ? base : base + frames, eras,
                       isLoop};
    spans.push_back(span);
    return span;
  }

  /** Takes one frame that was heard.  With @p isStrict a span may be cut off by
   *  a flush only, and the next one is then the first behind a flush; without,
   *  frames may be left out, but none comes again or too early. */
  bool hear(long long index, bool isStrict)
  {
    const std::lock_guard<std::mutex> guard(mutex);
    const int number = static_cast<int>(index / kMostFrames);
    if (index < 0 || number >= static_cast<int>(spans.size()) || number < heardSpan)
      return false;
    const Span& span = spans[static_cast<std::size_t>(number)];
    const int step = span.first < span.last ? 1 : -1;
    const long long place = step > 0 ? index : index + 1; // the border it begins at
    if (number == heardSpan) {
      const bool isOver = next == span.last;
      const long long expected = isOver && span.loop ? span.first : next;
      const bool isNext = place == expected && !(isOver && !span.loop);
      const bool isLater = span.loop || (place - next) * step > 0;
      if (!isNext && (isStrict || !isLater))
        return false;
    } else if (isStrict && (place != span.first || !mayFollow(number))) {
      return false;
    }
    heardSpan = number;
    next = place + step;
    return true;
  }

  int lastHeard()
  {
    const std::lock_guard<std::mutex> guard(mutex);
    return heardSpan;
  }

  /** Whether the newest span has been heard to its end. */
  bool isOver()
  {
    const std::lock_guard<std::mutex> guard(mutex);
    return heardSpan + 1 == static_cast<int>(spans.size()) && next == spans.back().last;
  }

  /** Held while a span is added and queued, so that the log has the order of
   *  the queue. */
  std::mutex mutex = {};

private:
  bool mayFollow(int number) const
  {
    const auto span = [this](int n) { return spans[static_cast<std::size_t>(n)]; };
    if (number > 0 && span(number - 1).era != span(number).era)
      return true; // the first behind a flush cuts off everything before
    return number == heardSpan + 1 && (heardSpan < 0 || next == span(heardSpan).last) &&
           (heardSpan < 0 || !span(heardSpan).loop);
  }

  std::vector<Span> spans = {};
  int eras = 0;
  int heardSpan = -1;
  long long next = 0;
};

} // namespace support
