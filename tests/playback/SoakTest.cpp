// Hours of playing, stopping, looping and scrubbing in virtual time, while
// other threads change the mix in ways that nobody can hear.

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "graph/TovAudioFile.h"
#include "tests/core/AllocationCounter.h"
#include "tests/playback/EnginePlayerTest.h"
#include "tests/support/Bytes.h"
#include "tests/support/Memory.h"
#include "tests/support/Process.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/TempFolder.h"

namespace {

using support::EnginePlayerTest;
using support::IndexedProvider;
using support::SteppedHost;

/** What the output must hear of one play: its frames in order, each once, as
 *  far as it gets. */
class ExpectedSpan {
public:
  ExpectedSpan() = default;
  ExpectedSpan(long long f, long long l, bool isLoop) : first(f), last(l), loop(isLoop), at(f) {}

  bool isOver() const { return at == last && !loop; }

  /** Checks @p count delivered frames. */
  bool take(const float* left, const float* right, int count)
  {
    for (int i = 0; i < count; ++i) {
      if (at == last) {
        if (!loop)
          return false;
        at = first;
      }
      const long long index = first <= last ? at++ : --at;
      if (left[i] != IndexedProvider::left(index) || right[i] != IndexedProvider::right(index))
        return false;
    }
    return true;
  }

private:
  long long first = 0;
  long long last = 0;
  bool loop = false;
  long long at = 0; ///< the frame border that playback has come to
};

/** Threads that change the mix until they go. */
class InaudibleChanges {
public:
  InaudibleChanges(TovAudioMixer& m, TovAudioProvider& heard) : mixer(m)
  {
    silent->setStatuses(0, 0, 5);
    mixer.addProvider(file.get());
    run([this, &heard](int) {
      mixer.setGain(&heard, 1.0f);
      mixer.setPan(&heard, 0.0f);
      mixer.setWide(&heard, 1.0f);
      mixer.setMasterGain(1.0f);
      mixer.setMute(&heard, false);
    });
    run([this](int i) {
      mixer.addProvider(silent.get());
      mixer.setMute(silent.get(), true);
      mixer.setGain(silent.get(), static_cast<float>(i % 8));
      mixer.removeProvider(silent.get());
      silent->recording()->clear();
    });
    // A file of silence that is opened, read, resampled and closed.
    run([this](int i) {
      file->initialize((i % 2 ? wav : aiff).c_str());
      mixer.setStartTime(file.get(), playedFrom - 0.5);
      if (i % 8 == 0)
        file->deactivate();
    });
  }

  ~InaudibleChanges()
  {
    isOver = true;
    goOn();
    for (std::thread& thread : threads)
      thread.join();
    mixer.removeProvider(file.get());
  }

  long long count() const { return changes; }

  /** Lets the file sound, if it did, about where playback begins. */
  void playFrom(double seconds) { playedFrom = seconds; }

  /** Lets each thread go on with its next change. */
  void goOn()
  {
    ++turn;
    turn.notify_all();
  }

private:
  template <typename Change>
  void run(Change change)
  {
    threads.emplace_back([this, change] {
      for (int i = 0; !isOver; ++i) {
        const int seen = turn;
        change(i);
        ++changes;
        if (!isOver)
          turn.wait(seen);
      }
    });
  }

  static constexpr unsigned int kSilentFrames = 30000;

  TovAudioMixer& mixer;
  const support::TempFolder folder;
  const std::string wav = folder.write(
      "a.wav", support::wavFile(1, 44100, 16, support::Bytes().zeros(2 * kSilentFrames)));
  const std::string aiff = folder.write(
      "b.aiff",
      support::aiffFile(2, kSilentFrames, 22050, 24, support::Bytes().zeros(6 * kSilentFrames)));
  std::atomic<double> playedFrom{0.0};
  support::Owned<support::RecordingProvider> silent = support::make<support::RecordingProvider>();
  support::Owned<TovAudioFile> file = support::make<TovAudioFile>();
  std::atomic<bool> isOver{false};
  std::atomic<int> turn{0};
  std::atomic<long long> changes{0};
  std::vector<std::thread> threads;
};

class SoakTest : public EnginePlayerTest {
protected:
  static constexpr int kMostFrames = 8192;

  SoakTest()
  {
    make();
    SteppedHost::setPauseListener({});
    player->setStopRequestCallback([](void* data) { ++*static_cast<int*>(data); }, &stops);
  }

  /** One call of the output; what comes must be sound first, then silence. */
  void hear(int frames)
  {
    unsigned char flag = 1;
    engine.pull(static_cast<unsigned long>(frames), left.data(), right.data(), &flag);
    int sounding = frames;
    while (sounding > 0 && left[static_cast<std::size_t>(sounding) - 1] == 0.0f)
      --sounding;
    if (!span.take(left.data(), right.data(), sounding))
      ++wrongCalls;
    framesHeard += sounding;
    framesTotal += frames;
  }

  /** One play of a random kind, for at most @p seconds. */
  void playOnce(double seconds, InaudibleChanges& others)
  {
    static constexpr double kRange = 20000.0;
    const double start = std::uniform_real_distribution<double>(-kRange, kRange)(random);
    const unsigned long kind = random() % 10;
    const bool isScrub = kind < 3;
    const bool isLoop = kind == 3 || kind == 4;
    const double length = isScrub  ? 0.02 + 0.001 * static_cast<double>(random() % 80)
                          : isLoop ? 0.0001 * static_cast<double>(1 + random() % 50000)
                          : kind == 5 ? 0.0
                                      : 0.5 + 0.01 * static_cast<double>(random() % 6000);
    const double end = start + (random() % 2 ? length : -length);

    const long long engaged = framesTotal;
    others.playFrom(start);
    player->play(start, end, isLoop);
    span = ExpectedSpan(provider->getSampleIndex(kContext, start),
                        provider->getSampleIndex(kContext, end), isLoop);
    const long long limit =
        engaged + static_cast<long long>(seconds * kRate * (isScrub ? 0.01 : 1.0));
    const int before = stops;
    const int size = static_cast<int>(64 + random() % kMostFrames / 2);
    while (framesTotal < limit && !span.isOver()) {
      hear(random() % 50 ? size : static_cast<int>(random() % kMostFrames));
      others.goOn();
      for (unsigned long steps = random() % 20 ? 1 : random() % 3; steps > 0; --steps)
        SteppedHost::step();
    }
    const bool isFinished = span.isOver();
    if (isFinished)
      hear(64); // also of a span without frames the block is passed
    SteppedHost::steps(3);
    if (stops - before != (isFinished ? 1 : 0))
      ++wrongStops;
    spansFinished += isFinished ? 1 : 0;
    ++plays;
    // Stopped or not: the next play stops what still runs.
    if (random() % 3 == 0) {
      player->stop();
      SteppedHost::steps(2);
      span = ExpectedSpan();
      hear(100);
    }
  }

  /** Plays on until @p frames in all, while other threads change the mix. */
  void playUntil(long long frames)
  {
    InaudibleChanges others(*mixer, *provider);
    while (framesTotal < frames && wrongCalls == 0 && wrongStops == 0) {
      playOnce(10.0, others);
      forgetRecords();
    }
    changes += others.count();
  }

  /** What the test's own stand-ins keep must not look like growth. */
  void forgetRecords()
  {
    engine.take();
    messages.take();
    SteppedHost::takeHostPauses();
  }

  const TovAudioContext kContext = TovAudioContext(kRate, 1, 24.0, 0.0);
  std::mt19937_64 random{20260101};
  std::vector<float> left = std::vector<float>(kMostFrames);
  std::vector<float> right = std::vector<float>(kMostFrames);
  ExpectedSpan span;
  int stops = 0;
  long long framesHeard = 0;
  long long framesTotal = 0;
  long long changes = 0;
  long long plays = 0;
  long long spansFinished = 0;
  long long wrongCalls = 0;
  long long wrongStops = 0;
};

double hoursWanted()
{
  if (const char* const hours = std::getenv("TOV_SOAK_HOURS"))
    return std::atof(hours);
  const bool isLong = std::getenv("TOV_TEST_LONG");
  if (support::hasSanitizerOverhead())
    return isLong ? 5.0 : 0.1;
  return isLong ? 200.0 : 10.0;
}

TEST_F(SoakTest, HoursOfPlaybackWithoutAWrongSample)
{
  const long long wanted = static_cast<long long>(hoursWanted() * 3600.0 * kRate);
  provider->keepRequests(false);
  playUntil(wanted / 10);
  const long long blocksBefore = support::blocksHeld();
  const long long bytesBefore = support::heapInUse();
  const int descriptorsBefore = support::openDescriptors();
  playUntil(wanted);
  const long long blocksMore = support::blocksHeld() - blocksBefore;
  const long long bytesMore = support::heapInUse() - bytesBefore;
  const int descriptorsMore = support::openDescriptors() - descriptorsBefore;
  std::printf("soak: %.2f hours, %lld frames checked, %lld plays, %lld spans finished, "
              "%lld changes by other threads, %lld more blocks and %lld more bytes of memory, "
              "%d more descriptors\n",
              static_cast<double>(framesTotal) / kRate / 3600.0, framesHeard, plays, spansFinished,
              changes, blocksMore, bytesMore, descriptorsMore);
  EXPECT_EQ(0, wrongCalls) << "calls of the output with a wrong sample";
  EXPECT_EQ(0, wrongStops) << "plays without exactly one stop request at their end";
  EXPECT_LE(wanted / 2, framesHeard) << "most of it was silence";
  // Nothing adds up; a few may be made once, and late in a short run.
  EXPECT_LE(blocksMore, 8);
  EXPECT_LE(bytesMore, 64 << 10);
  EXPECT_EQ(descriptorsMore, 0);
  EXPECT_LE(10, spansFinished);
  EXPECT_LE(10, changes);
}

TEST_F(SoakTest, AWrongSampleWouldBeNoticed)
{
  player->play(0.0, 10.0, false);
  span = ExpectedSpan(1, 441000, false); // one frame off
  hear(100);
  EXPECT_EQ(1, wrongCalls);
}

} // namespace
