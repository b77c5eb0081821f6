#pragma once

#include <algorithm>
#include <atomic>

#include "core/TovNLVArray.h"
#include "playback/TovAudioFIFOBlock.h"
#include "playback/TovHandOver.h"

/** The lists that a FIFO's blocks go round in, and what the two threads tell
 *  each other about flushes and ends:
 *
 *        getFreeBlock     the feeder     linkFinished
 *      .-------------->  fills a block  --------------.
 *      |                                              v
 *   freeList                                    finishedBlocks
 *      ^                                              |
 *      '------------------  readyBlocks  <------------'
 *       played or flushed                claimFinished
 *
 *  A flush has two halves.  The feeder raises its epoch, takes back what is
 *  finished and sets flushPending (1); the consumer, which may have claimed
 *  blocks a moment before, drops on its next call those of older epochs (2).
 *  A block made after the flush bears the new epoch, and stays.
 *
 *  A stop request is the epoch of the last block of a span, so that the feeder
 *  can tell one that a flush has overtaken.
 *
 *  Threads: "Feeder" operations are the feeder thread's, "Output" operations
 *  the output callback's; these are real-time safe.  The lists own no block.
 *  Atomic stands for std::atomic; tests put in one that they can step through.
 */
template <template <typename> class Atomic = std::atomic>
class TovAudioBlockLists {
public:
  // --- Feeder ------------------------------------------------------------

  /** A block to be filled, or null where all are in use. */
  TovAudioFIFOBlock* getFreeBlock()
  {
    TovAudioFIFOBlock* const block = hc_test_then_swap_ptr(freeList, nullptr);
    if (!block)
      return nullptr;
    for (TovAudioFIFOBlock* rest = block->next; rest;) {
      TovAudioFIFOBlock* const next = rest->next;
      hc_test_then_link_i32(freeList, rest);
      rest = next;
    }
    block->next = nullptr;
    return block;
  }

  void linkFinished(TovAudioFIFOBlock* block)
  {
    block->flushEpoch = epoch.load(std::memory_order_relaxed);
    hc_test_then_link_i32(finishedBlocks, block);
  }

  /** The feeder's half of a flush (1). */
  void flush()
  {
    const unsigned int raised = epoch.load(std::memory_order_relaxed) + 1;
    epoch.store(raised != kNoEpoch ? raised : raised + 1, std::memory_order_relaxed);
    freeBlocks(hc_test_then_swap_ptr(finishedBlocks, nullptr));
    flushPending.store(1, std::memory_order_release);
  }

  /** Whether a span has been played to its end since the last flush and the
   *  last time this was asked. */
  bool takeStopRequest()
  {
    return stopRequest.exchange(kNoEpoch, std::memory_order_acquire) ==
           epoch.load(std::memory_order_relaxed);
  }

  // --- Output ------------------------------------------------------------

  /** Plays ready blocks into the first two outputs, from frame @p first on up
   *  to @p frames; returns the frame behind the last one written. */
  int fillFromReadyBlocks(const TovNLPArray<float>& outputs, int frames, int first)
  {
    if (flushPending.exchange(0, std::memory_order_acquire))
      dropOlderBlocks();
    int position = first;
    while (readyBlocks && position < frames) {
      TovAudioFIFOBlock* const block = readyBlocks;
      const int count = std::min(block->frames - block->readPos, frames - position);
      play(*block, outputs, position, count);
      position += count;
      block->readPos += count;
      if (block->readPos == block->frames) {
        readyBlocks = block->next;
        if (block->lastOfCmd)
          stopRequest.store(block->flushEpoch, std::memory_order_release);
        freeBlock(block);
      }
    }
    return position;
  }

  bool isAnythingReady() const { return readyBlocks != nullptr; }

  /** Makes what is finished ready, oldest first; nothing may be ready before. */
  void claimFinished()
  {
    readyBlocks = tovOldestFirst(hc_test_then_swap_ptr(finishedBlocks, nullptr));
  }

  // --- Feeder and Output -------------------------------------------------

  void freeBlock(TovAudioFIFOBlock* block)
  {
    block->frames = 0;
    block->readPos = 0;
    hc_test_then_link_i32(freeList, block);
  }

  void freeBlocks(TovAudioFIFOBlock* list)
  {
    while (list) {
      TovAudioFIFOBlock* const next = list->next;
      freeBlock(list);
      list = next;
    }
  }

private:
  static constexpr unsigned int kNoEpoch = 0;

  /** The consumer's half of a flush (2).  Ready blocks are older than the
   *  epoch read here, or of it. */
  void dropOlderBlocks()
  {
    const unsigned int current = epoch.load(std::memory_order_relaxed);
    while (readyBlocks && readyBlocks->flushEpoch != current) {
      TovAudioFIFOBlock* const next = readyBlocks->next;
      freeBlock(readyBlocks);
      readyBlocks = next;
    }
  }

  static void play(const TovAudioFIFOBlock& block, const TovNLPArray<float>& outputs, int position,
                   int count)
  {
    copyOrSilence(block.left.data() + block.readPos, block.silent, outputs[0], position, count);
    copyOrSilence(block.right.data() + block.readPos, block.silent, outputs[1], position, count);
  }

  static void copyOrSilence(const float* samples, bool silent, float* output, int position,
                            int count)
  {
    if (!output)
      return;
    if (silent)
      std::fill_n(output + position, count, 0.0f);
    else
      std::copy_n(samples, count, output + position);
  }

  Atomic<TovAudioFIFOBlock*> freeList{nullptr};       ///< any order
  Atomic<TovAudioFIFOBlock*> finishedBlocks{nullptr}; ///< newest first
  TovAudioFIFOBlock* readyBlocks = nullptr;           ///< oldest first; Output only
  Atomic<unsigned int> epoch{1};                      ///< written by the feeder; never kNoEpoch
  Atomic<int> flushPending{0};                        ///< set by the feeder, cleared by the output
  Atomic<unsigned int> stopRequest{kNoEpoch};         ///< set by the output, cleared by the feeder
};
