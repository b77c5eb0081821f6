// The FIFO and the player, whose threads meet the faults too.

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "playback/TovAudioFIFO.h"
#include "playback/TovAudioPlayer.h"
#include "playback/TovAudioPlayerFactory.h"
#include "tests/faults/FaultLoop.h"
#include "tests/faults/FilteredMix.h"
#include "tests/faults/SoundFiles.h"
#include "tests/support/Buffers.h"
#include "tests/support/Messages.h"

namespace {

using namespace support;

/** Waits a moment for another thread. */
void waitForFeeder()
{
  std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// --- FIFO -----------------------------------------------------------------------

class Playing : public Scenario {
public:
  Playing() { expected = playedAlone(); }

  FaultReach reach() const override { return FaultReach::AllThreads; }

  void attempt(Attempt& attempt) override
  {
    Messages messages;
    const Owned<TovAudioMixer> mixer = make<TovAudioMixer>();
    const Owned<TovAudioFile> file = opened(*mixer);
    std::vector<float> heard;
    bool isPulled = false;
    attempt.under([&] {
      TovAudioFIFO fifo(mixer.get()); // goes under the fault, too
      fifo.addBlock(context, 0.0, kSeconds, false);
      heard = pull(fifo, &attempt);
      isPulled = true;
      fifo.flush();
    });
    EXPECT_FALSE(isLockHeld(*mixer));
    EXPECT_FALSE(isLockHeld(*file));
    EXPECT_EQ(referenceCount(*mixer), 1);
    if (attempt.kind() == FaultKind::Allocation && isPulled)
      expectTriedAgain(heard, attempt);
    expectSoundOrSilence(heard);
    EXPECT_TRUE(playedAlone() == expected);
  }

private:
  static constexpr int kRate = 44100;
  static constexpr int kBlock = 4096;
  static constexpr int kFrames = 4500; ///< two blocks
  static constexpr double kSeconds = kFrames / static_cast<double>(kRate);

  Owned<TovAudioFile> opened(TovAudioMixer& mixer) const
  {
    Owned<TovAudioFile> file = make<TovAudioFile>();
    EXPECT_EQ(file->initialize(path.c_str()), 0);
    EXPECT_EQ(mixer.addProvider(file.get()), 0);
    mixer.setStartTime(file.get(), 0.0);
    mixer.setEndTime(file.get(), 1.0);
    return file;
  }

  /** Whether what is tried will never work. */
  static bool isHopeless(const Attempt& attempt)
  {
    return attempt.happened() &&
           (attempt.kind() == FaultKind::ThreadStart ||
            (attempt.kind() == FaultKind::Allocation && attempt.length() == FaultLength::Lasting));
  }

  /** A span without memory is tried again until it works: nothing of it is
   *  silence, and only what never works is missing. */
  void expectTriedAgain(const std::vector<float>& heard, const Attempt& attempt) const
  {
    if (!isHopeless(attempt)) {
      EXPECT_EQ(heard.size(), expected.size());
    }
    ASSERT_LE(heard.size(), expected.size());
    EXPECT_TRUE(std::equal(heard.begin(), heard.end(), expected.begin()));
  }

  /** The span's frames of the left channel; where there is no hope of more,
   *  those so far. */
  static std::vector<float> pull(TovAudioFIFO& fifo, const Attempt* attempt = nullptr)
  {
    constexpr int kMostWaits = 20000;
    constexpr int kWaitsWithoutHope = 8; // in which the feeder fails again
    std::vector<float> heard;
    heard.reserve(kFrames);
    float left = 0.0f;
    float right = 0.0f;
    TovNLPArray<float> outputs;
    outputs.append(&left);
    outputs.append(&right);
    int waits = 0;
    int hopelessWaits = 0;
    while (heard.size() < kFrames && waits < kMostWaits) {
      if (fifo.fillAudioBuffers(outputs, 1) == 0) {
        heard.push_back(left);
        continue;
      }
      if (attempt && isHopeless(*attempt) && ++hopelessWaits > kWaitsWithoutHope)
        return heard;
      ++waits;
      waitForFeeder();
    }
    EXPECT_LT(waits, kMostWaits) << "the rest of the span never came";
    return heard;
  }

  std::vector<float> playedAlone() const
  {
    const Owned<TovAudioMixer> mixer = make<TovAudioMixer>();
    const Owned<TovAudioFile> file = opened(*mixer);
    TovAudioFIFO fifo(mixer.get());
    fifo.addBlock(context, 0.0, kSeconds, false);
    return pull(fifo);
  }

  /** Block by block; a file that failed is left out of the mix. */
  void expectSoundOrSilence(const std::vector<float>& heard) const
  {
    for (std::size_t first = 0; first < heard.size(); first += kBlock) {
      const std::size_t end = std::min<std::size_t>(first + kBlock, heard.size());
      const std::vector<float> block(&heard[first], &heard[first] + (end - first));
      const std::vector<float> sound(&expected[first], &expected[first] + (end - first));
      EXPECT_TRUE(block == sound || block == std::vector<float>(end - first)) << first;
    }
  }

  SoundFiles files;
  const std::string path = files.wav("sound.wav", kRate, 1);
  const TovAudioContext context = TovAudioContext(kRate, 1, 24.0, 0.0);
  std::vector<float> expected;
};

// --- Player -----------------------------------------------------------------------

/** A player on a device that plays silence against the clock. */
class PlayerOfFactory : public Scenario {
public:
  PlayerOfFactory() { ::setenv("PLAYOUT_DEVICE", "null", 1); }
  ~PlayerOfFactory() override { ::unsetenv("PLAYOUT_DEVICE"); }

  FaultReach reach() const override { return FaultReach::AllThreads; }

  void attempt(Attempt& attempt) override
  {
    Messages messages;
    const int references = referenceCount(*mixer);
    work(attempt);
    const bool isThere = TovAudioPlayerFactory::_instance != nullptr;
    EXPECT_TRUE(isThere || attempt.happened());
    dropPlayer();
    EXPECT_FALSE(isLockHeld(*mixer));
    EXPECT_EQ(referenceCount(*mixer), references) << "a reference was kept";

    TovAudioPlayer* const player = TovAudioPlayerFactory::getAudioPlayer();
    EXPECT_EQ(player->play(0.0, 0.01, false), 0);
    EXPECT_EQ(player->isPlaying(), 1);
    EXPECT_EQ(player->stop(), 0);
    EXPECT_EQ(player->isPlaying(), 0);
    dropPlayer();
    while (referenceCount(*mixer) > references)
      mixer->dereference();
  }

protected:
  virtual void work(Attempt& attempt) = 0;

  static void dropPlayer()
  {
    delete TovAudioPlayerFactory::_instance;
    TovAudioPlayerFactory::_instance = nullptr;
  }

  const Owned<TovAudioMixer> mixer = Owned<TovAudioMixer>(TovAudioMixer::getMasterMixer());
};

class MakingPlayer : public PlayerOfFactory {
  void work(Attempt& attempt) override
  {
    TovAudioPlayer* player = nullptr;
    attempt.under([&] { player = TovAudioPlayerFactory::getAudioPlayer(); });
    EXPECT_EQ(player, TovAudioPlayerFactory::_instance);
  }
};

class UsingPlayer : public PlayerOfFactory {
  void work(Attempt& attempt) override
  {
    TovAudioPlayer* const player = TovAudioPlayerFactory::getAudioPlayer();
    int played = 0;
    int stopped = 0;
    const bool isDone = attempt.under([&] {
      played = player->play(0.0, 0.01, false);
      stopped = player->stop();
    });
    EXPECT_EQ(played, 0);
    EXPECT_EQ(stopped, 0);
    if (isDone) {
      EXPECT_EQ(player->isPlaying(), 0);
    }
    EXPECT_EQ(player->play(0.0, 0.01, false), 0);
    EXPECT_EQ(player->isPlaying(), 1);
    EXPECT_EQ(player->stop(), 0);
  }
};

using enum FaultKind;

INSTANTIATE_TEST_SUITE_P(
    Playback, FaultLoop,
    testing::ValuesIn(joined(
        {faultCases<Playing>("PlayFifo", {Read, Seek, Open, Close, Allocation, ThreadStart}),
         faultCases<MakingPlayer>("MakePlayer", {Allocation, ThreadStart}),
         faultCases<UsingPlayer>("UsePlayer", {Allocation})})),
    caseName);

} // namespace
