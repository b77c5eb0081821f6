// A FIFO with its real feeder thread, an output thread and host threads, while
// every sample carries its index.

#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "playback/TovAudioFIFO.h"
#include "tests/core/ChildProcess.h"
#include "tests/playback/IndexedProvider.h"
#include "tests/playback/threads/SpanLog.h"
#include "tests/support/Owned.h"

namespace {

using support::IndexedProvider;
using support::Owned;
using support::SpanLog;

bool isLongRun()
{
  return std::getenv("TOV_TEST_LONG") != nullptr;
}

class FifoThreadsTest : public testing::Test {
protected:
  FifoThreadsTest()
  {
    provider->keepRequests(false);
    fifo = std::make_unique<TovAudioFIFO>(provider.get());
  }
  ~FifoThreadsTest() override { stopOutput(); }

  /** Pulls again and again, as fast as it can be had. */
  void startOutput(bool isStrict)
  {
    output = std::thread([this, isStrict] {
      std::mt19937 random(99);
      std::vector<float> left(6000);
      std::vector<float> right(6000);
      TovNLPArray<float> outputs;
      outputs.append(left.data());
      outputs.append(right.data());
      while (!isOver) {
        const int frames = static_cast<int>(random() % 6000);
        const int status = fifo->fillAudioBuffers(outputs, frames);
        bool isSilent = false;
        for (std::size_t i = 0; i < static_cast<std::size_t>(frames); ++i) {
          const long long index = IndexedProvider::index(left[i], right[i]);
          if (index == IndexedProvider::kSilence) {
            isSilent = true;
            continue;
          }
          ++heard;
          if (isSilent || !log.hear(index, isStrict))
            ++wrong;
        }
        if (isSilent != (status == 1))
          ++wrong;
        ++fills;
        std::this_thread::yield();
      }
    });
  }

  void stopOutput()
  {
    isOver = true;
    if (output.joinable())
      output.join();
  }

  /** Queues under the log's lock. */
  void flush()
  {
    const std::lock_guard<std::mutex> guard(log.mutex);
    log.addFlush();
    fifo->flush();
  }
  void span(int frames, bool isBackward, bool isLoop)
  {
    const std::lock_guard<std::mutex> guard(log.mutex);
    const SpanLog::Span added = log.add(frames, isBackward, isLoop);
    fifo->addBlock(TovAudioContext(SpanLog::kRate, 1, 0.0, 0.0), SpanLog::at(added.first),
                   SpanLog::at(added.last), isLoop);
    ++spans;
  }

  /** Waits until something is so; false where the output heard wrong. */
  bool wait(const std::function<bool()>& condition)
  {
    while (!condition()) {
      if (wrong > 0)
        return false;
      std::this_thread::yield();
    }
    return true;
  }

  Owned<IndexedProvider> provider = support::make<IndexedProvider>();
  std::unique_ptr<TovAudioFIFO> fifo;
  SpanLog log;
  std::atomic<int> spans{0};
  std::atomic<bool> isOver{false};
  std::atomic<long long> heard{0};
  std::atomic<long long> fills{0};
  std::atomic<long long> wrong{0};
  std::thread output;
};

TEST_F(FifoThreadsTest, NoFrameIsLostDoubledOrReorderedOutsideAFlush)
{
  std::mt19937 random(4711);
  startOutput(true);
  const int rounds = isLongRun() ? 5000 : 120;
  for (int i = 0; i < rounds && wrong == 0; ++i) {
    bool mayGoOn = true;
    for (unsigned long count = 1 + random() % 3; count > 0; --count) {
      const bool isLoop = count == 1 && random() % 3 == 0;
      span(static_cast<int>(1 + random() % 20000), random() % 2, isLoop);
      mayGoOn = !isLoop;
    }
    // Go on where the newest span has begun, or is over.
    const int newest = spans - 1;
    const bool isPatient = mayGoOn && random() % 2;
    wait([&] { return isPatient ? log.isOver() : log.lastHeard() >= newest; });
    if (!mayGoOn || random() % 2)
      flush();
  }
  flush();
  span(50000, false, false);
  span(30000, true, false);
  EXPECT_TRUE(wait([&] { return log.isOver(); }));
  stopOutput();
  EXPECT_EQ(0, wrong);
  EXPECT_LT(80000, heard);
}

TEST_F(FifoThreadsTest, HostThreadsMayQueueAndFlushAtOnce)
{
  startOutput(false);
  const int rounds = isLongRun() ? 20000 : 400;
  std::vector<std::thread> hosts;
  for (unsigned int seed = 1; seed <= 3; ++seed) {
    hosts.emplace_back([this, rounds, seed] {
      std::mt19937 random(seed);
      for (int i = 0; i < rounds; ++i) {
        if (random() % 4 == 0)
          flush();
        span(static_cast<int>(1 + random() % 9000), random() % 2, random() % 8 == 0);
        const long long seen = fills;
        wait([&] { return fills > seen + 2; });
      }
    });
  }
  for (std::thread& host : hosts)
    host.join();
  flush();
  span(50000, false, false);
  EXPECT_TRUE(wait([&] { return log.isOver(); }));
  stopOutput();
  EXPECT_EQ(0, wrong);
}

TEST_F(FifoThreadsTest, EverySpanThatEndsAsksToStopOnce)
{
  std::atomic<int> stops{0};
  fifo->setStopRequestCallback([](void* data) { ++*static_cast<std::atomic<int>*>(data); }, &stops);
  startOutput(true);
  std::mt19937 random(7);
  for (int i = 1; i <= 60 && wrong == 0; ++i) {
    span(static_cast<int>(1 + random() % 9000), random() % 2, false);
    wait([&] { return stops >= i; });
    wait([&] { return log.isOver(); }); // the request comes before the output has taken note
    flush(); // so that the next span is not taken by the flush behind the callback
  }
  stopOutput();
  EXPECT_EQ(60, stops);
  EXPECT_EQ(0, wrong);
}

/** A callback that must not be called any more once it was replaced. */
struct Callback {
  std::atomic<bool> isAllowed{false};
  std::atomic<bool>* isWrong = nullptr;
  std::atomic<int>* calls = nullptr;

  static void call(void* data)
  {
    Callback* const self = static_cast<Callback*>(data);
    if (!self->isAllowed)
      *self->isWrong = true;
    std::this_thread::yield();
    if (!self->isAllowed)
      *self->isWrong = true;
    ++*self->calls;
  }
};

TEST_F(FifoThreadsTest, AReplacedStopCallbackIsNotCalledAnyMore)
{
  std::atomic<bool> isWrong{false};
  std::atomic<int> calls{0};
  std::atomic<bool> isDone{false};
  startOutput(false);
  std::thread host([&] {
    while (!isDone) {
      span(10, false, false);
      const long long seen = fills;
      wait([&] { return fills > seen + 5; });
    }
  });
  std::vector<std::thread> replacers;
  for (int t = 0; t < 2; ++t) {
    replacers.emplace_back([&] {
      while (calls < 40) {
        static std::mutex oneAtATime;
        const std::lock_guard<std::mutex> guard(oneAtATime);
        Callback callback;
        callback.isWrong = &isWrong;
        callback.calls = &calls;
        callback.isAllowed = true;
        fifo->setStopRequestCallback(Callback::call, &callback);
        const int before = calls;
        const long long seen = fills;
        wait([&] { return calls > before || fills > seen + 2000; });
        fifo->setStopRequestCallback(nullptr, nullptr);
        callback.isAllowed = false;
      }
    });
  }
  for (std::thread& thread : replacers)
    thread.join();
  isDone = true;
  host.join();
  stopOutput();
  EXPECT_FALSE(isWrong);
  EXPECT_LE(40, calls);
}

TEST_F(FifoThreadsTest, FifosCanBeMadeAndDroppedAtOnce)
{
  const int times = isLongRun() ? 5000 : 150;
  for (int i = 0; i < times; ++i) {
    TovAudioFIFO passing(provider.get());
    if (i % 2)
      passing.addBlock(TovAudioContext(SpanLog::kRate, 1, 0.0, 0.0), 0.0, 10.0, true);
  }
  fifo.reset();
  EXPECT_EQ(1, support::referenceCount(*provider));
}

TEST_F(FifoThreadsTest, DestructionWaitsForTheBlockThatIsBeingRendered)
{
  std::atomic<bool> isRendering{false};
  std::atomic<bool> mayGoOn{false};
  std::atomic<bool> isRendered{false};
  provider->setAnswer([&](const TovAudioContext&, double, double) {
    isRendering = true;
    while (!mayGoOn)
      std::this_thread::yield();
    isRendered = true;
    return 0;
  });
  fifo->addBlock(TovAudioContext(SpanLog::kRate, 1, 0.0, 0.0), 0.0, 0.01, false);
  while (!isRendering)
    std::this_thread::yield();
  std::atomic<bool> isGone{false};
  bool wasRendered = false;
  std::thread dropping([&] {
    fifo.reset();
    wasRendered = isRendered;
    isGone = true;
  });
  for (int i = 0; i < 3000; ++i)
    std::this_thread::yield();
  EXPECT_FALSE(isGone);
  mayGoOn = true;
  dropping.join();
  EXPECT_TRUE(wasRendered);
}

/** A provider that throws where nobody expects it. */
class ThrowingProvider : public IndexedProvider {
public:
  int deactivate() override { throw std::runtime_error("deactivate"); }

protected:
  ~ThrowingProvider() override = default;
};

/** How often the provider was asked while the output pulled. */
int requestsOfThrowingProvider()
{
  const Owned<ThrowingProvider> throwing = support::make<ThrowingProvider>();
  {
    TovAudioFIFO fifo(throwing.get());
    fifo.addBlock(TovAudioContext(SpanLog::kRate, 1, 0.0, 0.0), 0.0, 1.0, false);
    while (throwing->requestCount() < 3)
      std::this_thread::yield();
  }
  return static_cast<int>(throwing->requestCount());
}

TEST(FifoThrowingProviderTest, AProviderThatThrowsWhenItIsDeactivatedIsTriedAgain)
{
  const int requests = support::runInChild(requestsOfThrowingProvider);
  EXPECT_LE(3, requests);
  EXPECT_GT(255, requests) << "the process ended by a signal";
}

} // namespace
