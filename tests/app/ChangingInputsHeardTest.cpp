// What is heard of a mix while one of its files is cut short, replaced,
// deleted and put back every 50 ms of the playing, sample by sample.
#include <atomic>
#include <filesystem>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "core/TovAudioContext.h"
#include "graph/TovAudioFile.h"
#include "graph/TovAudioMixer.h"
#include "playback/TovAudioFIFO.h"
#include "tests/support/Buffers.h"
#include "tests/support/IntegerSound.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/TempFolder.h"

namespace {

using support::Bytes;
using support::Owned;

constexpr int kRate = 48000;
constexpr long long kBlock = 4096;
constexpr long long kFrames = 36 * kBlock; // three seconds

/** Goes into a block and into 50 ms a whole number of times: a piece is there
 *  as a whole or not at all. */
constexpr int kPiece = 32;
constexpr int kPiecesPerChange = kRate / 20 / kPiece;

using Signal = std::vector<float>; ///< left and right in turn

/** The suffix of the changed file. */
class ChangingInputsHeard : public testing::TestWithParam<const char*> {
protected:
  ChangingInputsHeard()
  {
    const auto bytesOf = [](const support::IntegerSound& sound) {
      return GetParam() == std::string("wav") ? support::wavOf(sound) : support::aiffOf(sound);
    };
    whole = bytesOf(support::randomSound(2, kFrames, kRate, 16, 1, 0.4));
    // Shorter, of one channel, of other samples and of another rate.
    other = bytesOf(support::randomSound(1, kFrames / 3, 44100, 24, 2, 0.4));
    std::mt19937 random(3);
    for (int i = 0; i < 30000; ++i)
      garbage.u8(static_cast<unsigned int>(random()));
    put(whole);
    folder.write("steady.wav",
                 support::wavOf(support::randomSound(2, kFrames, kRate, 16, 4, 0.4)));
  }

  std::string changedPath() const { return folder.path(std::string("changed.") + GetParam()); }

  void put(const Bytes& bytes) const
  {
    std::filesystem::rename(folder.write("aside", bytes), changedPath());
  }

  /** The changed file and the steady one, each once. */
  struct Mix {
    Owned<TovAudioFile> changed = support::make<TovAudioFile>();
    Owned<TovAudioFile> steady = support::make<TovAudioFile>();
    Owned<TovAudioMixer> mixer = support::make<TovAudioMixer>();
  };

  Mix makeMix() const
  {
    Mix mix;
    EXPECT_EQ(mix.changed->initialize(changedPath().c_str()), 0);
    EXPECT_EQ(mix.steady->initialize(folder.path("steady.wav").c_str()), 0);
    mix.mixer->addProvider(mix.changed.get());
    mix.mixer->addProvider(mix.steady.get());
    return mix;
  }

  static TovAudioContext context() { return TovAudioContext(kRate, 1, 24.0, 0.0); }

  /** The mix with nobody about, block by block as it is played. */
  static Signal rendered(const Mix& mix)
  {
    Signal signal;
    support::Buffers buffers(2, kBlock);
    const TovNLArray<int> map = support::channelMap({0, 1});
    for (long long frame = 0; frame < kFrames; frame += kBlock) {
      mix.mixer->activate(context());
      EXPECT_EQ(mix.mixer->getAudio(buffers.pointers(), map, context(),
                                    mix.mixer->getTimeOfSample(context(), frame),
                                    mix.mixer->getTimeOfSample(context(), frame + kBlock)),
                0);
      for (long long i = 0; i < kBlock; ++i) {
        signal.push_back(buffers.channel(0)[i]);
        signal.push_back(buffers.channel(1)[i]);
      }
    }
    return signal;
  }

  /** Plays the mix to its end; @p change is called for every 50 ms. */
  template <typename Change>
  Signal played(const Mix& mix, Change change)
  {
    Signal signal;
    std::atomic<bool> hasEnded = false;
    TovAudioFIFO fifo(mix.mixer.get());
    fifo.setStopRequestCallback([](void* flag) { *static_cast<std::atomic<bool>*>(flag) = true; },
                                &hasEnded);
    fifo.addBlock(context(), 0.0, static_cast<double>(kFrames) / kRate, false);
    support::Buffers buffers(2, kPiece);
    for (long long piece = 0; piece < kFrames / kPiece; ++piece) {
      if (piece % kPiecesPerChange == 0)
        change();
      EXPECT_FALSE(hasEnded);
      while (fifo.fillAudioBuffers(buffers.pointers(), kPiece) != 0)
        std::this_thread::yield();
      for (int i = 0; i < kPiece; ++i) {
        signal.push_back(buffers.channel(0)[i]);
        signal.push_back(buffers.channel(1)[i]);
      }
    }
    // All was heard: what follows is silence, and the end is told.
    while (!hasEnded) {
      EXPECT_EQ(fifo.fillAudioBuffers(buffers.pointers(), kPiece), 1);
      EXPECT_EQ(buffers.channel(0)[0], 0.0f);
      std::this_thread::yield();
    }
    return signal;
  }

  support::Messages messages; // a lost file is told each time it is tried again
  support::TempFolder folder;
  Bytes whole;
  Bytes other;
  Bytes garbage;
};

TEST_P(ChangingInputsHeard, ReachTheEndWithTheirOwnSamplesOrSilence)
{
  Mix quiet = makeMix();
  const Signal withWhole = rendered(quiet);
  put(other);
  const Signal withOther = rendered(quiet);
  quiet.mixer->removeProvider(quiet.changed.get());
  const Signal withoutIt = rendered(quiet);
  put(whole);
  ASSERT_NE(withWhole, withOther);
  ASSERT_NE(withWhole, withoutIt);

  long long found[3] = {};
  for (unsigned int seed = 1; seed <= 4; ++seed) {
    SCOPED_TRACE(seed);
    const Mix mix = makeMix();
    std::mt19937 random(seed);
    int changes = 0;
    const Signal heard = played(mix, [&] {
      ++changes;
      std::error_code error; // it may be deleted already
      switch (random() % 8) {
      case 0:
        std::filesystem::resize_file(changedPath(), random() % whole.size(), error);
        break;
      case 1:
        std::filesystem::resize_file(changedPath(), 0, error);
        break;
      case 2:
        put(other);
        break;
      case 3:
        put(garbage);
        break;
      case 4:
        std::filesystem::remove(changedPath());
        break;
      default:
        put(whole);
      }
      // A file that could not be opened is not tried again by itself.
      mix.changed->refresh();
    });
    EXPECT_EQ(changes, 62);
    ASSERT_EQ(heard.size(), withWhole.size());
    for (std::size_t i = 0; i < heard.size(); ++i) {
      const bool isKnown[] = {heard[i] == withWhole[i], heard[i] == withOther[i],
                              heard[i] == withoutIt[i]};
      ASSERT_TRUE(isKnown[0] || isKnown[1] || isKnown[2])
          << "frame " << i / 2 << " is " << heard[i];
      for (int k = 0; k < 3; ++k)
        found[k] += isKnown[k];
    }
    put(whole);
    mix.changed->refresh();
    EXPECT_EQ(played(mix, [] {}), withWhole);
  }
  // Otherwise the changes would have come to nothing.
  EXPECT_GT(found[0], kBlock);
  EXPECT_GT(found[1], kBlock);
  EXPECT_GT(found[2], kBlock);
}

// Without refresh() a file that was gone when a block began stays silent,
// even when it is there again.
TEST_P(ChangingInputsHeard, OnceLostStaySilentUntilTheyAreTriedAgain)
{
  Mix quiet = makeMix();
  const Signal withWhole = rendered(quiet);
  quiet.mixer->removeProvider(quiet.changed.get());
  const Signal withoutIt = rendered(quiet);

  const Mix mix = makeMix();
  std::filesystem::remove(changedPath());
  EXPECT_EQ(played(mix, [] {}), withoutIt);
  put(whole);
  EXPECT_EQ(played(mix, [] {}), withoutIt);
  EXPECT_EQ(mix.changed->hasError(), 1);
  EXPECT_EQ(mix.changed->refresh(), 0);
  EXPECT_EQ(played(mix, [] {}), withWhole);
}

INSTANTIATE_TEST_SUITE_P(Of, ChangingInputsHeard, testing::Values("wav", "aiff"),
                         [](const testing::TestParamInfo<const char*>& tested) {
                           return std::string(tested.param);
                         });

} // namespace
