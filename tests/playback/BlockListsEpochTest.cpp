// Flushes are counted, and the count begins anew some day: lists that are a few
// flushes away from it.

#include <atomic>
#include <climits>
#include <type_traits>

#include <gtest/gtest.h>

#include "playback/TovAudioBlockLists.h"
#include "tests/support/Buffers.h"

namespace {

/** An atomic that counts on from where @p kBegin says instead of from 1. */
template <unsigned int kBegin>
struct Late {
  template <typename T>
  class Atomic : public std::atomic<T> {
  public:
    constexpr Atomic(T value) : std::atomic<T>(later(value)) {}

  private:
    static constexpr T later(T value)
    {
      if constexpr (std::is_same_v<T, unsigned int>)
        return value == 1u ? kBegin : value;
      else
        return value;
    }
  };
};

template <template <typename> class Atomic>
class Playback {
public:
  Playback()
  {
    for (TovAudioFIFOBlock& block : storage)
      lists.freeBlock(&block);
  }

  /** Makes the last block of a span, of one frame. */
  void finish(float value)
  {
    TovAudioFIFOBlock* const block = lists.getFreeBlock();
    ASSERT_NE(nullptr, block);
    block->frames = 1;
    block->readPos = 0;
    block->silent = false;
    block->lastOfCmd = true;
    block->left[0] = value;
    block->right[0] = -value;
    lists.linkFinished(block);
  }

  /** What one frame of output is. */
  float play()
  {
    support::Buffers outputs(2, 1);
    lists.fillFromReadyBlocks(outputs.pointers(), 1, 0);
    return outputs.channel(0)[0];
  }

  TovAudioBlockLists<Atomic> lists;

private:
  TovAudioFIFOBlock storage[4];
};

template <template <typename> class Atomic>
void expectFlushesLikeAnyOther()
{
  Playback<Atomic> playback;
  for (int flush = 0; flush < 8; ++flush) {
    SCOPED_TRACE(flush);
    EXPECT_FALSE(playback.lists.takeStopRequest()) << "nothing has ended";
    playback.finish(1.0f);
    playback.lists.claimFinished();
    EXPECT_EQ(1.0f, playback.play());
    EXPECT_TRUE(playback.lists.takeStopRequest());
    EXPECT_FALSE(playback.lists.takeStopRequest()) << "taken already";

    playback.finish(2.0f);
    playback.lists.claimFinished();
    EXPECT_EQ(2.0f, playback.play());
    playback.finish(3.0f);
    playback.lists.claimFinished();
    playback.lists.flush();
    EXPECT_FALSE(playback.lists.takeStopRequest()) << "overtaken by the flush";
    playback.finish(4.0f);
    EXPECT_EQ(support::Buffers::kUntouched, playback.play()) << "made before the flush";
    playback.lists.claimFinished();
    EXPECT_EQ(4.0f, playback.play());
    EXPECT_TRUE(playback.lists.takeStopRequest());
  }
}

TEST(BlockListsEpochTest, FlushesStayWhatTheyAreWhenTheirCountBeginsAnew)
{
  expectFlushesLikeAnyOther<std::atomic>();
  expectFlushesLikeAnyOther<Late<UINT_MAX - 3>::Atomic>();
  expectFlushesLikeAnyOther<Late<UINT_MAX - 2>::Atomic>();
}

} // namespace
