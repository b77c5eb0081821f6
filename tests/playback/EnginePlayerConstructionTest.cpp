// How the engine-backed player is built and torn down, refusals included.

#include <utility>

#include "tests/playback/EnginePlayerTest.h"
#include "tests/support/Setting.h"

namespace {

using support::EnginePlayerTest;
using support::SteppedHost;

class EnginePlayerConstructionTest : public EnginePlayerTest {
protected:
  static Calls steps()
  {
    return {"PeMixerCreate(1)",
            "NewPeAudioSupplierUPP(audioSupplierFuncStatic)",
            "PeMixerCreateTrack(mixer, supplier, 2, 44100, 0, 0, 0)",
            "PeMixerGetTransport(mixer)",
            "PeMixerGetOverallLevelModule(mixer)",
            "PeModuleEnableMetering(module)"};
  }
};

TEST_F(EnginePlayerConstructionTest, TheEngineIsSetUpInOrder)
{
  player = std::make_unique<TovAudioPlayerOSX>();
  EXPECT_EQ(steps(), engine.take());
  EXPECT_EQ(player.get(), engine.refCon());
  EXPECT_EQ(Calls(), messages.take());
  EXPECT_EQ(std::vector<double>(), SteppedHost::takeHostPauses());
  EXPECT_EQ(1, SteppedHost::threadsAlive());
}

TEST_F(EnginePlayerConstructionTest, ThePlayerHoldsTheMasterMixerItselfAndThroughItsResampler)
{
  const int before = support::referenceCount(*mixer);
  make();
  EXPECT_EQ(before + 2, support::referenceCount(*mixer));
  player.reset();
  EXPECT_EQ(before, support::referenceCount(*mixer));
}

TEST_F(EnginePlayerConstructionTest, DestructionStopsThenDestroysTheMixerThenEndsTheFeeder)
{
  make();
  noteNotifications();
  player.reset();
  Calls calls = engine.take();
  // The wait for the feeder may pause.
  std::erase_if(calls, [](const std::string& call) { return call.starts_with("sleep"); });
  EXPECT_EQ((Calls{"PeTransportStop(transport)", "PeMixerReset(mixer)", "Stopped 0 0",
                   "PeMixerDestroy(mixer)"}),
            calls);
  EXPECT_EQ(0, SteppedHost::threadsAlive());
}

TEST_F(EnginePlayerConstructionTest, APlayerMayGoWhileItPlays)
{
  make();
  player->play(0.0, 100.0, true);
  pull(1000);
  player.reset();
  EXPECT_EQ(1, engine.count("PeMixerDestroy"));
  EXPECT_EQ(0, SteppedHost::threadsAlive());
}

TEST_F(EnginePlayerConstructionTest, EveryRefusalEndsTheSetUpWithAMessage)
{
  const Calls all = steps();
  for (std::size_t i = 0; i < all.size(); ++i) {
    const std::string function = all[i].substr(0, all[i].find('('));
    engine.fail(function, static_cast<int>(-50 - 7 * static_cast<int>(i)));
    player = std::make_unique<TovAudioPlayerOSX>();
    EXPECT_EQ(Calls(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(i) + 1), engine.take());
    EXPECT_EQ((Calls{"E TovAudioPlayerOSX: Could not initialize audio playback engine (status = " +
                     std::to_string(-50 - 7 * static_cast<int>(i)) +
                     "), audio playback disabled.\n"}),
              messages.take());

    // What was created goes with the player, without a stop before.
    player.reset();
    Calls calls = engine.take();
    std::erase_if(calls, [](const std::string& call) { return call.starts_with("sleep"); });
    EXPECT_EQ(i == 0 ? Calls() : Calls{"PeMixerDestroy(mixer)"}, calls) << function;
    EXPECT_EQ(0, SteppedHost::threadsAlive());
    engine.fail(function, 0);
  }
}

TEST_F(EnginePlayerConstructionTest, APlayerWithoutEngineAnswersAllTheSame)
{
  for (const std::string& step : steps()) {
    const std::string function = step.substr(0, step.find('('));
    engine.fail(function, 3);
    make();
    noteNotifications();
    const int levelModule = function == "PeModuleEnableMetering" ? 0 : 1;
    double time = 12.5;
    float levels[2] = {3.0f, 4.0f};
    float volume = 5.0f;
    EXPECT_EQ(1, player->play(0.0, 1.0, false)) << function;
    EXPECT_EQ(1, player->stop()) << function;
    EXPECT_EQ(0, player->isPlaying()) << function;
    EXPECT_EQ(1, player->getCurrentTime(&time)) << function;
    EXPECT_EQ(1, player->getLevels(levels, this)) << function;
    EXPECT_EQ(levelModule, player->getVolume(&volume)) << function;
    EXPECT_EQ(levelModule, player->setVolume(0.5f)) << function;
    EXPECT_EQ(12.5, time);
    EXPECT_EQ(3.0f, levels[0]);
    EXPECT_EQ(4.0f, levels[1]);
    if (levelModule == 1) {
      EXPECT_EQ(5.0f, volume);
    }
    for (const std::string& call : engine.take()) {
      EXPECT_FALSE(call.starts_with("PeTransportStart") || call.starts_with("PeTransportStop") ||
                   call.starts_with("PeMixerReset") || call.starts_with("Stopped") ||
                   call.starts_with("Playing"))
          << call;
      EXPECT_EQ(std::string::npos, call.find("stranger")) << call;
      EXPECT_EQ(std::string::npos, call.find("null")) << call;
    }
    player.reset();
    engine.fail(function, 0);
  }
}

TEST_F(EnginePlayerConstructionTest, APlayerWithoutEngineKeepsItsFilterAndCallbacks)
{
  engine.fail("PeMixerCreate", 1);
  make();
  noteNotifications();
  EXPECT_EQ(0, player->setFilterFreq(8000));
  EXPECT_EQ(8000, player->getFilterFreq());
  player->setStopRequestCallback(nullptr, nullptr);
  player->callPlaybackCallbacks(TovAudioPlayer::Playing, 1.0f, 2.0f);
  EXPECT_EQ((Calls{"Playing 1 2"}), engine.take());
}

TEST_F(EnginePlayerConstructionTest, AMessageComesOncePerPlayerAndNotAtUse)
{
  engine.fail("PeMixerGetTransport", 1);
  make();
  messages.take();
  player->play(0.0, 1.0, false);
  player->stop();
  player->getCurrentTime(nullptr);
  player->setVolume(1.0f);
  player.reset();
  EXPECT_EQ(Calls(), messages.take());
}

TEST_F(EnginePlayerConstructionTest, PlayersMayComeAndGo)
{
  for (int i = 0; i < 20; ++i) {
    make();
    player->play(i, i + 1.0, i % 2 == 0);
    EXPECT_EQ(frames(i * kRate, i * kRate + 100), pull(100));
    player.reset();
  }
  EXPECT_EQ(0, SteppedHost::threadsAlive());
}

// --- The supplier -------------------------------------------------------------------

TEST_F(EnginePlayerConstructionTest, TheSupplierWithoutAPlayerDoesNothing)
{
  float left[4] = {1.0f, 1.0f, 1.0f, 1.0f};
  float* buffers[] = {left, left};
  unsigned char flag = 9;
  EXPECT_EQ(0, TovAudioPlayerOSX::audioSupplierFuncStatic(nullptr, 1.0, 2, 4, buffers, &flag));
  EXPECT_EQ(1.0f, left[0]);
}

TEST_F(EnginePlayerConstructionTest, TheSupplierDeliversSilenceWithSuccessAndAClearFlag)
{
  make();
  std::vector<float> left(100, 0.5f);
  std::vector<float> right(100, 0.5f);
  unsigned char flag = 9;
  EXPECT_EQ(0, engine.pull(100, left.data(), right.data(), &flag));
  EXPECT_EQ(0, flag);
  EXPECT_EQ(std::vector<float>(100, 0.0f), left);
  EXPECT_EQ(std::vector<float>(100, 0.0f), right);
}

TEST_F(EnginePlayerConstructionTest, TimeAndCountDoNotMatterToTheSupplier)
{
  make();
  player->play(0.0, 1.0, false);
  float left[10];
  float right[10];
  float* buffers[] = {left, right};
  unsigned char flag = 9;
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(0, TovAudioPlayerOSX::audioSupplierFuncStatic(player.get(), -1.0e9 * i, 77UL * 5, 10,
                                                            buffers, &flag));
    EXPECT_EQ(support::IndexedProvider::left(10 * i), left[0]);
    EXPECT_EQ(support::IndexedProvider::right(10 * i), right[0]);
  }
}

} // namespace
