#pragma once

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "playback/TovAudioFIFO.h"
#include "tests/playback/IndexedProvider.h"
#include "tests/playback/SteppedHost.h"
#include "tests/support/Buffers.h"
#include "tests/support/Owned.h"

namespace support {

/** A FIFO over indexed samples whose feeder thread is stepped.  The rate is a
 *  power of two, so that every frame has an exact time. */
class FifoTest : public testing::Test {
public:
  static constexpr int kRate = 32768;
  static constexpr int kBlock = 4096;

  /** Seconds until frame @p index. */
  static double at(double index) { return index / kRate; }

protected:
  FifoTest() : fifo(std::make_unique<TovAudioFIFO>(provider.get())) { SteppedHost::settle(); }

  /** Queues a span that is given in frames. */
  void span(double first, double last, bool loop = false, int rate = kRate)
  {
    fifo->addBlock(TovAudioContext(rate, 3, 25.0, 7.0), at(first), at(last), loop);
  }

  /** One call of the output: the indices that came, which fill() checks to be
   *  followed by zeros; nothing may be written outside. */
  std::vector<long long> fill(int frames)
  {
    Buffers outputs(2, frames);
    status = fifo->fillAudioBuffers(outputs.pointers(), frames);
    EXPECT_TRUE(outputs.guardsIntact());
    std::vector<long long> indices;
    bool isOver = false;
    for (int i = 0; i < frames; ++i) {
      const long long index =
          IndexedProvider::index(outputs.channel(0)[i], outputs.channel(1)[i]);
      EXPECT_NE(IndexedProvider::kStranger, index) << "frame " << i;
      isOver = isOver || index == IndexedProvider::kSilence;
      EXPECT_TRUE(!isOver || index == IndexedProvider::kSilence) << "sound behind silence";
      if (!isOver)
        indices.push_back(index);
    }
    EXPECT_EQ(isOver ? 1 : 0, status);
    return indices;
  }

  /** One call of the output, whatever it gives. */
  void skip(int frames)
  {
    Buffers outputs(2, frames);
    status = fifo->fillAudioBuffers(outputs.pointers(), frames);
  }

  /** The frames from @p first up to, but without @p last; counting down where
   *  that lies before. */
  static std::vector<long long> frames(long long first, long long last)
  {
    std::vector<long long> indices;
    for (long long i = first; i < last; ++i)
      indices.push_back(i);
    for (long long i = first; i > last; --i)
      indices.push_back(i - 1);
    return indices;
  }

  static std::vector<long long> joined(std::vector<long long> a, const std::vector<long long>& b)
  {
    a.insert(a.end(), b.begin(), b.end());
    return a;
  }

  /** Everything that can be had by stepping and filling until nothing comes
   *  three times in a row. */
  std::vector<long long> playAll(int frames = kBlock)
  {
    std::vector<long long> all;
    for (int idle = 0; idle < 3;) {
      SteppedHost::step();
      const std::vector<long long> got = fill(frames);
      idle = got.empty() ? idle + 1 : 0;
      all.insert(all.end(), got.begin(), got.end());
    }
    return all;
  }

  /** Counts the calls of the stop callback. */
  void countStops()
  {
    fifo->setStopRequestCallback([](void* data) { ++*static_cast<int*>(data); }, &stops);
  }

  Owned<IndexedProvider> provider = make<IndexedProvider>();
  std::unique_ptr<TovAudioFIFO> fifo;
  int status = -1; ///< of the last fill
  int stops = 0;
};

} // namespace support
