#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include "core/TovExport.h"
#include "core/TovNLVArray.h"
#include "playback/TovAudioBlockLists.h"
#include "playback/TovAudioFIFOBlock.h"
#include "playback/TovAudioFIFOCmd.h"

class TovAudioContext;
class TovAudioProvider;
class TovThread;

/** Renders a provider ahead of the audio output.
 *
 *      addBlock, flush            the feeder thread             fillAudioBuffers
 *      (any thread)  -> cmdQueue -> asks the provider -> blocks -> (output callback)
 *
 *  Four blocks of 4096 frames are in circulation, see TovAudioBlockLists.
 *
 *  Threads: any thread, but fillAudioBuffers(), which is the output callback's
 *  and real-time safe, one call at a time.  The feeder thread holds the
 *  provider's locks while it renders, as getAudio() does.
 */
class TOV_API TovAudioFIFO {
public:
  /** Takes a reference to @p provider and starts the feeder thread, which runs
   *  when this returns.  Without a thread to be had: an error message, and
   *  nothing will ever be rendered; nor is it without a provider.  Allocates,
   *  blocks. */
  explicit TovAudioFIFO(TovAudioProvider* provider);

  /** Waits until the feeder thread has ended, which may have to finish a block
   *  or a stop callback first; not to be called by that callback.  Nobody may
   *  use the FIFO any more. */
  ~TovAudioFIFO();

  TovAudioFIFO(const TovAudioFIFO&) = delete;
  TovAudioFIFO& operator=(const TovAudioFIFO&) = delete;

  /** Queues the span from @p startTime to @p endTime, in seconds, behind what
   *  is queued; backwards where the end lies before the start; with @p loop
   *  again and again until a flush.  Of the context only the sample rate
   *  counts.  Times that are not finite, or so large that frames cannot be told
   *  apart, and rates below 1 end at once, looping or not, with a stop request.
   *  A span whose provider fails is tried again until it works or is flushed.
   *  Allocates. */
  void addBlock(const TovAudioContext& context, double startTime, double endTime, bool loop);

  /** Queues a flush: drops the commands before it, finished blocks at once and
   *  those that are being played at the next fillAudioBuffers().  Allocates. */
  void flush();

  /** @p function(data) is called on the feeder thread when the last block of a
   *  span that does not loop has been played; after it, what is queued is
   *  flushed, but for what stands behind a flush that another thread queued
   *  meanwhile.  An end that such a flush has overtaken is not told of.  Null:
   *  ends go unnoticed, nothing is flushed.  On return the old function is not
   *  running and not called again, unless this is called from inside it; so it
   *  blocks while it runs elsewhere. */
  void setStopRequestCallback(void (*function)(void*), void* data);

  /** Writes the next @p frames frames into both outputs: 0 when they were all
   *  there, 1 when the rest was filled with silence.  Without frames nothing is
   *  written and the result is 0, but flushes and finished blocks are taken
   *  note of all the same.  Output callback; real-time safe. */
  int fillAudioBuffers(const TovNLPArray<float>& outputs, int frames);

  // --- Commands ----------------------------------------------------------

  /** Hands a command made with `new` to the feeder thread. */
  void queueCmd(TovAudioFIFOCmd* cmd);

  /** Takes all queued commands, newest first; the caller owns them. */
  TovAudioFIFOCmd* claimCmds();

  /** Whether any command of the list is a flush. */
  static bool checkForFlush(const TovAudioFIFOCmd* list);
  static bool isIncompleteCmd(const TovAudioFIFOCmd* cmd);

  /** Deletes commands from the head, with @p stopAtFlush up to and including
   *  the first flush; @p list is then the first one left. */
  static void deallocateCmds(TovAudioFIFOCmd*& list, bool stopAtFlush);

  /** What the feeder thread runs, on the FIFO that @p fifo points to; nothing
   *  where that is null. */
  static void feederThreadFuncStatic(TovThread* thread, void* fifo);

private:
  static constexpr int kBlocks = 4;

  void feederThreadFunc();
  void answerStopRequest(TovAudioFIFOCmd*& pending);
  void appendClaimedCmds(TovAudioFIFOCmd*& pending);
  void carryOutFlushes(TovAudioFIFOCmd*& pending);
  bool isOvertaken(const TovAudioFIFOCmd& flush) const;
  void workOnHead(TovAudioFIFOCmd*& pending);
  void addAudioBlock(TovAudioFIFOCmd* cmd);
  int renderBlock(TovAudioFIFOBlock& block, const TovAudioContext& context, double t0, double t1);
  bool isFeederThread() const;

  std::array<TovAudioFIFOBlock, kBlocks> storage; ///< of the blocks in the lists
  TovAudioProvider* const provider;               ///< counted reference
  TovThread* feederThread;                        ///< null where none could be started
  std::thread::id feederThreadId;                 ///< immutable after construction
  std::atomic<bool> stopFlag;
  std::atomic<bool> isFeederRunning; ///< it holds feederLock
  unsigned int feederLock;           ///< held by the feeder thread for its whole life
  TovAudioBlockLists<> blocks;
  std::atomic<TovAudioFIFOCmd*> cmdQueue; ///< newest first

  std::recursive_mutex stopCallbackMutex; ///< held while the callback runs
  void (*stopCallback)(void*);            ///< protected by stopCallbackMutex
  void* stopCallbackData;                 ///< protected by stopCallbackMutex

  /** The flush behind the next stop callback, made beforehand so that the
   *  feeder cannot fail at it.  Feeder only. */
  std::unique_ptr<TovAudioFIFOCmd> stopFlush;
  long long flushesOfOthers; ///< carried out, queued by other threads than the feeder; Feeder only
};
