#pragma once

/** One queued command of a TovAudioFIFO.  Owned by the thread that queues it
 *  until it is queued, then by the feeder thread. */
struct TovAudioFIFOCmd {
  enum Type : unsigned int {
    kSpan = 0, ///< play a span
    kFlush = 1 ///< drop everything before
  };

  TovAudioFIFOCmd* next = nullptr;
  unsigned int type = kSpan;
  double startTime = 0.0;      ///< seconds
  double endTime = 0.0;        ///< seconds; before startTime: backwards
  double curTime = 0.0;        ///< where the next block begins
  unsigned int sampleRate = 0; ///< frames per second
  bool loop = false;           ///< begins again at startTime
  bool complete = false;       ///< the block that reaches endTime has been made

  /** Of a flush: queued on the feeder thread, that is by the stop callback or
   *  behind it. */
  bool isFeeders = false;

  /** Of a flush behind a stop callback: the other threads' flushes that had
   *  been carried out when the callback was called. */
  long long flushesBefore = kEveryFlush;
  static constexpr long long kEveryFlush = -1; ///< carried out whatever came before
};
