#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "playback/TovAudioBlockLists.h"
#include "tests/playback/Interleaving.h"

namespace support {

/** What the feeder does, one after the other. */
enum class FeederStep {
  Block,    ///< makes a block, where one is free
  Last,     ///< the same, the last one of a span
  Flush,    ///< its half of a flush
  TakeStop, ///< asks for a stop request
};

/** What both threads of a FIFO do with its lists. */
struct ListsProgram {
  std::vector<FeederStep> feeder;
  std::vector<int> fills; ///< frames of each fill
  int blockFrames = 2;
  std::size_t blocks = 4; ///< in circulation, at most 4
};

/** One run of both programs over TovAudioBlockLists, judged against a model:
 *  every frame bears a number, counted on from block to block.
 *
 *  - Frames come in rising order, each once: none doubled, none reordered.
 *  - While no flush has begun, blocks are played without a gap, and in the end
 *    all that were made since the last flush.
 *  - After a flush has returned, a fill that begins plays nothing older.
 *  - A stop request is taken exactly when the last block of a span has been
 *    played and no flush came between.
 *  - In the end all blocks are free.
 */
template <template <typename> class Atomic>
class BlockListsRun {
public:
  explicit BlockListsRun(const ListsProgram& p) : program(p)
  {
    std::memset(memory, 0, sizeof memory);
    lists = new (memory) Lists;
    for (std::size_t i = 0; i < blocks().size(); ++i) {
      TovAudioFIFOBlock& block = blocks()[i];
      block.next = nullptr;
      block.frames = 0;
      block.readPos = 0;
      block.flushEpoch = 0;
      block.lastOfCmd = false;
      if (i < program.blocks)
        lists->freeBlock(&block);
    }
  }

  ~BlockListsRun() { lists->~Lists(); }
  BlockListsRun(const BlockListsRun&) = delete;
  BlockListsRun& operator=(const BlockListsRun&) = delete;

  /** Runs, and returns what was wrong; nothing where all was right. */
  std::string verdict(const Interleaving::Choice& choice)
  {
    try {
      Interleaving::run([this] { feed(); }, [this] { consume(); }, choice);
      drain();
    } catch (const std::exception& failure) {
      complain(failure.what());
    }
    return wrong;
  }

  std::uint64_t state() const
  {
    std::uint64_t hash = 0;
    const auto add = [&hash](auto value) {
      hash = Interleaving::mixed(hash, static_cast<std::uint64_t>(value));
    };
    for (std::size_t i = 0; i < sizeof memory; i += sizeof(std::uint64_t)) {
      std::uint64_t word = 0;
      std::memcpy(&word, memory + i, sizeof word);
      add(word);
    }
    for (const TovAudioFIFOBlock& block : blocks()) {
      add(block.next ? block.next - blocks().data() + 1 : 0);
      add(block.frames);
      add(block.readPos);
      if (block.frames > 0 || program.blockFrames == 0) { // else it is free
        add(block.flushEpoch);
        add(block.lastOfCmd);
      }
    }
    add(flushesDone);
    add(flushesAtFill);
    add(lastPlayed);
    add(stopEra);
    add(stopsEra);
    add(made.size());
    for (const Made& block : made)
      add(block.played * 4 + block.isReported * 2 + block.isComplete);
    return hash;
  }

private:
  /** A block as the model sees it. */
  struct Made {
    int first;
    int frames;
    int era; ///< flushes before it
    bool isLast;
    int played = 0;
    bool isComplete = false; ///< and the fill that did it has returned
    bool isReported = false;
  };

  /** The same addresses in every run, so that its states can be compared. */
  static std::array<TovAudioFIFOBlock, 4>& blocks()
  {
    static std::array<TovAudioFIFOBlock, 4> storage;
    return storage;
  }

  void complain(const std::string& what)
  {
    if (wrong.empty())
      wrong = what;
  }

  // --- Feeder ----------------------------------------------------------------

  void feed()
  {
    std::uint64_t place = 0;
    for (const FeederStep step : program.feeder) {
      place += 100;
      Interleaving::forget(place);
      switch (step) {
      case FeederStep::Block:
        make(false);
        break;
      case FeederStep::Last:
        make(true);
        break;
      case FeederStep::Flush:
        ++era;
        lists->flush();
        ++flushesDone;
        break;
      case FeederStep::TakeStop:
        takeStop();
        break;
      }
    }
  }

  void make(bool isLast)
  {
    TovAudioFIFOBlock* const block = lists->getFreeBlock();
    if (!block)
      return;
    if (block->frames != 0 || block->readPos != 0)
      complain("a free block is in use");
    block->frames = program.blockFrames;
    block->readPos = 0;
    block->silent = false;
    block->lastOfCmd = isLast;
    for (std::size_t i = 0; i < static_cast<std::size_t>(program.blockFrames); ++i) {
      block->left[i] = static_cast<float>(nextFrame) + static_cast<float>(i);
      block->right[i] = -block->left[i];
    }
    made.push_back({nextFrame, program.blockFrames, era, isLast});
    nextFrame += program.blockFrames;
    Interleaving::forget(1000000 + 10 * made.size() +
                         static_cast<std::uint64_t>(block - blocks().data()));
    lists->linkFinished(block);
  }

  void takeStop()
  {
    const bool wasComplete = std::any_of(made.begin(), made.end(), [this](const Made& block) {
      return block.isLast && block.isComplete && !block.isReported && block.era == era;
    });
    const bool isTaken = lists->takeStopRequest();
    if (wasComplete && !isTaken)
      complain("a stop request was lost");
    if (!isTaken)
      return;
    noteOutput();
    int ends = 0;
    for (Made& block : made) {
      if (block.isLast && block.played == block.frames && block.era == era) {
        block.isReported = true;
        ++ends;
      }
    }
    stopsEra = std::exchange(stopEra, era) == era ? stopsEra + 1 : 1;
    if (stopsEra > ends)
      complain("a stop request without an end");
  }

  // --- Consumer ---------------------------------------------------------------

  void consume()
  {
    fillPlace = 0;
    for (const int frames : program.fills)
      fill(frames);
  }

  void fill(int frames)
  {
    left.assign(static_cast<std::size_t>(frames), 0.0f);
    right = left;
    noted = 0;
    flushesAtFill = flushesDone;
    TovNLPArray<float> outputs;
    outputs.append(left.data());
    outputs.append(right.data());
    fillPlace += 100;
    Interleaving::forget(fillPlace);
    int position = lists->fillFromReadyBlocks(outputs, frames, 0);
    if (!lists->isAnythingReady())
      lists->claimFinished();
    Interleaving::forget(fillPlace + 1 + static_cast<std::uint64_t>(position));
    if (position < frames)
      position = lists->fillFromReadyBlocks(outputs, frames, position);
    noteOutput();
    if (static_cast<int>(noted) != position)
      complain("not as many frames as were said");
    for (Made& block : made)
      block.isComplete = block.played == block.frames;
  }

  /** Takes down what the present fill has written so far. */
  void noteOutput()
  {
    for (; noted < left.size() && left[noted] != 0.0f; ++noted) {
      const int frame = static_cast<int>(left[noted]);
      if (right[noted] != -left[noted])
        complain("left and right do not belong together");
      if (frame <= lastPlayed)
        complain("a frame came again or too late");
      lastPlayed = frame;
      const auto block = std::find_if(made.begin(), made.end(), [frame](const Made& candidate) {
        return frame >= candidate.first && frame < candidate.first + candidate.frames;
      });
      if (block == made.end()) {
        complain("a frame that nobody made");
        return;
      }
      if (block->era < flushesAtFill)
        complain("a frame from before a flush");
      if (frame != block->first + block->played)
        complain("a frame was left out inside a block");
      // A flush that has begun may have taken the ones before already.
      for (auto before = made.begin(); before != block; ++before) {
        if (block->era == era && before->era == era && before->played < before->frames)
          complain("a block before was lost");
      }
      ++block->played;
    }
  }

  // --- Afterwards ---------------------------------------------------------------

  void drain()
  {
    for (int i = 0; i < 8; ++i)
      fill(5);
    takeStop();
    for (const Made& block : made) {
      if (block.era == era && block.played < block.frames)
        complain("a block was lost");
      if (block.era == era && block.isLast && !block.isReported)
        complain("a stop request was lost");
    }
    std::set<TovAudioFIFOBlock*> free;
    for (int i = 0; i < 6; ++i) {
      TovAudioFIFOBlock* const block = lists->getFreeBlock();
      if (block && !free.insert(block).second)
        complain("a block is free twice");
    }
    if (free.size() != program.blocks)
      complain("a free block was lost");
  }

  using Lists = TovAudioBlockLists<Atomic>;
  static_assert(sizeof(Lists) % sizeof(std::uint64_t) == 0);

  /** The lists stand where they can be looked at byte by byte. */
  alignas(Lists) static inline unsigned char memory[sizeof(Lists)];

  const ListsProgram& program;
  Lists* lists;
  std::string wrong = {};

  // The model.
  std::vector<Made> made = {};
  std::uint64_t fillPlace = 0;
  int nextFrame = 1;
  int era = 0;           ///< flushes begun
  int flushesDone = 0;   ///< flushes that have returned
  int flushesAtFill = 0; ///< the same, when the present fill began
  int stopEra = -1;      ///< flushes begun when the last stop request was taken
  int stopsEra = 0;      ///< stop requests taken since that flush
  int lastPlayed = 0;
  std::vector<float> left = {};
  std::vector<float> right = {};
  std::size_t noted = 0; ///< frames of the present fill that were taken down
};

} // namespace support
