// Sound servers that are killed, stand still, or are not there at all.

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "playback/TovAudioPlayerOSX.h"
#include "playout/PlayoutEngine.h"
#include "tests/soundserver/HeardPlayer.h"
#include "tests/soundserver/NoiseMix.h"
#include "tests/soundserver/Recording.h"
#include "tests/soundserver/SoundServer.h"
#include "tests/soundserver/Waiting.h"
#include "tests/support/Messages.h"

namespace {

using support::Signal;

class ServerLossTest : public ::testing::Test {
protected:
  void expectHeard(HeardPlayer& player, Recording& recording, double start, double end)
  {
    const int before = player.ended();
    ASSERT_EQ(player->play(start, end, false), 0);
    const Signal recorded = recording.soundWhen([&] { return player.ended() == before + 1; });
    EXPECT_TRUE(isHeard(recorded, mix.span(start, end)));
  }

  SoundServer server;
  NoiseMix mix{server.environment().folder()};
};

TEST_F(ServerLossTest, AKilledServerEndsThePlayAndTheNextOneIsHeardByItsSuccessor)
{
  server.start();
  TovAudioPlayerOSX driven;
  HeardPlayer player(driven);
  ASSERT_EQ(player->play(0.0, 1.0, true), 0);
  ASSERT_TRUE(player.passes(0.2));
  server.kill();
  EXPECT_TRUE(holdsSoon([&] { return player->isPlaying() == 0; }));
  EXPECT_EQ(player.time(), -1.0);

  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(player->stop(), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));

  EXPECT_EQ(player->play(0.0, 1.0, false), 0);
  EXPECT_EQ(player->isPlaying(), 0) << "there is no server yet";
  EXPECT_EQ(player->stop(), 0);

  server.start();
  Recording recording(server.environment());
  expectHeard(player, recording, 0.3, 0.9);
}

TEST_F(ServerLossTest, AServerThatIsReplacedWhileNothingPlaysIsNotMissed)
{
  server.start();
  TovAudioPlayerOSX driven;
  HeardPlayer player(driven);
  {
    Recording recording(server.environment());
    expectHeard(player, recording, 0.9, 1.1);
  }
  server.kill();
  server.start();
  Recording recording(server.environment());
  expectHeard(player, recording, 0.3, 0.6);
}

TEST_F(ServerLossTest, AServerThatStandsStillIsGivenUp)
{
  server.start();
  auto driven = std::make_unique<TovAudioPlayerOSX>();
  ASSERT_EQ(driven->play(0.0, 1.0, true), 0);
  ASSERT_TRUE(holdsSoon([&] {
    double time = 0.0;
    return driven->getCurrentTime(&time) == 0 && time > 0.2;
  }));
  server.suspend();
  EXPECT_TRUE(holdsSoon([&] { return driven->isPlaying() == 0; }));
  // It answers to no farewell: the client library itself waits half a minute.
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(driven->stop(), 0);
  driven.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
  server.kill();
}

int supplySilence(void*, double, unsigned long, unsigned long frames, float** buffers,
                  unsigned char* flag)
{
  std::fill_n(buffers[0], frames, 0.0f);
  std::fill_n(buffers[1], frames, 0.0f);
  *flag = 1;
  return 0;
}

// The device library aborts the process when a stream is started whose server
// has died a moment ago, not always: hence the rounds.
TEST_F(ServerLossTest, AServerThatDiesRightBeforeTheFirstStartDoesNoHarm)
{
  for (int round = 0; round < 5; ++round) {
    server.start();
    PeMixer mixer = nullptr;
    PeAudioSupplierUPP supplier = nullptr;
    PeTrack track = nullptr;
    PeTransport transport = nullptr;
    ASSERT_EQ(PeMixerCreate(1, &mixer), 0);
    ASSERT_EQ(NewPeAudioSupplierUPP(supplySilence, &supplier), 0);
    ASSERT_EQ(PeMixerCreateTrack(mixer, supplier, nullptr, 2, 44100.0, 0, 0, 0, &track), 0);
    ASSERT_EQ(PeMixerGetTransport(mixer, &transport), 0);
    const auto isPlaying = [transport] {
      unsigned char playing = 0;
      EXPECT_EQ(PeTransportIsPlaying(transport, &playing), 0);
      return playing != 0;
    };
    server.kill();
    PeTransportStart(transport);
    EXPECT_TRUE(holdsSoon([&] { return !isPlaying(); }));

    server.start();
    EXPECT_EQ(PeTransportStart(transport), 0);
    EXPECT_TRUE(isPlaying());
    EXPECT_EQ(PeMixerDestroy(mixer), 0);
  }
}

TEST_F(ServerLossTest, WithoutAServerAPlayerThatMustHaveOneIsNotInitialised)
{
  support::Messages messages;
  TovAudioPlayerOSX player;
  const std::vector<std::string> said = messages.take();
  ASSERT_EQ(said.size(), 1u);
  const std::string begin =
      "E TovAudioPlayerOSX: Could not initialize audio playback engine (status = ";
  EXPECT_EQ(said[0].substr(0, begin.size()), begin);
  EXPECT_EQ(said[0].substr(said[0].find(')')), "), audio playback disabled.\n");
  EXPECT_EQ(player.play(0.0, 1.0, false), 1);
  EXPECT_EQ(player.stop(), 1);
  EXPECT_EQ(player.isPlaying(), 0);
  EXPECT_EQ(messages.take(), std::vector<std::string>{});
}

TEST_F(ServerLossTest, WithoutAServerAPlayerWithTheChoicePlaysInSilenceUntilThereIsOne)
{
  server.environment().choosePlayoutDevice("auto");
  support::Messages messages;
  TovAudioPlayerOSX driven;
  HeardPlayer player(driven);
  ASSERT_EQ(player->play(0.3, 0.6, false), 0);
  EXPECT_EQ(player->isPlaying(), 1);
  EXPECT_TRUE(holdsSoon([&] { return player.ended() == 1; }));
  const std::vector<std::string> said = messages.take();
  ASSERT_EQ(said.size(), 1u);
  EXPECT_EQ(said[0], "W PlayoutEngine: No audio output could be opened, playing in silence\n");

  server.start();
  Recording recording(server.environment());
  expectHeard(player, recording, 0.3, 0.9);
  EXPECT_EQ(messages.take(), std::vector<std::string>{});
}

} // namespace
