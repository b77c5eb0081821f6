#pragma once

#include <deque>
#include <functional>
#include <vector>

namespace fuzz {

/** What a FIFO must do, without threads and without lists that are shared. */
class FifoModel {
public:
  struct Span {
    int rate = 0;
    double start = 0.0;
    double end = 0.0;
    bool loop = false;
  };

  enum class Answer { Sound, Silence, Failure };

  /** What a fill delivers: sample indices, or kSilence; and its status. */
  struct Filled {
    std::vector<long long> frames = {};
    int status = 0;
  };

  void add(const Span& span) { queued.push_back({span, span.start, false, false, kAlways}); }
  void flush(bool isFeeders) { queued.push_back({{}, 0.0, true, isFeeders, kAlways}); }
  void forgetQueued() { queued.clear(); }
  Filled fill(int frames);

  /** Lets the feeder run to its next pause; the pause.  @p stopped is called
   *  where the stop callback is due. */
  double turn(Answer answer, const std::function<void()>& stopped);

  bool hasStopCallback = true;

private:
  static constexpr long long kAlways = -1;
  static constexpr int kBlocks = 4;

  struct Command {
    Span span;
    double position;
    bool isFlush;
    bool isFeeders;       ///< queued on the feeder thread
    long long afterFlush; ///< only where so many flushes of others were carried out
  };

  struct Block {
    std::vector<long long> frames;
    std::size_t played;
    bool isLast;
    unsigned int epoch;
  };

  void answerStopRequest(const std::function<void()>& stopped);
  void takeQueued();
  bool hasFlush() const;
  void carryOutFlushes();
  double render(Answer answer);
  void play(Filled& filled, std::size_t frames);

  std::deque<Command> queued;
  std::deque<Command> pending;
  std::deque<Block> finished;
  std::deque<Block> ready;
  unsigned int epoch = 1;
  unsigned int stopRequest = 0; ///< an epoch, or 0
  bool isFlushPending = false;
  long long flushesOfOthers = 0;
};

} // namespace fuzz
