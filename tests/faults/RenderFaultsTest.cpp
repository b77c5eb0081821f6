// Opening files as providers, and rendering a mix of them.

#include <algorithm>

#include "graph/TovAudioFile.h"
#include "tests/faults/FaultLoop.h"
#include "tests/faults/FilteredMix.h"
#include "tests/faults/FreshFilterTables.h"
#include "tests/faults/SoundFiles.h"
#include "tests/support/Buffers.h"
#include "tests/support/Messages.h"
#include "tests/support/Owned.h"
#include "tests/support/ProviderLocks.h"

namespace {

using namespace support;

using Samples = std::vector<std::vector<unsigned int>>;

Samples samplesOf(const Buffers& buffers)
{
  return {bits(buffers.samples(0)), bits(buffers.samples(1))};
}

/** Another rate than the files'. */
const TovAudioContext kContext(48000, 1, 24.0, 0.0);

/** A file that gave up after an activation that failed is told to look again. */
void activateAgain(TovAudioFile& file)
{
  if (file.hasError()) {
    EXPECT_EQ(file.refresh(), 0);
  }
  EXPECT_EQ(file.activate(kContext), 0);
}

// --- One file ---------------------------------------------------------------

class FileProvider : public Scenario {
public:
  FileProvider()
  {
    const Owned<TovAudioFile> file = make<TovAudioFile>();
    expected = render(*file);
  }

  void attempt(Attempt& attempt) override
  {
    const FreshFilterTables tables;
    Messages messages;
    const Owned<TovAudioFile> file = make<TovAudioFile>();
    Buffers buffers(2, kFrames);
    const bool isDone = attempt.under([&] { run(*file, buffers); });
    EXPECT_FALSE(isLockHeld(*file));
    EXPECT_TRUE(buffers.guardsIntact());
    expectStatuses(isDone && !attempt.happened());
    if (isDone && delivered == 0) {
      EXPECT_TRUE(samplesOf(buffers) == expected) << "delivered, but not the file's sound";
    }
    file->deactivate();
    EXPECT_TRUE(render(*file) == expected);
    EXPECT_FALSE(isLockHeld(*file));
  }

private:
  static constexpr long long kFrames = 3000;

  void run(TovAudioFile& file, Buffers& buffers)
  {
    opened = activated = delivered = kNotTried;
    opened = file.initialize(path.c_str());
    if (opened == 0)
      activated = file.activate(kContext);
    if (activated == 0)
      delivered = file.getAudio(buffers.pointers(), map, kContext, 0.01, 0.01 + kSeconds);
  }

  void expectStatuses(bool isWhole) const
  {
    EXPECT_TRUE(opened == 0 || opened == 2 || opened == 3 || opened == kNotTried) << opened;
    EXPECT_TRUE(activated == 0 || activated == 3 || activated == kNotTried) << activated;
    EXPECT_TRUE(delivered == 0 || delivered == 1 || delivered == kNotTried) << delivered;
    if (isWhole) {
      EXPECT_EQ(delivered, 0);
    }
  }

  Samples render(TovAudioFile& file)
  {
    Buffers buffers(2, kFrames);
    run(file, buffers);
    EXPECT_EQ(opened, 0);
    EXPECT_EQ(activated, 0);
    EXPECT_EQ(delivered, 0);
    return samplesOf(buffers);
  }

  static constexpr double kSeconds = kFrames / 48000.0;
  static constexpr int kNotTried = -99;
  SoundFiles files;
  const std::string path = files.wav("sound.wav", SoundFiles::kRate, 1);
  const TovNLArray<int> map = channelMap({0, 1});
  Samples expected;
  int opened = kNotTried;
  int activated = kNotTried;
  int delivered = kNotTried;
};

// --- A mix --------------------------------------------------------------------

class Rendering : public Scenario {
public:
  Rendering()
  {
    // What is heard when both files are there, either, none.
    for (const bool isFirstMute : {false, true}) {
      for (const bool isSecondMute : {false, true}) {
        FilteredMix mix(first, second, kContext);
        mix.mixer().setMute(&mix.file(0), isFirstMute);
        mix.mixer().setMute(&mix.file(1), isSecondMute);
        mix.activate();
        Buffers buffers(2, kFrames);
        EXPECT_EQ(mix.render(buffers, 0, kFrames), isFirstMute && isSecondMute ? 5 : 0);
        heard.push_back(samplesOf(buffers));
      }
    }
  }

  void attempt(Attempt& attempt) override
  {
    const FreshFilterTables tables;
    Messages messages;
    FilteredMix mix(first, second, kContext);
    Buffers small(2, kFrames);
    Buffers buffers(2, kFrames);
    int activated = -99;
    int beginning = -99;
    int deactivated = -99;
    int activatedAgain = -99;
    int whole = -99;
    const bool isDone = attempt.under([&] {
      activated = mix.activate();
      beginning = mix.render(small, 0, kFrames / 3);
      deactivated = mix.deactivate();
      activatedAgain = mix.activate();         // only now are the files closed
      whole = mix.render(buffers, 0, kFrames); // which needs larger buffers
    });
    mix.expectLocksFree();
    EXPECT_TRUE(buffers.guardsIntact() && small.guardsIntact());
    EXPECT_TRUE(!isDone || activated == 0) << activated;
    EXPECT_TRUE(!isDone || deactivated == 0) << deactivated;
    EXPECT_TRUE(!isDone || activatedAgain == 0) << activatedAgain;
    EXPECT_TRUE(!isDone || beginning == 0 || beginning == 5) << beginning;
    EXPECT_TRUE(!isDone || whole == 0 || whole == 5) << whole;
    if (isDone) {
      // An input that fails is left out.
      EXPECT_TRUE(std::find(heard.begin(), heard.end(), samplesOf(buffers)) != heard.end());
      EXPECT_EQ(whole == 5, buffers.untouched());
    }
    if (!attempt.happened()) {
      EXPECT_TRUE(samplesOf(buffers) == heard[0]);
    }
    activateAgain(mix.file(0));
    activateAgain(mix.file(1));
    Buffers after(2, kFrames);
    EXPECT_EQ(mix.render(after, 0, kFrames), 0);
    EXPECT_TRUE(samplesOf(after) == heard[0]);
    mix.expectLocksFree();
  }

private:
  static constexpr long long kFrames = 3000;
  SoundFiles files;
  const std::string first = files.wav("first.wav", 44100, 1);
  const std::string second = files.wav("second.wav", 32000, 2);
  std::vector<Samples> heard;
};

using enum FaultKind;

INSTANTIATE_TEST_SUITE_P(
    Rendering, FaultLoop,
    testing::ValuesIn(joined({faultCases<FileProvider>("OpenFileProvider",
                                                       {Read, Seek, Open, Close, Allocation}),
                              faultCases<Rendering>("RenderMix",
                                                    {Read, Seek, Open, Close, Allocation})})),
    caseName);

} // namespace
